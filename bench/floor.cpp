// SPDX-License-Identifier: MIT
// The floor under the cost of a training: a program that only reads, the lexicon three times and the corpus
// twice, as the passes of a training follow each other, and does nothing else; or then writes a file of as many zeros
// as a parameter file has bytes.
//
//   floor LEXICON CORPUS [BYTES FILE]
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

constexpr int Line_Size = 10000;

// Lines of the file; -1 if it cannot be opened. The lines are counted so that the reading has a result.
long read_lines(const char* name) {
  FILE* file = std::fopen(name, "r");
  if (file == nullptr) return -1;
  static char line[Line_Size];
  long lines = 0;
  while (std::fgets(line, Line_Size, file) != nullptr) ++lines;
  std::fclose(file);
  return lines;
}

// In pieces as the trainer's.
bool write_zeros(const char* name, size_t bytes) {
  FILE* file = std::fopen(name, "w");
  if (file == nullptr) return false;
  static char zeros[1 << 18];
  bool written = true;
  for (; bytes > 0 && written; bytes -= std::min(bytes, sizeof zeros)) {
    const size_t piece = std::min(bytes, sizeof zeros);
    written = std::fwrite(zeros, 1, piece, file) == piece;
  }
  return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3 && argc != 5) return std::fputs("usage: floor LEXICON CORPUS [BYTES FILE]\n", stderr), 1;
  long lines = 0;
  for (const char* name : {argv[1], argv[1], argv[1], argv[2], argv[2]}) {
    const long read = read_lines(name);
    if (read < 0) return std::fprintf(stderr, "cannot read %s: %s\n", name, std::strerror(errno)), 1;
    lines += read;
  }
  std::printf("%ld lines\n", lines);
  if (argc == 5 && !write_zeros(argv[4], std::strtoull(argv[3], nullptr, 10)))
    return std::fprintf(stderr, "cannot write %s: %s\n", argv[4], std::strerror(errno)), 1;
}
