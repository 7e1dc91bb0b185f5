// SPDX-License-Identifier: MIT
// orvelle prepare: from a treebank to the three files of a training (training_data.h). Nothing is written before all is
// known to be sound; the files appear together when all of them are complete.
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/text_io.h"
#include "commands/training_data.h"
#include "commands/treebank_options.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle prepare [OPTION...] [FILE...]\n"
    "\n"
    "Makes the files of a training from a treebank, for train-orvelle; orvelle train does both\n"
    "at once. The input is CoNLL-U, or columns: form, TAB, tag and, if there are lemmas, TAB,\n"
    "lemma, an empty line behind each sentence. Without a FILE, or for -, standard input is\n"
    "read.\n"
    "\n"
    "  --into DIR            where to write (the current folder)\n"
    "  --force               write over files that are there already\n"
    "  --tag KIND            the same as --column\n"
    "  --lexicon FILE        more entries, in the trainer's format; may be repeated\n"
    "  --held-out SHARE      set this share of the sentences aside, spread evenly, in the\n"
    "                        file test, with an empty line behind each sentence (0)\n"
    "\n"
    "White space that the files cannot hold is repaired, with a remark; everything else that\n"
    "they cannot hold is refused, with file and line, and then nothing is written.\n";

constexpr option_t Options[] = {
    {"into", "DIR"}, {"force", nullptr}, {"tag", "KIND"}, {"lexicon", "FILE"}, {"held-out", "SHARE"}};

constexpr const char* File_Names[] = {"lexicon", "open-classes", "corpus", "test"};

// The files that are made.
class Files {
 public:
  explicit Files(const char* folder) : folder_(folder) {}

  std::string path(const char* name) const { return (folder_ / name).lexically_normal().string(); }

  // Stops where an input, or without `force` anything, would be overwritten.
  void require_room(const std::vector<const char*>& inputs, bool force) const {
    for (const char* name : File_Names) {
      require_other_file(path(name).c_str(), inputs);
      if (force) continue;
      std::error_code failure;
      const bool is_there = std::filesystem::exists(path(name), failure);
      if (failure) stop(formatted("can't look at %s: %s", path(name).c_str(), failure.message().c_str()));
      if (is_there) stop(path(name) + " is there already; choose another folder with --into, or say --force");
    }
  }

  void add(const char* name, const std::string& text) {
    std::error_code failure;
    std::filesystem::create_directories(folder_, failure);
    if (failure) stop(formatted("can't make the folder %s: %s", folder_.c_str(), failure.message().c_str()));
    const std::string& kept = names_.emplace_back(path(name));
    TextOutput& out = outputs_.emplace_back(kept.c_str());
    out.put(text);
    out.flush();
  }

  // All or none: what can fail was done by then, but for the renaming.
  void close() {
    for (TextOutput& out : outputs_) out.close();
  }

 private:
  std::filesystem::path folder_;
  std::deque<std::string> names_;
  std::deque<TextOutput> outputs_;
};

size_t count_tokens(const sentences_t& sentences) {
  size_t count = 0;
  for (const range_t& sentence : sentences) count += sentence.end - sentence.first;
  return count;
}

// The line to go on with.
std::string training_command(const Files& files, bool utf8, const char* sentence_tag) {
  std::string text = "train-orvelle ";
  if (utf8) text += "-utf8 ";
  text += "-st " + shell_quoted(sentence_tag) + " ";
  for (const char* name : {"lexicon", "open-classes", "corpus"}) text += shell_quoted(files.path(name)) + " ";
  return text + "PARAMETER-FILE";
}

int prepare_command(const CommandLine& line, Remarks& remarks) {
  const treebank_options_t options = treebank_options(line);
  const double share = line.number("held-out", 0.0, 0.0, 0.9);
  std::vector<const char*> inputs = line.operands();
  if (inputs.empty()) inputs.push_back("-");
  std::vector<const char*> all_inputs = line.values("lexicon");
  all_inputs.insert(all_inputs.end(), inputs.begin(), inputs.end());
  Files files(line.value("into", "."));
  files.require_room(all_inputs, line.has("force"));
  require_other_file("-", all_inputs);

  Treebank treebank(options, remarks);
  for (const char* input : inputs) treebank.read(input);
  for (const char* lexicon : line.values("lexicon")) treebank.read_lexicon(lexicon);
  treebank.close_remarks();
  const parts_t parts = split(treebank, share);
  const lexicon_entries_t lexicon = make_lexicon(treebank, parts.training);
  require_soundness(treebank, lexicon, options.sentence_tag);
  const std::vector<const char*> open =
      choose_open_classes(line, treebank, parts.training, lexicon, options.sentence_tag);
  if (open.empty()) remarks.say("no open classes: nothing will be learnt about unknown words (see --open)");

  files.add("lexicon", lexicon_text(treebank, lexicon));
  files.add("open-classes", open_class_text(open));
  files.add("corpus", corpus_text(treebank, parts.training, ""));
  if (share > 0.0) files.add("test", corpus_text(treebank, parts.test, "\n"));
  files.close();

  TextOutput out("-");
  const auto name_of = [&](const char* name) { return shown(files.path(name)); };
  out.print("%s: %zu word forms, %d tags\n", name_of("lexicon").c_str(), lexicon.size(),
            count_tags(treebank, lexicon));
  out.print("%s: %zu tags\n", name_of("open-classes").c_str(), open.size());
  const auto put_sentences = [&](const char* name, const sentences_t& sentences) {
    out.print("%s: %zu tokens in %s\n", name_of(name).c_str(), count_tokens(sentences),
              counted(static_cast<int64_t>(sentences.size()), "sentence").c_str());
  };
  put_sentences("corpus", parts.training);
  if (!parts.test.empty()) put_sentences("test", parts.test);
  const bool utf8 = treebank.encoding() == encoding_t::Utf8 ||
                    (treebank.has_universal_tags && treebank.encoding() == encoding_t::Ascii);
  out.print("\n%s\n", training_command(files, utf8, options.sentence_tag).c_str());
  out.close();
  return 0;
}

}  // namespace

const command_t Prepare_Command = {
    "prepare",      "from a treebank to the files of a training", Help, Options, 0, -1, prepare_command,
    &Treebank_Group};

}  // namespace orvelle
