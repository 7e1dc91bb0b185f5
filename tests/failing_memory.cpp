// SPDX-License-Identifier: MIT
// Preloaded into a program, it makes the allocations from the FAIL_FROMth to the FAIL_TOth fail. The emergency pool of
// the C++ runtime, which it asks for first and needs to throw at all, is let through and not counted.
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <utility>

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static bool fails(size_t size) {
  constexpr size_t Least_Pool = 70000;
  static long number = 0;
  static bool is_first = true;
  if (std::exchange(is_first, false) && size > Least_Pool) return false;
  const char *const from = std::getenv("FAIL_FROM"), *const to = std::getenv("FAIL_TO");
  ++number;
  if (from == nullptr || to == nullptr || number < std::atol(from) || number > std::atol(to)) return false;
  errno = ENOMEM;
  return true;
}

void* malloc(size_t size) { return fails(size) ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return fails(count * size) ? nullptr : __libc_calloc(count, size); }
void* realloc(void* block, size_t size) { return fails(size) ? nullptr : __libc_realloc(block, size); }

}  // extern "C"
