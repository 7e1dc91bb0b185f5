// SPDX-License-Identifier: MIT
// orvelle train: from treebanks to a model file in one command.
//
//   treebank     sentences of tokens (treebank.h)
//   texts        the lexicon, open classes and corpus that train-orvelle would read (training_data.h)
//   settings     as told, usual ones, or the best of a search
//   model        trained; with lemma rules, the treebank's own tags for sentence ends, and a card (model_file.h)
//   measured     on the dev file, or on a tenth that a training without it has not seen
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/evaluation.h"
#include "commands/learn_second_look.h"
#include "commands/search.h"
#include "commands/tagger_options.h"
#include "commands/train_input.h"
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
        file_(request.model),
        out_("-"),
        input_(line, request, remarks, out_),
        settings_(input_.settings()) {}

  // The exit status.
  int run() {
    write(train_best());
    if (has_failed_trials_) remarks_.say("trainings of the search failed: there may be better settings");
    return has_failed_trials_ ? 1 : 0;
  }

 private:
  struct trained_t {
    Model model;
    evaluation_t result;
  };

  // Trains with the settings that were told, or with --tune with the better ones of these and those of a search.
  // The search knows the first pass alone; what it finds must be better with the second look as well.
  Model train_best() {
    const auto& measured = input_.measured();
    const Settings usual = settings_, found = line_.has("tune") && measured ? search_settings() : usual;
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
    if (measured) {
      accuracy_ = summary(best.result) + " on " + measured->name;
      out_.print("right: %s\n", accuracy_.c_str());
    }
    return std::move(best.model);
  }

  Settings search_settings() {
    const auto& [treebank, sentences, name, others] = *input_.measured();
    const training_texts_t& texts = others ? others->texts : input_.set().texts;
    const size_t jobs = jobs_option(line_, std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, 64));
    const Folds folds(texts, settings_.SENT_TAG, {"", corpus_text(treebank, sentences, "\n")});
    out_.put("\n");
    Search search(folds, {jobs, !line_.has("no-second-look")}, out_, remarks_);
    // A model file chooses by word.
    Settings found = search.run({settings_, tagger_options_t::Choice::Word}).choice.settings;
    has_failed_trials_ = search.tell_failures();
    if (search.was_stopped()) out_.put("stopped; going on with the best so far\n");
    out_.put("\n");
    out_.flush();
    return found;
  }

  // Readings from outside are not for the training, which would take them for what the treebank has; nor for the folds of
  // the second look, where they cost as much as they bring.
  void add_readings(Model& model) {
    const auto text = [this](int number) { return input_.treebank().strings.text(number); };
    int64_t left_out = 0;
    for (const token_t& reading : input_.added()) {
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
      if (!input_.is_of_files()) throw;
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
    const auto& measured = input_.measured();
    Model model = train_first_pass(input_.set());
    learned_second_look_t learned = learn(have_parts(model));
    evaluation_t result;
    if (measured && measured->others) {
      Model others = train_first_pass(*measured->others);
      ModelAccess::tables(others).extras.weights = std::move(learned.without_last);
      result = measure(others, measured->treebank, measured->sentences);
    }
    ModelAccess::tables(model).extras.weights = std::move(learned.weights);
    if (measured && !measured->others) result = measure(model, measured->treebank, measured->sentences);
    return {std::move(model), std::move(result)};
  }

  learned_second_look_t learn(bool splits_tags) {
    if (line_.has("no-second-look")) return {};
    try {
      return input_.is_of_files() ? learn_from_files(splits_tags) : learn_from_treebanks(splits_tags);
    } catch (const Failure& failure) {
      remarks_.say(std::string("no second look: ") + failure.what());
    } catch (const Error& failure) {
      remarks_.say("no second look: " + message_of(failure));
    }
    return {};
  }

  learned_second_look_t learn_from_files(bool splits_tags) const {
    const Folds folds(input_.set().texts, settings_.SENT_TAG, Second_Look_Folds, Folds::Dealing::Blocks);
    return learn_second_look(folds.tokens(), splits_tags, settings_,
                             [&](size_t fold) { return folds.unseen_fold(fold); });
  }

  learned_second_look_t learn_from_treebanks(bool splits_tags) {
    return learn_second_look(input_.treebank().tokens.size(), splits_tags, settings_,
                             [&](size_t fold) { return input_.unseen_fold(fold); });
  }

  void write(Model model) {
    Tables& tables = ModelAccess::tables(model);
    std::vector<card_line_t>& card = tables.extras.card;
    card.insert(card.begin(), {"made by", "orvelle " ORVELLE_VERSION});
    if (const std::string& column = input_.set().columns.column; !column.empty())
      card.push_back({"column", column});
    card.push_back({"sentence tag", settings_.SENT_TAG});
    if (const Treebank& treebank = input_.treebank(); !treebank.tokens.empty()) {
      card.push_back({"words", std::to_string(treebank.tokens.size())});
      card.push_back({"sentences", std::to_string(treebank.sentence_ends.size())});
    }
    card.push_back({"word forms", std::to_string(model.Fullform_Lexicon_Size())});
    card.push_back({"tags", std::to_string(model.Number_of_Tags())});
    for (const TrainInput::file_t& file : input_.files())
      card.push_back(
          {"input", file.name() + formatted(" %016llx", static_cast<unsigned long long>(file.digest))});
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

  const CommandLine& line_;
  const train_request_t& request_;
  Remarks& remarks_;
  NewFile file_;  // the model; made before the work, so that what is in its way is told before
  TextOutput out_;
  TrainInput input_;
  Settings settings_;
  std::string accuracy_;
  bool has_told_of_added_ = false;
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
