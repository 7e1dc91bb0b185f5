#include "commands/trials.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <numeric>
#include <unordered_map>
#include <unordered_set>

#include "commands/text_io.h"
#include "context/tree_func.h"
#include "driver/parameter_file.h"
#include "driver/settings.h"
#include "lexicon/make_lexicon.h"
#include "tagger/tagger.h"

namespace orvelle {

namespace {

std::string read_whole(const char* name) {
  TextInput in(name);
  std::string text;
  while (in.next()) text.append(in.line_with_end());
  return text;
}

// Calls `action` for each line, without its end.
template <class Action>
void for_each_line(std::string_view text, Action action) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    action(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

// A field up to a separator, taken off the front of `rest`.
std::string_view take_field(std::string_view& rest, char separator) {
  const size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view field = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return field;
}

// A file that is gone when the last process that holds it is.
FILE* make_file(std::string_view content) {
  FILE* const file = std::tmpfile();
  if (file == nullptr) stop("can't make a temporary file: %s", std::strerror(errno));
  if (std::fwrite(content.data(), 1, content.size(), file) != content.size() || std::fflush(file) != 0)
    stop("can't write a temporary file: %s", std::strerror(errno));
  return file;
}

// A name to open it by once more, from its beginning.
std::string name_of(FILE* file) { return "/proc/self/fd/" + std::to_string(fileno(file)); }

// The same numbers on every platform, which the standard's distributions do not promise (splitmix64).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t operator()() {
    uint64_t x = state_ += 0x9E3779B97F4A7C15;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return x ^ (x >> 31);
  }

 private:
  uint64_t state_;
};

// The number of the fold of each sentence; the folds are equally large but for one sentence.
std::vector<size_t> deal_out(size_t sentences, size_t folds, uint64_t seed) {
  std::vector<size_t> order(sentences);
  std::iota(order.begin(), order.end(), size_t{0});
  Random random(seed);
  for (size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[random() % i]);
  std::vector<size_t> fold_of(sentences);
  for (size_t i = 0; i < sentences; ++i) fold_of[order[i]] = i % folds;
  return fold_of;
}

// What a child process tells its parent.
struct report_t {
  score_t all;
  score_t known;
  score_t unknown;
};

using string_set_t = std::unordered_set<std::string_view>;

std::string pair_key(std::string_view form, std::string_view tag) {
  std::string key(form);
  key += '\t';
  key += tag;
  return key;
}

// Calls `action(form, tag, reading, is_first)` for each reading, "tag lemma", of each word form of a lexicon.
template <class Action>
void for_each_reading(std::string_view lexicon, Action action) {
  for_each_line(lexicon, [&](std::string_view line) {
    const std::string_view form = take_field(line, '\t');
    bool is_first = true;
    while (!line.empty()) {
      const std::string_view reading = take_field(line, '\t');
      action(form, reading.substr(0, reading.find(' ')), reading, is_first);
      is_first = false;
    }
  });
}

// The lexicon of a fold's training: its text without the readings that only the held-out sentences know. `tags` are those
// that it lists then. The last reading of a tag that the training needs stays.
template <class IsDropped>
std::string fold_lexicon(std::string_view lexicon, const string_set_t& needed, IsDropped is_dropped,
                         string_set_t& tags) {
  for_each_reading(lexicon, [&](std::string_view form, std::string_view tag, std::string_view, bool) {
    if (!is_dropped(form, tag)) tags.insert(tag);
  });
  std::string result;
  bool has_form = false;  // the line of this word form is begun
  for_each_reading(lexicon,
                   [&](std::string_view form, std::string_view tag, std::string_view reading, bool is_first) {
                     if (is_first) has_form = false;
                     if (is_dropped(form, tag) && (tags.contains(tag) || !needed.contains(tag))) return;
                     tags.insert(tag);
                     if (!has_form) {
                       if (!result.empty()) result += '\n';
                       result += form;
                       has_form = true;
                     }
                     (result += '\t') += reading;
                   });
  return result += '\n';
}

// The open-class tags that the fold's lexicon has.
std::string fold_open_classes(std::string_view text, const string_set_t& tags) {
  constexpr std::string_view Blanks = " \t\n\r\v\f";
  std::string result;
  for (size_t start; (start = text.find_first_not_of(Blanks)) != std::string_view::npos;) {
    text.remove_prefix(start);
    const std::string_view tag = text.substr(0, text.find_first_of(Blanks));
    if (tags.contains(tag)) (result += tag) += '\n';
    text.remove_prefix(tag.size());
  }
  return result;
}

}  // namespace

Folds::Folds(const char* lexicon, const char* open_classes, const char* corpus, int folds, uint64_t seed)
    : lexicon_(read_whole(lexicon)), open_classes_(read_whole(open_classes)) {
  read_corpus(corpus);
  const auto count = static_cast<size_t>(folds);
  if (sentences_.size() < count)
    stop("%s has %zu sentences, too few for %zu folds", corpus, sentences_.size(), count);
  const std::vector<size_t> fold_of = deal_out(sentences_.size(), count, seed);
  for (size_t fold = 0; fold < count; ++fold) make_fold(fold, fold_of);
}

// A sentence ends at a word with the sentence tag or at an empty line.
void Folds::read_corpus(const char* name) {
  corpus_ = read_whole(name);
  sentences_.emplace_back();
  int64_t line_number = 0;
  for_each_line(corpus_, [&](std::string_view line) {
    ++line_number;
    const std::string_view form = take_field(line, '\t');
    const std::string_view tag = take_field(line, '\t');
    if (!form.empty() && tag.empty())
      stop_at(name, line_number, "no TAB and tag behind the word: %s", printable(form).c_str());
    if (!form.empty()) {
      sentences_.back().push_back({form, tag});
      ++token_count_;
    }
    if ((form.empty() || tag == SENT_TAG) && !sentences_.back().empty()) sentences_.emplace_back();
  });
  if (sentences_.back().empty()) sentences_.pop_back();
}

void Folds::make_fold(size_t number, const std::vector<size_t>& fold_of) {
  fold_t fold;
  std::string training;
  std::unordered_set<std::string> seen;       // pairs of a word form and a tag, in the training
  std::unordered_set<std::string> held_back;  // and in the held-out sentences
  string_set_t needed{SENT_TAG};              // tags of the training
  for (size_t i = 0; i < sentences_.size(); ++i) {
    const bool is_held_out = fold_of[i] == number;
    if (is_held_out) fold.held_out.push_back(&sentences_[i]);
    for (const token_t& token : sentences_[i]) {
      (is_held_out ? held_back : seen).insert(pair_key(token.form, token.tag));
      if (is_held_out) continue;
      needed.insert(token.tag);
      ((training += token.form) += '\t') += token.tag;
      training += '\n';
    }
  }
  const auto is_dropped = [&](std::string_view form, std::string_view tag) {
    const std::string key = pair_key(form, tag);
    return held_back.contains(key) && !seen.contains(key);
  };
  string_set_t tags;  // of the fold's lexicon
  fold.lexicon.reset(make_file(fold_lexicon(lexicon_, needed, is_dropped, tags)));
  fold.open_classes.reset(make_file(fold_open_classes(open_classes_, tags)));
  fold.corpus.reset(make_file(training));
  folds_.push_back(std::move(fold));
}

// Trains, loads what was written and tags the held-out sentences. Leaves without the clean-up of the parent.
void Folds::run_child(const fold_t& fold, const training_settings_t& settings, int pipe) const {
  Quiet = 1;
  Context_Size = settings.context_size;
  Min_Info_Gain = settings.min_info_gain;
  Smoothing_Weight = settings.smoothing_weight;
  Word_Class_Weight = settings.word_class_weight;
  Lex_Threshold = settings.lex_threshold;
  const std::string lexicon = name_of(fold.lexicon.get());
  const std::string open_classes = name_of(fold.open_classes.get());
  const std::string corpus = name_of(fold.corpus.get());
  FILE* const file = make_file("");
  const std::string parameter_file = name_of(file);
  make_lexicon(corpus.c_str(), lexicon.c_str(), open_classes.c_str());
  write_parameter_file(parameter_file.c_str(), make_tree(corpus.c_str()));
  read_parameter_file(parameter_file.c_str());

  Tagger tagger;
  evaluation_t result;
  Evaluator evaluator(tagger, result, false);
  for (const sentence_t* sentence : fold.held_out) {
    for (const token_t& token : *sentence) evaluator.add(token.form, token.tag);
    evaluator.end_sentence();
  }
  const report_t report{result.all, result.known, result.unknown};
  const bool is_told = write(pipe, &report, sizeof report) == static_cast<ssize_t>(sizeof report);
  _exit(is_told ? 0 : 1);
}

// ---- the processes

Folds::Pool::Pool(const Folds& folds, std::vector<trial_t>& trials, int jobs)
    : folds_(folds), trials_(trials), jobs_(static_cast<size_t>(jobs)) {
  for (trial_t& trial : trials_) trial.accuracy.assign(folds_.size(), 0.0);
}

Folds::Pool::~Pool() {
  for (const child_t& child : children_) {
    kill(child.pid, SIGKILL);
    waitpid(child.pid, nullptr, 0);
    close(child.pipe);
  }
}

bool Folds::Pool::step() {
  while (children_.size() < jobs_ && next_ < trials_.size() * folds_.size()) {
    start(next_ / folds_.size(), next_ % folds_.size());
    ++next_;
  }
  if (children_.empty()) return false;
  int status;
  const int pid = waitpid(-1, &status, 0);
  if (pid < 0 && errno == EINTR) return true;
  if (pid < 0) stop("can't wait for a training: %s", std::strerror(errno));
  const auto child = std::ranges::find(children_, pid, &child_t::pid);
  if (child == children_.end()) return true;
  finish(*child, status);
  children_.erase(child);
  ++done_;
  return true;
}

void Folds::Pool::start(size_t trial, size_t fold) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) stop("can't make a pipe: %s", std::strerror(errno));
  std::fflush(nullptr);
  const int pid = fork();
  if (pid < 0) stop("can't start a process: %s", std::strerror(errno));
  if (pid == 0) folds_.run_child(folds_.folds_[fold], trials_[trial].settings, ends[1]);
  close(ends[1]);
  children_.push_back({pid, ends[0], trial, fold});
}

// The report is far smaller than what a pipe holds, so the child never waits for its reader.
void Folds::Pool::finish(const child_t& child, int status) {
  trial_t& trial = trials_[child.trial];
  report_t report;
  const bool is_whole = read(child.pipe, &report, sizeof report) == static_cast<ssize_t>(sizeof report);
  close(child.pipe);
  if (!is_whole || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    trial.failed = true;
    return;
  }
  const auto add = [](score_t& sum, const score_t& part) {
    sum.words += part.words;
    sum.right += part.right;
  };
  add(trial.all, report.all);
  add(trial.known, report.known);
  add(trial.unknown, report.unknown);
  trial.accuracy[child.fold] = report.all.accuracy();
}

}  // namespace orvelle
