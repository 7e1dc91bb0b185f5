#include "wordclass/wordclass.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <numeric>
#include <string>
#include <utility>

#include "lexicon/tagset.h"
#include "support/errors.h"

namespace orvelle {

Automaton* WA = nullptr;
entry_t* Wordclass_Lexicon = nullptr;

namespace {

std::unique_ptr<Automaton> Loaded_Automaton;  // what WA points to
lexicon_storage_t Class_Storage;              // what Wordclass_Lexicon points into

constexpr size_t Max_Token_Length = 100;  // bytes; what follows is read as the number
constexpr const char* Class_Keyword = "wordclass";
constexpr double Least_Share = 0.01;  // of the probability of a class's most probable tag

// ---- Triples ----

struct triple_t {
  int state;
  std::string token;
  int number;  // the target, or the class of the state
  bool is_class() const { return token == Class_Keyword; }
};

bool is_digit(int c) { return c >= '0' && c <= '9'; }

bool is_blank(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int first_nonblank(FILE* file) {
  int c;
  do c = std::getc(file);
  while (is_blank(c));
  return c;
}

// A decimal number. One that does not fit becomes the nearest int, which no rule of the format lets pass.
bool read_number(FILE* file, int& number) {
  int c = first_nonblank(file);
  const bool negative = c == '-';
  if (c == '-' || c == '+') c = std::getc(file);
  const bool has_digits = is_digit(c);
  int64_t value = 0;
  for (; is_digit(c); c = std::getc(file)) value = std::min(10 * value + (c - '0'), -int64_t{INT_MIN});
  std::ungetc(c, file);
  number = static_cast<int>(std::min(negative ? -value : value, int64_t{INT_MAX}));
  return has_digits;
}

bool read_token(FILE* file, std::string& token) {
  token.clear();
  int c = first_nonblank(file);
  for (; c != EOF && !is_blank(c) && token.size() < Max_Token_Length; c = std::getc(file))
    token += static_cast<char>(c);
  std::ungetc(c, file);
  return !token.empty();
}

// False at the first triple that is not whole.
bool read_triple(FILE* file, triple_t& triple) {
  return read_number(file, triple.state) && read_token(file, triple.token) &&
         read_number(file, triple.number);
}

// ---- Rules of the format ----

// The last transition, or what stands before the first.
struct previous_t {
  int state = -1;
  unsigned char symbol = 0;
};

unsigned char symbol_of(const triple_t& triple) { return static_cast<unsigned char>(triple.token[0]); }

void check_transition(const triple_t& triple, const previous_t& previous) {
  if (triple.token.size() > 1)
    fail("Error: in transducer file: illegal symbol \"%s\"!", triple.token.c_str());
  if (triple.state < previous.state)
    fail("Error: in transducer file: states not ordered (%d,%d)!", previous.state, triple.state);
  if (triple.state == previous.state && symbol_of(triple) < previous.symbol)
    fail("Error: in transducer file: symbols not ordered (%c,%c) at state %d!", previous.symbol,
         symbol_of(triple), triple.state);
}

// The target of a transition has no upper limit here: it must be a state in the end.
void check_numbers(const triple_t& triple, int64_t triples_read) {
  const int64_t limit = std::min<int64_t>(triples_read + Max_Number_Lead, INT_MAX);
  const char* fault = nullptr;
  if (triple.state < 0 || triple.number < 0)
    fault = "negative number";
  else if (triple.state >= limit || (triple.is_class() && triple.number >= limit))
    fault = "number too large";
  if (fault != nullptr)
    fail("Error: in transducer file: %s (%d %s %d)!", fault, triple.state, triple.token.c_str(),
         triple.number);
}

[[noreturn]] void no_class() { fail("Error: in transducer file: no word class!"); }

// ---- The word-class lexicon ----

using row_t = std::vector<double>;  // sum of the probabilities by tag number; empty for a class without words

std::vector<row_t> sum_up_lexicon(const Automaton& automaton) {
  std::vector<row_t> rows(automaton.number_of_classes);
  for (int i = 0; i < Fullform_Lexicon_Size; ++i) {
    row_t& row = rows[automaton.wordclass(Fullform_Lexicon[i].word, 0)];
    row.resize(Number_of_Tags);
    const entrydata_t& data = *Fullform_Lexicon[i].data;
    for (int k = 0; k < data.n; ++k) row[data.tag[k]] += double{data.prob[k]};
  }
  return rows;
}

// Turns the sums, which are not 0 altogether, into probabilities and keeps the tags above the threshold. What
// is kept is not normalised again.
entrydata_t make_record(row_t& row, double sum, lexicon_storage_t& storage) {
  const double reciprocal = 1.0 / sum;
  for (double& value : row) value *= reciprocal;
  const double threshold = Least_Share * *std::ranges::max_element(row);
  const auto is_kept = [threshold](double value) { return value > threshold; };

  const auto n = static_cast<int>(std::ranges::count_if(row, is_kept));
  int* tag = storage.blocks.emplace_back(new int[n]).get();
  float* prob = storage.prob_blocks.emplace_back(new float[n]).get();
  int kept = 0;
  for (int t = 0; t < Number_of_Tags; ++t) {
    if (!is_kept(row[t])) continue;
    tag[kept] = t;
    prob[kept++] = static_cast<float>(row[t]);
  }
  return {.n = n, .tag = tag, .prob = prob, .count = nullptr, .freq = 0, .lemma = nullptr};
}

lexicon_storage_t make_class_lexicon(std::vector<row_t> rows) {
  lexicon_storage_t storage;
  storage.slots.assign(rows.size(), entry_t{nullptr, nullptr});
  storage.records.reserve(rows.size() -
                          std::ranges::count_if(rows, &row_t::empty));  // the slots point into it
  for (size_t m = 0; m < rows.size(); ++m) {
    const double sum = std::accumulate(rows[m].begin(), rows[m].end(), 0.0);
    if (sum == 0.0)
      std::fprintf(stderr, "\nWARNING: no lexicon entry for word class %zu!\n", m);
    else
      storage.slots[m].data = &storage.records.emplace_back(make_record(rows[m], sum, storage));
  }
  return storage;
}

}  // namespace

Automaton::Automaton(FILE* file) {
  triple_t triple;
  previous_t previous;
  int largest_target = -1;
  for (int64_t triples_read = 1; read_triple(file, triple); ++triples_read) {
    if (!triple.is_class()) check_transition(triple, previous);
    check_numbers(triple, triples_read);
    const auto state = static_cast<size_t>(triple.state);
    if (triple.is_class()) {
      if (state >= states.size())
        fail("Error: in transducer file: class for unknown state %d!", triple.state);
      states[state].class_number = triple.number;
      number_of_classes = std::max(number_of_classes, triple.number + 1);
    } else {
      if (state >= states.size()) states.resize(state + 1);
      states[state].transitions.push_back({triple.token[0], triple.number});
      previous = {triple.state, symbol_of(triple)};
      largest_target = std::max(largest_target, triple.number);
    }
  }
  if (std::ferror(file)) error("Can't read from input file");
  if (largest_target >= static_cast<int64_t>(states.size()))
    fail("Error: in transducer file: transition to unknown state %d!", largest_target);
  if (!states.empty() && number_of_classes == 0) no_class();
}

int Automaton::wordclass(const char* word, int state) const {
  const auto is_state = [this](int number) {
    return number >= 0 && static_cast<size_t>(number) < states.size();
  };
  const auto as_byte = [](const Transition& transition) {
    return static_cast<unsigned char>(transition.symbol);
  };
  if (!is_state(state)) return 0;
  for (; *word != '\0'; ++word) {
    const auto byte = static_cast<unsigned char>(*word);
    const std::vector<Transition>& transitions = states[state].transitions;
    const auto next = std::ranges::lower_bound(transitions, byte, {}, as_byte);
    if (next == transitions.end() || as_byte(*next) != byte) return 0;
    state = next->target;
  }
  return states[state].class_number;
}

// The globals are set together, when nothing can fail any more.
void read_wordclass(FILE* file) {
  auto automaton = std::make_unique<Automaton>(file);
  if (automaton->number_of_classes == 0) no_class();
  lexicon_storage_t storage = make_class_lexicon(sum_up_lexicon(*automaton));

  Loaded_Automaton = std::move(automaton);
  Class_Storage = std::move(storage);
  WA = Loaded_Automaton.get();
  Wordclass_Lexicon = Class_Storage.slots.data();
}

}  // namespace orvelle
