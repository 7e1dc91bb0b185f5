// SPDX-License-Identifier: MIT
#include "commands/heap.h"

#include <cstdint>
#include <cstdlib>  // says which C library this is
#include <exception>

#include "support/errors.h"

#ifdef __GLIBC__
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace orvelle {

namespace {

// Nothing was thrown if nothing could be; all that the programs do throw is caught.
[[noreturn]] void end_without_exception() {
  if (std::current_exception() != nullptr) std::abort();
  warn_on_standard_error(Space_Error_Text);
  std::_Exit(1);
}

}  // namespace

void tell_when_nothing_can_be_thrown() { std::set_terminate(end_without_exception); }

#ifdef __GLIBC__

namespace {

constexpr int First_Piece_Size = 64 << 20;  // bytes; reserved, but used only as far as it is touched
constexpr int Piece_Size = 4 << 20;         // bytes of those that follow
constexpr int Own_Mapping_Size = 32 << 20;  // bytes; larger blocks go back to the system when they are freed
constexpr uintptr_t Huge_Page_Size = 2 << 20;  // bytes

}  // namespace

void take_large_pieces() {
  mallopt(M_MMAP_THRESHOLD, Own_Mapping_Size);
  mallopt(M_TRIM_THRESHOLD, First_Piece_Size);
  mallopt(M_TOP_PAD, First_Piece_Size);
  char* const start = static_cast<char*>(sbrk(0));
  // More than the heap has so far, so that it grows by a piece; volatile, or the compiler drops the pair.
  void* volatile block = std::malloc(1 << 20);
  std::free(block);
  mallopt(M_TOP_PAD, Piece_Size);  // under a limit of memory there may not be room for another large one
  char* const end = static_cast<char*>(sbrk(0));
  char* const first_page =
      start + (Huge_Page_Size - reinterpret_cast<uintptr_t>(start) % Huge_Page_Size) % Huge_Page_Size;
  if (first_page < end) madvise(first_page, static_cast<size_t>(end - first_page), MADV_HUGEPAGE);
}

#else

void take_large_pieces() {}

#endif

}  // namespace orvelle
