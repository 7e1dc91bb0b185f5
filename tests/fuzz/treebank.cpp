// SPDX-License-Identifier: MIT
// A treebank, CoNLL-U or columns, and a lexicon beside it: what is prepared passes the check and trains; a model
// of it is written byte for byte again, and tags the treebank. The first byte chooses the options.
#include "fuzz/fuzz.h"
#include "training/train.h"

using namespace orvelle;
using namespace orvelle::fuzz;

namespace {

std::vector<std::string> options_of(uint8_t choice) {
  constexpr const char* Formats[] = {"", "--format=conllu", "--format=columns", "--only-last"};
  constexpr const char* Columns[] = {"", "--column=upos", "--column=upos+feats", "--sentence-end="};
  constexpr const char* Without[] = {"", "--without-tag=upos", "--without-tag=skip", "--open=once"};
  std::vector<std::string> options;
  for (const char* option : {Formats[choice & 3], Columns[choice >> 2 & 3], Without[choice >> 4 & 3]})
    if (*option != '\0') options.push_back(option);
  return options;
}

std::vector<std::string> joined(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto [text, lexicon] = parts_of<2>(data + 1, size - 1);
  const std::string treebank = folder().write("treebank", text), model = folder().path("model");
  std::vector<std::string> options = options_of(data[0]);
  if (!lexicon.empty()) options.push_back("--lexicon=" + folder().write("lexicon", lexicon));
  const std::string made = folder().path("made");
  if (run(Prepare_Command, joined(options, {"--force", "--into=" + made, treebank})).status == 0) {
    const std::string files[] = {made + "/lexicon", made + "/open-classes", made + "/corpus"};
    require(run(Check_Command, {files[0], files[1], files[2]}).status == 0,
            "what is prepared passes the check");
    train({{files[0].c_str(), {}}, {files[1].c_str(), {}}, {files[2].c_str(), {}}}, Settings(), {}, {});
  }
  if (run(Train_Command, joined(options, {treebank, model})).status != 0) return 0;
  require_same_again("model");
  require_tagged({}, model, text, form_t::Conllu);
  require_tagged({"--probabilities=0.1"}, model, text, form_t::Words);
  return 0;
}
