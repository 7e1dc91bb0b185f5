// SPDX-License-Identifier: MIT
#include "commands/trials.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>
#include <unordered_map>

#include "commands/escape.h"
#include "commands/ordered_jobs.h"
#include "support/errors.h"
#include "support/line_reader.h"
#include "training/corpus_pass.h"
#include "training/lexicon_line.h"
#include "training/open_classes.h"
#include "training/train.h"

namespace orvelle {

namespace {

constexpr size_t Enough_Words = 125'000;        // to tag in the trials of one choice
constexpr size_t Least_Tagged_Sentences = 100;  // of a fold, in a corpus of few and long ones

// Calls `action(line, number)` for each line as the training reads it, NUL-terminated and free to be split in place.
template <class Action>
void for_each_line(std::string_view text, Action action) {
  LineReader reader(text);
  for (int64_t number = 1; reader.next().data() != nullptr; ++number) action(reader.terminated(), number);
}

// The same number for a seed on every platform, which the standard's distributions do not promise (splitmix64).
uint64_t scrambled(uint64_t seed) {
  uint64_t x = seed + 0x9E3779B97F4A7C15;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
  return x ^ (x >> 31);
}

// Where things are met: the fold, if it is one alone.
class Places {
 public:
  void meet(uint64_t thing, size_t fold) {
    const auto [place, is_new] = folds_.try_emplace(thing, fold);
    if (place->second != fold) place->second = Several;
  }
  bool only_in(uint64_t thing, size_t fold) const {
    const auto place = folds_.find(thing);
    return place != folds_.end() && place->second == fold;
  }
  bool outside(uint64_t thing, size_t fold) const { return folds_.contains(thing) && !only_in(thing, fold); }

 private:
  static constexpr size_t Several = SIZE_MAX;
  std::unordered_map<uint64_t, size_t> folds_;
};

template <class Word>  // a token or a reading
uint64_t pair_of(const Word& word) {
  return static_cast<uint64_t>(word.form) << 32 | static_cast<uint32_t>(word.tag);
}

struct trial_job_t {
  size_t trial, fold;
  std::string failure{};
  evaluation_t result{};
};

// What `run` throws says; "" if it comes to its end.
template <class Run>
std::string failure_of(Run run) {
  try {
    run();
    return {};
  } catch (const Error& failure) {
    return message_of(failure);
  } catch (const std::bad_alloc&) {
    return "Not enough memory";
  } catch (const std::length_error&) {
    return "Not enough memory";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

}  // namespace

Folds::Folds(const training_texts_t& texts, std::string_view sentence_tag, size_t folds, Dealing dealing,
             uint64_t seed)
    : texts_(texts), sentence_tag_(strings_.number(sentence_tag)), folds_(folds) {
  read_lexicon();
  read_corpus(texts.corpus);
  if (sentences_.size() < folds)
    stop(formatted("%s has %zu sentences, too few for %zu folds", texts.corpus.name.c_str(),
                   sentences_.size(), folds));
  deal_out(dealing, seed);
  const size_t least_sentences = Least_Tagged_Sentences * folds;
  tagged_share_ =
      std::max<size_t>(1, std::min(tokens_.size() / Enough_Words, sentences_.size() / least_sentences));
  make_lexicons();
  for (fold_t& fold : folds_) {
    for_each_open_class(texts.open_classes.text, [&fold](int64_t, const char* tag) {
      if (fold.tags.contains(tag)) (fold.open_classes += tag) += '\n';
    });
  }
}

Folds::Folds(const training_texts_t& texts, std::string_view sentence_tag, const training_text_t& dev)
    : texts_(texts), sentence_tag_(strings_.number(sentence_tag)), folds_(1) {
  read_corpus(dev);
  if (sentences_.empty()) stop("no words in " + dev.name);
  folds_[0].lexicon = texts.lexicon.text;
  folds_[0].open_classes = texts.open_classes.text;
}

void Folds::read_lexicon() {
  lexicon_line_t entry;
  for_each_line(texts_.lexicon.text, [&](char* line, int64_t number) {
    entry.split(line);
    if (entry.pairs.empty())
      stop_at(texts_.lexicon.name.c_str(), number,
              "no tag for the word form '" + printable(entry.word) + "'");
    for (const auto& [tag, lemma] : entry.pairs)
      readings_.push_back(
          {strings_.number(entry.word), strings_.number(tag), strings_.number(lemma), number});
  });
}

// A sentence ends at a word with the sentence tag or at an empty line.
void Folds::read_corpus(const training_text_t& corpus) {
  const auto end_sentence = [this] {
    const size_t first = sentences_.empty() ? 0 : sentences_.back().end;
    if (tokens_.size() > first) sentences_.push_back({first, tokens_.size(), 0});
  };
  for_each_line(corpus.text, [&](char* line, int64_t number) {
    const corpus_line_t token(line);
    if (*token.word == '\0') return end_sentence();
    if (*token.tag == '\0')
      stop_at(corpus.name.c_str(), number, "no TAB and tag behind the word: " + printable(token.word));
    tokens_.push_back({strings_.number(token.word), strings_.number(token.tag)});
    if (tokens_.back().tag == sentence_tag_) end_sentence();
  });
  end_sentence();
}

void Folds::deal_out(Dealing dealing, uint64_t seed) {
  const size_t count = sentences_.size();
  const size_t first = seed == 1 ? 0 : scrambled(seed) % count;
  for (size_t i = 0; i < count; ++i)
    sentences_[(first + i) % count].fold =
        dealing == Dealing::Stretches ? i * folds_.size() / count : block_of(i, count) % folds_.size();
}

void Folds::make_lexicons() {
  Places pairs, tags;
  for (const sentence_t& sentence : sentences_)
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      pairs.meet(pair_of(tokens_[i]), sentence.fold);
      tags.meet(tokens_[i].tag, sentence.fold);
    }
  for (size_t fold = 0; fold < folds_.size(); ++fold) {
    string_set_t& kept = folds_[fold].tags;
    const auto is_dropped = [&](const reading_t& reading) { return pairs.only_in(pair_of(reading), fold); };
    for (const reading_t& reading : readings_)
      if (!is_dropped(reading)) kept.insert(strings_.text(reading.tag));

    std::string& text = folds_[fold].lexicon;
    int64_t line = 0;  // the one that was begun last
    for (const reading_t& reading : readings_) {
      const bool needs_tag = reading.tag == sentence_tag_ || tags.outside(reading.tag, fold);
      if (is_dropped(reading) && !(needs_tag && kept.insert(strings_.text(reading.tag)).second)) continue;
      if (reading.line != line) {
        if (line != 0) text += '\n';
        text += strings_.text(reading.form);
        line = reading.line;
      }
      ((text += '\t') += strings_.text(reading.tag)) += ' ';
      text += strings_.text(reading.lemma);
    }
    text += '\n';
  }
}

std::string Folds::training_corpus(size_t fold) const {
  if (folds_.size() == 1) return texts_.corpus.text;
  std::string text;
  for (const sentence_t& sentence : sentences_) {
    if (sentence.fold == fold) continue;
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      (text += strings_.text(tokens_[i].form)) += '\t';
      (text += strings_.text(tokens_[i].tag)) += '\n';
    }
  }
  return text;
}

unseen_fold_t Folds::unseen_fold(size_t fold) const {
  unseen_fold_t unseen{{{texts_.lexicon.name, folds_[fold].lexicon},
                        {texts_.open_classes.name, folds_[fold].open_classes},
                        {texts_.corpus.name, training_corpus(fold)}},
                       {},
                       {}};
  for (size_t number = 0; number < sentences_.size(); ++number) {
    const sentence_t& sentence = sentences_[number];
    if (sentence.fold != fold) continue;
    gold_sentence_t& gold = unseen.of(number, sentences_.size()).emplace_back();
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      gold.forms.push_back(strings_.text(tokens_[i].form));
      gold.tags.push_back(strings_.text(tokens_[i].tag));
    }
  }
  return unseen;
}

evaluation_t Folds::try_out(size_t fold, const choice_t& choice) const {
  const Model model = [&] {
    const std::string corpus = training_corpus(fold);
    TrainingInputs inputs = texts_.inputs();
    inputs.lexicon.text = folds_[fold].lexicon;
    inputs.open_classes.text = folds_[fold].open_classes;
    inputs.corpus.text = corpus;
    return make_model(train(inputs, choice.settings, {}));
  }();
  tagger_options_t options;
  options.choice = choice.decoding;
  options.warn = {};
  Evaluator evaluator(model, Tagger(model, options), false);
  for (size_t place = 0; place < sentences_.size(); place += tagged_share_) {
    const sentence_t& sentence = sentences_[place];
    if (sentence.fold != fold) continue;
    for (size_t i = sentence.first; i < sentence.end; ++i)
      evaluator.add(strings_.text(tokens_[i].form), strings_.text(tokens_[i].tag));
    evaluator.end_sentence();
  }
  return evaluator.take_result();
}

bool Folds::run(std::vector<trial_t>& trials, size_t jobs, ProgressLine& progress,
                const std::function<void(const trial_t&)>& take, const std::function<bool()>& is_over) const {
  const auto work = [&](trial_job_t& job) {
    job.failure = failure_of([&] { job.result = try_out(job.fold, trials[job.trial].choice); });
  };
  size_t done = 0;
  const auto take_job = [&](trial_job_t& job) {
    trial_t& trial = trials[job.trial];
    if (trial.failure.empty()) trial.failure = job.failure;
    trial.all.add(job.result.all);
    trial.known.add(job.result.known);
    trial.unknown.add(job.result.unknown);
    trial.accuracy.push_back(job.result.all.accuracy());
    if (trial.accuracy.size() == size()) take(trial);
    progress.update(static_cast<int64_t>(++done), static_cast<int64_t>(trials.size() * size()));
  };
  OrderedJobs<trial_job_t> threads({jobs, work}, take_job);
  for (size_t trial = 0; trial < trials.size(); ++trial)
    for (size_t fold = 0; fold < size(); ++fold) {
      if (is_over()) return false;
      threads.add({trial, fold});
    }
  while (!threads.finish_within(std::chrono::milliseconds(100)))
    if (is_over()) return false;
  return true;
}

}  // namespace orvelle
