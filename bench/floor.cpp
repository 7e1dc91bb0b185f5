// SPDX-License-Identifier: MIT
// The floor under the cost of a training: a program that only reads, the lexicon three times and the corpus
// twice, as the passes of a training follow each other, and does nothing else.
//
//   floor LEXICON CORPUS
#include <cerrno>
#include <cstdio>
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

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 3) return std::fputs("usage: floor LEXICON CORPUS\n", stderr), 1;
  long lines = 0;
  for (const char* name : {argv[1], argv[1], argv[1], argv[2], argv[2]}) {
    const long read = read_lines(name);
    if (read < 0) return std::fprintf(stderr, "cannot read %s: %s\n", name, std::strerror(errno)), 1;
    lines += read;
  }
  std::printf("%ld lines\n", lines);
}
