// SPDX-License-Identifier: MIT
#include "commands/train_input.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "commands/command.h"
#include "commands/escape.h"
#include "support/checksum.h"

namespace orvelle {

namespace {

constexpr size_t Least_Sentences = 20;  // from which on a tenth of them can tell something

}  // namespace

std::string TrainInput::file_t::name() const {
  return escaped(std::filesystem::path(path).filename().string());
}

TrainInput::TrainInput(const CommandLine& line, const train_request_t& request, Remarks& remarks,
                       TextOutput& out)
    : line_(line),
      remarks_(remarks),
      options_(treebank_options(line)),
      settings_(request.settings),
      treebank_(options_, remarks) {
  if (!request.has_settings && !line.has("no-second-look")) settings_.Context_Size = 1;
  if (is_of_files()) {
    read_files(request);
  } else {
    settings_.SENT_TAG = options_.sentence_tag;
    read_treebanks(request, out);
  }
  if (line.has("dev"))
    read_dev();
  else if (!is_of_files())
    hold_tenth_out();
}

training_set_t TrainInput::make_set(const sentences_t& sentences) {
  return make_training_set(line_, treebank_, sentences, options_);
}

void TrainInput::read_treebanks(const train_request_t& request, TextOutput& out) {
  for (const char* name : request.treebanks) files_.push_back({name, treebank_.read(name)});
  for (const char* name : line_.values("lexicon")) files_.push_back({name, treebank_.read_lexicon(name)});
  treebank_.close_remarks();
  added_ = std::exchange(treebank_.entries, {});
  all_ = split(treebank_, 0.0).training;
  settings_.UTF8_Processing = treebank_.encoding() != encoding_t::Other;
  if (!settings_.UTF8_Processing) remarks_.say("not all of the text is UTF-8: it is taken for single bytes");
  if (!treebank_.tokens.empty() && !can_be_trained_on(treebank_, all_, options_.sentence_tag))
    take_final_tag();
  set_ = make_set(all_);
  if (set_.texts.open_classes.text.empty())
    remarks_.say("no open classes: nothing will be learnt about unknown words (see --open)");
  out.print("%s in %s\n", counted(static_cast<int64_t>(treebank_.tokens.size()), "word").c_str(),
            counted(static_cast<int64_t>(treebank_.sentence_ends.size()), "sentence").c_str());
  out.flush();
}

// In a treebank without marks at sentence ends the tag that most sentences end in has to do.
void TrainInput::take_final_tag() {
  std::map<int, int> counts;
  for (const size_t end : treebank_.sentence_ends) ++counts[treebank_.tokens[end - 1].tag];
  const auto best = std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
  options_.sentence_tag = treebank_.strings.text(best->first);
  settings_.SENT_TAG = options_.sentence_tag;
  remarks_.say(
      std::string("no token ends sentences (see --sentence-end): their tag is that of most last words, ") +
      options_.sentence_tag);
}

void TrainInput::read_files(const train_request_t& request) {
  set_.texts = {read_whole(line_.value("lexicon", nullptr)), read_whole(line_.value("open-classes", nullptr)),
                read_whole(line_.value("corpus", nullptr))};
  for (const training_text_t* text : {&set_.texts.lexicon, &set_.texts.open_classes, &set_.texts.corpus}) {
    Checksum checksum;
    checksum.add(text->text);
    files_.push_back({text->name, checksum.value()});
  }
  if (const auto column = tag_column(line_))
    set_.columns.column = Tag_Column_Names[static_cast<int>(*column)];
  if (!request.has_settings)
    settings_.UTF8_Processing = encoding_of(set_.texts.lexicon.text) == encoding_t::Utf8;
}

void TrainInput::read_dev() {
  treebank_options_t options = options_;
  options.without_tag = treebank_options_t::Skip;
  Treebank& dev = dev_.emplace(options, remarks_);
  const char* const name = line_.value("dev", nullptr);
  files_.push_back({name, dev.read(name)});
  const file_t& file = files_.back();
  dev.close_remarks();
  const sentences_t sentences = split(dev, 0.0).training;
  if (dev.refused > 0 || sentences.empty()) stop(file.path + " can't be measured on");
  if (std::ranges::count(files_, file.digest, &file_t::digest) > 1)
    remarks_.say(file.path + " was trained on as well: what it tells is not what new text would");
  if (is_of_files() && dev.has_universal_tags) set_.columns = columns_of(dev, sentences, options);
  measured_.emplace(measured_t{dev, sentences, file.name(), {}});
}

// The second look learns them last, so that it can be measured before.
void TrainInput::hold_tenth_out() {
  const size_t count = all_.size();
  const parts_t parts = split_by(treebank_, [count](size_t i) { return is_learned_last(i, count); });
  if (count < Least_Sentences || !can_be_trained_on(treebank_, parts.training, options_.sentence_tag)) return;
  measured_.emplace(measured_t{treebank_, parts.test, "a tenth that was held out", make_set(parts.training)});
}

unseen_fold_t TrainInput::unseen_fold(size_t fold) {
  const size_t count = all_.size();
  const auto is_of_fold = [&](size_t i) { return second_look_fold(i, count) == fold; };
  const parts_t parts = split_by(treebank_, is_of_fold);
  if (!can_be_trained_on(treebank_, parts.training, options_.sentence_tag))
    stop("too few sentences end in a token of --sentence-end");
  unseen_fold_t unseen{make_set(parts.training).texts, {}, {}};
  for (size_t i = 0; i < count; ++i)
    if (is_of_fold(i)) unseen.of(i, count).push_back(gold_of(treebank_, all_[i]));
  return unseen;
}

}  // namespace orvelle
