// SPDX-License-Identifier: MIT
// orvelle tune: which settings of the training suit a corpus best (search.h).
#include <algorithm>
#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/search.h"
#include "commands/tagger_options.h"
#include "commands/training_data.h"
#include "commands/treebank_options.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle tune [OPTION...] LEXICON OPEN-CLASSES CORPUS\n"
    "\n"
    "Finds the settings of train-orvelle that suit a corpus: cuts it into folds, stretches\n"
    "of consecutive sentences, trains on all but one and tags that one, for each fold and\n"
    "for each choice of settings of a search from coarse to fine; of more than 250,000\n"
    "words it tags a part. Prints what it tried, after each stage of the search the command\n"
    "line of the best so far, and ends with the command lines to train and to tag with and\n"
    "the accuracy to expect, when it is interrupted as well. The status is 1 if a training\n"
    "failed.\n"
    "-atg stays as it is: the tagger asks the affix trees only where a lexicon has no rare\n"
    "words.\n"
    "\n"
    "  --dev FILE          train on the whole corpus and tag this one, or CoNLL-U, for each\n"
    "                      choice; there are no folds then\n"
    "  --quick             the first and largest steps of the search alone\n"
    "  --minutes N         begin no training after so many minutes\n"
    "  --folds N           parts of the corpus, 2 to 100 (5)\n"
    "  --seed N            another number, other places to cut (1)\n"
    "  --jobs N            trainings at a time (one for each processor)\n"
    "  --sentence-tag TAG  the tag of sentence ends, as for train-orvelle -st (SENT)\n"
    "  --column KIND       the tags of CoNLL-U as --dev: xpos, upos or upos+feats (xpos)\n"
    "  --utf8              word forms are UTF-8, as for train-orvelle -utf8 (if there are\n"
    "                      such in the lexicon)\n";

constexpr option_t Options[] = {{"dev", "FILE"},         {"quick", nullptr}, {"minutes", "N"},
                                {"folds", "N"},          {"seed", "N"},      {"jobs", "N"},
                                {"sentence-tag", "TAG"}, {"column", "KIND"}, {"utf8", nullptr}};

std::string command_line(const Settings& settings, const std::vector<const char*>& files) {
  std::string text = "train-orvelle " + options_of(settings);
  for (const char* file : files) (text += " ") += shell_quoted(file);
  return text + " PARAMETER-FILE";
}

void put_result(TextOutput& out, const trial_t& best, const Search& search, const std::string& command) {
  const auto [low, high] = std::ranges::minmax(best.accuracy);
  out.print("\n%sbest of %zu: %.2f%% of the words right", search.was_stopped() ? "stopped; " : "",
            search.tried(), 100.0 * best.all.accuracy());
  if (best.accuracy.size() > 1) out.print(", %.2f%% to %.2f%% from fold to fold", 100.0 * low, 100.0 * high);
  out.print("\n\n%s\norvelle tag --decode %s PARAMETER-FILE TEXT\n", command.c_str(),
            decoding_name(best.choice.decoding));
}

// The corpus of --dev, in the trainer's format.
training_text_t read_dev(const CommandLine& line, Remarks& remarks) {
  treebank_options_t options;
  options.sentence_tag = line.value("sentence-tag", options.sentence_tag);
  options.tag = tag_column(line).value_or(options.tag);
  options.without_tag = treebank_options_t::Skip;
  Treebank treebank(options, remarks);
  treebank.read(line.value("dev", nullptr));
  treebank.close_remarks();
  return {line.value("dev", nullptr), corpus_text(treebank, split(treebank, 0.0).training, "\n")};
}

int tune_command(const CommandLine& line, Remarks& remarks) {
  const auto parts = static_cast<size_t>(line.integer("folds", 5, 2, 100));
  const auto seed = static_cast<uint64_t>(line.integer("seed", 1, 0, INT64_MAX));
  const size_t jobs = jobs_option(line, std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, 1024));
  const std::chrono::minutes minutes(line.integer("minutes", 1000000, 1, 1000000));
  Settings start;
  start.SENT_TAG = line.value("sentence-tag", start.SENT_TAG.c_str());
  const std::vector<const char*>& files = line.operands();
  if (std::ranges::count(files, std::string_view("-")) > 1) misuse("only one file can be standard input");

  require_other_file("-", files);
  const training_texts_t texts = {read_whole(files[0]), read_whole(files[1]), read_whole(files[2])};
  start.UTF8_Processing = line.has("utf8") || encoding_of(texts.lexicon.text) == encoding_t::Utf8;
  const Folds folds = line.has("dev") ? Folds(texts, start.SENT_TAG, read_dev(line, remarks))
                                      : Folds(texts, start.SENT_TAG, parts, Folds::Dealing::Stretches, seed);
  TextOutput out("-");
  out.print("%zu words, %zu sentences, %s", folds.tokens(), folds.sentences(),
            line.has("dev") ? "to tag" : counted(static_cast<int64_t>(folds.size()), "fold").c_str());
  if (folds.tagged_share() > 1) out.print(", one sentence in %zu to tag", folds.tagged_share());
  out.put("\n\n");
  out.flush();
  const auto command_of = [&](const Settings& settings) { return command_line(settings, files); };
  Search search(folds, {jobs, line.has("quick"), std::chrono::steady_clock::now() + minutes, command_of}, out,
                remarks);
  const trial_t& best = search.run({start});
  put_result(out, best, search, command_of(best.choice.settings));
  out.close();
  return search.tell_failures() ? 1 : 0;
}

}  // namespace

const command_t Tune_Command = {"tune", "find the settings to train with", Help, Options, 3, 3, tune_command};

}  // namespace orvelle
