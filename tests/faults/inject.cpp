// SPDX-License-Identifier: MIT
// Preloaded into a program, it counts its allocations and the system calls that have to do with files, and
// makes those fail that the environment names:
//
//   FAULT=count              none
//   FAULT="alloc N once"     the Nth allocation; with `on` instead of `once` that and all later ones
//   FAULT="call N E once"    the Nth call, with error number E; 0: it transfers less than asked
//   FAULT="call N E on"      and all later calls of the same kind; where they are interrupted, every second
//   FAULT_REPORT             a file of sizeof(report_t) bytes that gets the counts
//
// A wrapped `read` would not see what the C library's streams do, so the calls are caught where they enter
// the system: a filter turns each into a signal, unless it is made from `do_call` below.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

long do_call(long number, long a, long b, long c, long d, long e, long f);
extern const char do_call_return[];  // behind the instruction that enters the system
}

asm(R"(
  .text
do_call:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
do_call_return:
  ret
)");

namespace {

struct call_t {
  int32_t number;
  int32_t descriptor;  // -1 for a call that has none
};

struct report_t {
  std::atomic<uint32_t> allocations;
  std::atomic<uint32_t> calls;
  std::atomic<uint32_t> faults;
  uint32_t is_ready;  // the filter stands
  call_t failed;      // the first
  call_t list[4096];  // the first calls
};

enum class kind_t { None, Allocation, Call };

struct fault_t {
  kind_t kind = kind_t::None;
  uint32_t from = 0;
  int error = 0;
  bool goes_on = false;
};

report_t* Report;  // null until the environment is there
fault_t Fault;

// The C++ runtime asks for memory before anything else runs, so this may come before the constructors.
void begin() {
  const char *const text = std::getenv("FAULT"), *const name = std::getenv("FAULT_REPORT");
  const int file = name != nullptr && text != nullptr ? open(name, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) return;
  void* const page = mmap(nullptr, sizeof(report_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (page == MAP_FAILED) return;
  char often[8] = "";
  if (std::sscanf(text, "alloc %u %7s", &Fault.from, often) == 2) Fault.kind = kind_t::Allocation;
  if (std::sscanf(text, "call %u %d %7s", &Fault.from, &Fault.error, often) == 3) Fault.kind = kind_t::Call;
  Fault.goes_on = std::strcmp(often, "on") == 0;
  Report = static_cast<report_t*>(page);
}

// ---- allocations

bool allocation_fails() {
  static bool has_begun = false;
  if (!has_begun && environ != nullptr) {
    has_begun = true;
    begin();
  }
  if (Report == nullptr) return false;
  const uint32_t number = ++Report->allocations;
  if (Fault.kind != kind_t::Allocation) return false;
  if (Fault.goes_on ? number < Fault.from : number != Fault.from) return false;
  ++Report->faults;
  errno = ENOMEM;
  return true;
}

// ---- calls

constexpr int Watched[] = {
    SYS_read,   SYS_write,     SYS_readv,    SYS_writev, SYS_pread64,    SYS_open,
    SYS_openat, SYS_close,     SYS_stat,     SYS_fstat,  SYS_newfstatat, SYS_lseek,
    SYS_access, SYS_faccessat, SYS_fcntl,    SYS_dup,    SYS_rename,     SYS_renameat,
    SYS_unlink, SYS_link,      SYS_linkat,   SYS_fsync,  SYS_poll,       SYS_mkdir,
    SYS_fchmod, SYS_ftruncate, SYS_readlink, SYS_lstat,  SYS_fdatasync,
};

bool has_descriptor(long number) {
  for (const long other :
       {SYS_open, SYS_openat, SYS_stat, SYS_newfstatat, SYS_access, SYS_faccessat, SYS_rename, SYS_renameat,
        SYS_unlink, SYS_link, SYS_linkat, SYS_poll, SYS_mkdir, SYS_readlink, SYS_lstat})
    if (number == other) return false;
  return true;
}

bool is_transfer(long number) { return number == SYS_read || number == SYS_write || number == SYS_pread64; }

// Whether this call is to fail. What goes on failing is of the same kind, but not on standard error.
bool call_fails(const call_t& call) {
  const uint32_t place = Report->calls++;
  if (place < std::size(Report->list)) Report->list[place] = call;
  if (Fault.kind != kind_t::Call || place + 1 < Fault.from) return false;
  if (place + 1 == Fault.from) {
    Report->failed = call;
    ++Report->faults;
    return true;
  }
  if (!Fault.goes_on || call.number != Report->failed.number) return false;
  if (call.descriptor == STDERR_FILENO && Report->failed.descriptor != STDERR_FILENO) return false;
  return (Report->faults++ + 1) % 2 != 0 || Fault.error != EINTR;
}

void on_call(int, siginfo_t* info, void* context) {
  auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const long number = info->si_syscall;
  long first = registers[REG_RDI], size = registers[REG_RDX];
  const bool fails =
      call_fails({info->si_syscall, has_descriptor(number) ? static_cast<int32_t>(first) : -1});
  if (fails && Fault.error == 0 && is_transfer(number)) size = std::min(size, 7L);
  // A descriptor is gone even if closing it fails.
  const bool is_done = !fails || Fault.error == 0 || number == SYS_close;
  long result = 0;
  if (is_done)
    result = do_call(number, first, registers[REG_RSI], size, registers[REG_R10], registers[REG_R8],
                     registers[REG_R9]);
  registers[REG_RAX] = fails && Fault.error != 0 ? -Fault.error : result;
}

void catch_calls() {
  constexpr unsigned Count = std::size(Watched);
  constexpr auto Field = [](size_t offset) {
    return sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset));
  };
  const auto own = reinterpret_cast<uint64_t>(do_call_return);
  constexpr size_t Pointer = offsetof(seccomp_data, instruction_pointer);
  sock_filter program[7 + Count + 1];
  size_t size = 0;
  program[size++] = Field(Pointer);
  program[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(own), 0, 3);
  program[size++] = Field(Pointer + 4);
  program[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(own >> 32), 0, 1);
  program[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  program[size++] = Field(offsetof(seccomp_data, nr));
  for (unsigned i = 0; i < Count; ++i)
    program[size++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(Watched[i]),
                               static_cast<uint8_t>(Count - i), 0);
  program[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  program[size++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
  const sock_fprog filter{static_cast<unsigned short>(size), program};

  struct sigaction action {};
  action.sa_sigaction = on_call;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGSYS, &action, nullptr);
  Report->is_ready =
      prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

[[gnu::constructor]] void before_main() {
  if (Report != nullptr && Fault.kind != kind_t::Allocation) catch_calls();
}

}  // namespace

extern "C" {

void* malloc(size_t size) { return allocation_fails() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return allocation_fails() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* block, size_t size) { return allocation_fails() ? nullptr : __libc_realloc(block, size); }
void* aligned_alloc(size_t alignment, size_t size) {
  return allocation_fails() ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = allocation_fails() ? nullptr : __libc_memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

}  // extern "C"
