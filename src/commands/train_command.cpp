// SPDX-License-Identifier: MIT
// orvelle train: from treebanks to a model file in one command.
//
//   treebank     sentences of tokens (treebank.h)
//   texts        the lexicon, open classes and corpus that train-orvelle would read (training_data.h)
//   settings     as told, usual ones, or the best of a search
//   model        trained; with lemma rules, the treebank's own tags for sentence ends, and a card (model_file.h)
//   measured     on the dev file, or on a tenth that a training without it has not seen
#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/evaluation.h"
#include "commands/learn_second_look.h"
#include "commands/search.h"
#include "commands/tagger_options.h"
#include "commands/train_request.h"
#include "commands/training_set.h"
#include "commands/treebank_options.h"
#include "model/model_file.h"
#include "model/parameter_file.h"
#include "model/tables.h"
#include "support/binary_output.h"
#include "support/errors.h"
#include "training/learn_lemmas.h"
#include "training/train.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle train [OPTION...] TREEBANK... MODEL\n"
    "       orvelle train [OPTION...] --lexicon F --open-classes F --corpus F MODEL\n"
    "\n"
    "Makes a model for orvelle tag from treebanks: CoNLL-U, or columns of form, tag and lemma.\n"
    "Or from files that train-orvelle takes. Says at the end how often the model is right.\n"
    "\n"
    "  --dev FILE            measure on this treebank (a tenth of the sentences, which the\n"
    "                        model that is measured has not seen)\n"
    "  --lexicon FILE        with treebanks: more entries, in the trainer's format; may be\n"
    "                        repeated\n"
    "  --settings OPTIONS    train with these options of train-orvelle, such as\n"
    "                        '-cl 3 -dtg 0.1' (-cl 1 -dtg 0.05 -sw 3, without a second\n"
    "                        look -cl 2)\n"
    "  --no-second-look      only what train-orvelle would make of it: a little smaller and\n"
    "                        faster, and less often right\n"
    "  --tune                search for better settings, by what is right of what is measured\n"
    "                        on; kept only if it is one word in a thousand more\n"
    "  --jobs N              trainings at a time (one for each processor)\n";

constexpr option_t Options[] = {{"dev", "FILE"},    {"lexicon", "FILE"},        {"open-classes", "FILE"},
                                {"corpus", "FILE"}, {"settings", "OPTIONS"},    {"tune", nullptr},
                                {"jobs", "N"},      {"no-second-look", nullptr}};

constexpr size_t Least_Sentences = 20;  // from which on a tenth of them can tell something

// ---- training and measuring

// Whether most tags are made of parts.
bool have_parts(const Model& model) {
  int with_parts = 0;
  for (int tag = 0; tag < model.Number_of_Tags(); ++tag)
    with_parts += std::string_view(model.Tag(tag)).find_first_of(":|-+", 1) != std::string_view::npos;
  return 2 * with_parts > model.Number_of_Tags();
}

Model make_full_model(const training_set_t& set, const Settings& settings, TrainedModel trained) {
  Model model = make_model(std::move(trained));
  model_extras_t& extras = ModelAccess::tables(model).extras;
  extras.treebank = set.columns;
  extras.lemma_rules = learn_lemmas(model);
  extras.card.push_back({"settings", options_of(settings)});
  return model;
}

evaluation_t measure(const Model& model, const Treebank& treebank, const sentences_t& sentences) {
  tagger_options_t options;
  options.choice = tagger_options_t::Choice::Word;
  options.warn = {};
  Evaluator evaluator(model, Tagger(model, options), false, ModelColumns(model, nullptr).column());
  for (const range_t& sentence : sentences) {
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      const token_t& token = treebank.tokens[i];
      evaluator.add(treebank.strings.text(token.form), treebank.strings.text(token.treebank_tag),
                    token.lemma >= 0 ? treebank.strings.text(token.lemma) : "");
    }
    evaluator.end_sentence();
  }
  return evaluator.take_result();
}

std::string percent(const score_t& score) { return formatted("%.2f%%", 100.0 * score.accuracy()); }

std::string summary(const evaluation_t& result) {
  std::string text = percent(result.all) + " of " + counted(result.all.words, "word");
  if (result.known.words > 0) text += ", known " + percent(result.known);
  if (result.unknown.words > 0) text += ", unknown " + percent(result.unknown);
  if (result.lemmas.words > 0) text += ", lemmas " + percent(result.lemmas);
  return text;
}

// ---- the command

class Trainer {
 public:
  Trainer(const CommandLine& line, const train_request_t& request, Remarks& remarks)
      : line_(line),
        request_(request),
        remarks_(remarks),
        options_(treebank_options(line)),
        treebank_(options_, remarks),
        file_(request.model),
        out_("-"),
        settings_(request.settings) {
    if (!request.has_settings && !line.has("no-second-look")) settings_.Context_Size = 1;
    if (!line.has("corpus")) settings_.SENT_TAG = options_.sentence_tag;
  }

  // The exit status.
  int run() {
    if (line_.has("corpus"))
      read_files();
    else
      read_treebanks();
    if (line_.has("dev"))
      read_dev();
    else if (!line_.has("corpus"))
      hold_tenth_out();
    write(train_best());
    if (has_failed_trials_) remarks_.say("trainings of the search failed: there may be better settings");
    return has_failed_trials_ ? 1 : 0;
  }

 private:
  // What the model, or one of its own that has not seen them, is measured on.
  struct measured_sentences_t {
    const Treebank& treebank;
    sentences_t sentences;
    std::string name;
    std::optional<training_set_t> others;  // of the same treebank
  };
  struct trained_t {
    Model model;
    evaluation_t result;
  };

  void read_dev() {
    treebank_options_t options = options_;
    options.without_tag = treebank_options_t::Skip;
    Treebank& dev = dev_.emplace(options, remarks_);
    read(dev, line_.value("dev", nullptr));
    dev.close_remarks();
    const input_t& input = inputs_.back();
    const sentences_t sentences = split(dev, 0.0).training;
    if (dev.refused > 0 || sentences.empty()) stop(input.name + " can't be measured on");
    if (std::ranges::count(inputs_, input.digest, &input_t::digest) > 1)
      remarks_.say(input.name + " was trained on as well: what it tells is not what new text would");
    if (line_.has("corpus") && dev.has_universal_tags) set_.columns = columns_of(dev, sentences, options);
    measured_.emplace(measured_sentences_t{dev, sentences, file_name(input.name), {}});
  }

  // The second look learns them last, so that it can be measured before.
  void hold_tenth_out() {
    const size_t count = all_.size();
    const parts_t parts = split_by(treebank_, [count](size_t i) { return is_learned_last(i, count); });
    if (count < Least_Sentences || !can_be_trained_on(treebank_, parts.training, options_.sentence_tag))
      return;
    measured_.emplace(
        measured_sentences_t{treebank_, parts.test, "a tenth that was held out", make_set(parts.training)});
  }

  // Trains with the settings that were told, or with --tune with the better ones of these and those of a search.
  // The search knows the first pass alone; what it finds must be better with the second look as well.
  Model train_best() {
    const Settings usual = settings_, found = line_.has("tune") && measured_ ? search_settings() : usual;
    trained_t best = train();
    if (found != usual) {
      settings_ = found;
      trained_t by_found = train();
      constexpr int64_t Noticeable_Share = 1000;  // one word in so many
      const score_t &all = best.result.all, &found_all = by_found.result.all;
      if (found_all.right - all.right > all.words / Noticeable_Share)
        best = std::move(by_found);
      else
        settings_ = usual;
    }
    if (measured_) {
      accuracy_ = summary(best.result) + " on " + measured_->name;
      out_.print("right: %s\n", accuracy_.c_str());
    }
    return std::move(best.model);
  }

  training_set_t make_set(const sentences_t& sentences) {
    return make_training_set(line_, treebank_, sentences, options_);
  }

  void read(Treebank& treebank, const char* name) {
    const uint64_t digest = treebank.read(name);
    inputs_.push_back({name, digest});
  }

  void read_treebanks() {
    for (const char* name : request_.treebanks) read(treebank_, name);
    for (const char* name : line_.values("lexicon")) inputs_.push_back({name, treebank_.read_lexicon(name)});
    treebank_.close_remarks();
    added_ = std::exchange(treebank_.entries, {});
    all_ = split(treebank_, 0.0).training;
    settings_.UTF8_Processing = treebank_.encoding() != encoding_t::Other;
    if (!settings_.UTF8_Processing)
      remarks_.say("not all of the text is UTF-8: it is taken for single bytes");
    if (!treebank_.tokens.empty() && !can_be_trained_on(treebank_, all_, options_.sentence_tag))
      take_final_tag();
    set_ = make_set(all_);
    if (set_.texts.open_classes.text.empty())
      remarks_.say("no open classes: nothing will be learnt about unknown words (see --open)");
    out_.print("%s in %s\n", counted(static_cast<int64_t>(treebank_.tokens.size()), "word").c_str(),
               counted(static_cast<int64_t>(treebank_.sentence_ends.size()), "sentence").c_str());
    out_.flush();
  }

  void read_files() {
    const char* const lexicon = line_.value("lexicon", nullptr);
    set_.texts = {read_whole(lexicon), read_whole(line_.value("open-classes", nullptr)),
                  read_whole(line_.value("corpus", nullptr))};
    for (const training_text_t* text : {&set_.texts.lexicon, &set_.texts.open_classes, &set_.texts.corpus}) {
      Checksum checksum;
      checksum.add(text->text);
      inputs_.push_back({text->name, checksum.value()});
    }
    if (const auto column = tag_column(line_))
      set_.columns.column = Tag_Column_Names[static_cast<int>(*column)];
    if (!request_.has_settings)
      settings_.UTF8_Processing = encoding_of(set_.texts.lexicon.text) == encoding_t::Utf8;
  }

  Settings search_settings() {
    const auto& [treebank, sentences, name, others] = *measured_;
    const training_texts_t& texts = others ? others->texts : set_.texts;
    const size_t jobs = jobs_option(line_, std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, 64));
    const Folds folds(texts, settings_.SENT_TAG, {"", corpus_text(treebank, sentences, "\n")});
    out_.put("\n");
    Search search(folds, {jobs, !line_.has("no-second-look")}, out_, remarks_);
    // A model file chooses by word.
    const Settings found = search.run({settings_, tagger_options_t::Choice::Word}).choice.settings;
    has_failed_trials_ = search.tell_failures();
    if (search.was_stopped()) out_.put("stopped; going on with the best so far\n");
    out_.put("\n");
    out_.flush();
    return found;
  }

  // In a treebank without marks at sentence ends the tag that most sentences end in has to do.
  void take_final_tag() {
    std::map<int, int> counts;
    for (const size_t end : treebank_.sentence_ends) ++counts[treebank_.tokens[end - 1].tag];
    const auto best = std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; });
    options_.sentence_tag = treebank_.strings.text(best->first);
    settings_.SENT_TAG = options_.sentence_tag;
    remarks_.say(
        std::string("no token ends sentences (see --sentence-end): their tag is that of most last words, ") +
        options_.sentence_tag);
  }

  // Readings from outside are not for the training, which would take them for what the treebank has; nor for the folds of
  // the second look, where they cost as much as they bring.
  void add_readings(Model& model) {
    const auto text = [this](int number) { return treebank_.strings.text(number); };
    int64_t left_out = 0;
    for (const token_t& reading : added_) {
      const int tag = model.find_tag(text(reading.tag));
      if (tag >= 0)
        model.add_reading(text(reading.form), tag, text(reading.lemma));
      else
        ++left_out;
    }
    if (left_out > 0 && !std::exchange(has_told_of_added_, true))
      remarks_.say(counted(left_out, "reading") +
                   " of --lexicon left out, with tags that the treebank does not have");
  }

  TrainedModel train_tables(const training_texts_t& texts) {
    try {
      return orvelle::train(texts.inputs(), settings_, {}, {});
    } catch (const Error& failure) {
      if (!line_.has("corpus")) throw;
      // The trainer does not say which of the three files it speaks of.
      std::string check = "orvelle check";
      for (const char* file : {"lexicon", "open-classes", "corpus"})
        check += " " + shell_quoted(line_.value(file, ""));
      stop(message_of(failure) + " (" + check + " tells where)");
    }
  }

  Model train_first_pass(const training_set_t& set) {
    Model model = make_full_model(set, settings_, train_tables(set.texts));
    add_readings(model);
    return model;
  }

  trained_t train() {
    ProgressLine progress(remarks_, "training");
    Model model = train_first_pass(set_);
    learned_second_look_t learned = learn(have_parts(model));
    evaluation_t result;
    if (measured_ && measured_->others) {
      Model others = train_first_pass(*measured_->others);
      ModelAccess::tables(others).extras.weights = std::move(learned.without_last);
      result = measure(others, measured_->treebank, measured_->sentences);
    }
    ModelAccess::tables(model).extras.weights = std::move(learned.weights);
    if (measured_ && !measured_->others) result = measure(model, measured_->treebank, measured_->sentences);
    return {std::move(model), std::move(result)};
  }

  learned_second_look_t learn(bool splits_tags) {
    if (line_.has("no-second-look")) return {};
    try {
      return line_.has("corpus") ? learn_from_files(splits_tags) : learn_from_treebanks(splits_tags);
    } catch (const Failure& failure) {
      remarks_.say(std::string("no second look: ") + failure.what());
    } catch (const Error& failure) {
      remarks_.say("no second look: " + message_of(failure));
    }
    return {};
  }

  learned_second_look_t learn_from_files(bool splits_tags) const {
    const Folds folds(set_.texts, settings_.SENT_TAG, Second_Look_Folds, Folds::Dealing::Blocks);
    return learn_second_look(folds.tokens(), splits_tags, settings_,
                             [&](size_t fold) { return folds.unseen_fold(fold); });
  }

  learned_second_look_t learn_from_treebanks(bool splits_tags) {
    const size_t count = all_.size();
    const auto make_fold = [&](size_t fold) {
      const parts_t parts = split_by(treebank_, [&](size_t i) { return second_look_fold(i, count) == fold; });
      if (!can_be_trained_on(treebank_, parts.training, options_.sentence_tag))
        stop("too few sentences end in a token of --sentence-end");
      unseen_fold_t unseen{make_set(parts.training).texts, {}, {}};
      for (size_t i = 0; i < count; ++i)
        if (second_look_fold(i, count) == fold) unseen.of(i, count).push_back(gold_of(treebank_, all_[i]));
      return unseen;
    };
    return learn_second_look(treebank_.tokens.size(), splits_tags, settings_, make_fold);
  }

  static std::string file_name(const std::string& path) {
    return escaped(std::filesystem::path(path).filename().string());
  }

  void write(Model model) {
    Tables& tables = ModelAccess::tables(model);
    std::vector<card_line_t>& card = tables.extras.card;
    card.insert(card.begin(), {"made by", "orvelle " ORVELLE_VERSION});
    if (!set_.columns.column.empty()) card.push_back({"column", set_.columns.column});
    card.push_back({"sentence tag", settings_.SENT_TAG});
    if (!treebank_.tokens.empty()) {
      card.push_back({"words", std::to_string(treebank_.tokens.size())});
      card.push_back({"sentences", std::to_string(treebank_.sentence_ends.size())});
    }
    card.push_back({"word forms", std::to_string(model.Fullform_Lexicon_Size())});
    card.push_back({"tags", std::to_string(model.Number_of_Tags())});
    for (const auto& [name, digest] : inputs_)
      card.push_back(
          {"input", file_name(name) + formatted(" %016llx", static_cast<unsigned long long>(digest))});
    if (!accuracy_.empty()) card.push_back({"right", accuracy_});

    write_model_file(file_.stream(), tables.extras.sections(),
                     [&](BinaryOutput& to) { write_parameters(to, tables); });
    const int64_t size = file_.size();
    file_.commit();
    out_.print("made %s, %lld bytes, with %s\n\n", shown(request_.model).c_str(),
               static_cast<long long>(size), options_of(settings_).c_str());
    const std::string name = shell_quoted(request_.model);
    out_.print("orvelle tag %s TEXT\norvelle evaluate %s GOLD-CORPUS\n", name.c_str(), name.c_str());
    out_.close();
  }

  struct input_t {
    std::string name;
    uint64_t digest;
  };

  const CommandLine& line_;
  const train_request_t& request_;
  Remarks& remarks_;
  treebank_options_t options_;
  Treebank treebank_;
  sentences_t all_;  // of the treebank
  std::optional<Treebank> dev_;
  std::optional<measured_sentences_t> measured_;
  std::vector<token_t> added_;  // readings of --lexicon
  bool has_told_of_added_ = false;
  NewFile file_;  // the model; made before the work, so that what is in its way is told before
  TextOutput out_;
  Settings settings_;
  training_set_t set_;
  std::vector<input_t> inputs_;
  std::string accuracy_;
  bool has_failed_trials_ = false;
};

int train_command(const CommandLine& line, Remarks& remarks) {
  const train_request_t request = parse_train_request(line);
  return Trainer(line, request, remarks).run();
}

}  // namespace

const command_t Train_Command = {
    "train", "from treebanks to a model", Help, Options, 1, -1, train_command, &Treebank_Group};

}  // namespace orvelle
