// SPDX-License-Identifier: MIT
// Text to tag: every line comes out, in several threads as in one; as a gold corpus it is compared or refused.
// The first byte chooses the format and the options.
#include "fuzz/fuzz.h"

using namespace orvelle;
using namespace orvelle::fuzz;

namespace {

std::string without_speed(std::string text) {
  const size_t start = text.find("\"words_per_second\"");
  return start == text.npos ? text : text.erase(start, text.find('\n', start) - start);
}

void require_same_evaluation(const std::string& text) {
  const result_t alone = run(Evaluate_Command, {"--json", sample_model(), text});
  const result_t together = run(Evaluate_Command, {"--json", "--jobs=3", sample_model(), text});
  require(alone.status == together.status &&
              (alone.status != 0 || without_speed(alone.out) == without_speed(together.out)),
          "threads find what one finds");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint8_t choice = data[0];
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  constexpr const char* Options[] = {"--markup", "--no-lemma", "--probabilities=0.2", "--decode=path"};
  std::vector<std::string> arguments;
  for (int i = 0; i < 4; ++i)
    if (choice >> (2 + i) & 1) arguments.push_back(Options[i]);
  if ((choice & 3) < 3) {
    require_tagged(arguments, sample_model(), text, static_cast<form_t>(choice & 3));
  } else {
    const std::string file = folder().write("text", text);
    tag(arguments, sample_model(), file);
    require_same_evaluation(file);
  }
  return 0;
}
