// SPDX-License-Identifier: MIT
#include <orvelle/automaton.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>

#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

constexpr size_t Max_Token_Length = 100;  // bytes; what follows is read as the number
constexpr char Class_Keyword[] = "wordclass";

// ---- Triples ----

struct triple_t {
  int state;
  std::string token;
  int number;  // the target, or the class of the state
  bool is_class() const { return token == Class_Keyword; }
};

int first_nonblank(FILE* file) {
  int c;
  do c = std::getc(file);
  while (is_white_space(c));
  return c;
}

// A decimal number. One that does not fit becomes the nearest int, which no rule of the format lets pass.
bool read_number(FILE* file, int& number) {
  int c = first_nonblank(file);
  const bool negative = c == '-';
  if (c == '-' || c == '+') c = std::getc(file);
  const bool has_digits = is_digit(static_cast<char>(c));
  int64_t value = 0;
  for (; is_digit(static_cast<char>(c)); c = std::getc(file))
    value = std::min(10 * value + (c - '0'), -int64_t{INT_MIN});
  std::ungetc(c, file);
  number = static_cast<int>(std::min(negative ? -value : value, int64_t{INT_MAX}));
  return has_digits;
}

bool read_token(FILE* file, std::string& token) {
  token.clear();
  int c = first_nonblank(file);
  for (; c != EOF && !is_white_space(c) && token.size() < Max_Token_Length; c = std::getc(file))
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
  if (!states.empty() && number_of_classes == 0) fail("Error: in transducer file: no word class!");
}

int Automaton::wordclass(std::string_view word, int state) const {
  const auto is_state = [this](int number) {
    return number >= 0 && static_cast<size_t>(number) < states.size();
  };
  const auto as_byte = [](const Transition& transition) {
    return static_cast<unsigned char>(transition.symbol);
  };
  if (!is_state(state)) return 0;
  for (const char c : word) {
    const auto byte = static_cast<unsigned char>(c);
    const std::vector<Transition>& transitions = states[state].transitions;
    const auto next = std::ranges::lower_bound(transitions, byte, {}, as_byte);
    if (next == transitions.end() || as_byte(*next) != byte) return 0;
    state = next->target;
  }
  return states[state].class_number;
}

}  // namespace orvelle
