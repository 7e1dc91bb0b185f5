// SPDX-License-Identifier: MIT
// Stands for the fuzzer where there is none: runs the target on each file of the folders given.
#include "fuzz/fuzz.h"

int main(int argc, char* argv[]) {
  int files = 0;
  for (int i = 1; i < argc; ++i)
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string content(std::istreambuf_iterator<char>(file), {});
      std::fprintf(stderr, "replaying %s\n", entry.path().c_str());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(content.data()), content.size());
      ++files;
    }
  std::fprintf(stderr, "%d files\n", files);
  return files > 0 ? 0 : 1;
}
