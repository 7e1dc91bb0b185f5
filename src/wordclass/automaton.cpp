// SPDX-License-Identifier: MIT
#include <orvelle/automaton.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>
#include <utility>

#include "support/errors.h"
#include "support/files.h"
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
  do c = next_byte(file);
  while (is_white_space(c));
  return c;
}

// A decimal number. One that does not fit becomes the nearest int, which no rule of the format lets pass.
bool read_number(FILE* file, int& number) {
  int c = first_nonblank(file);
  const bool negative = c == '-';
  if (c == '-' || c == '+') c = next_byte(file);
  const bool has_digits = is_digit(static_cast<char>(c));
  int64_t value = 0;
  for (; is_digit(static_cast<char>(c)); c = next_byte(file))
    value = std::min(10 * value + (c - '0'), -int64_t{INT_MIN});
  std::ungetc(c, file);
  number = static_cast<int>(std::min(negative ? -value : value, int64_t{INT_MAX}));
  return has_digits;
}

bool read_token(FILE* file, std::string& token) {
  token.clear();
  int c = first_nonblank(file);
  for (; c != EOF && !is_white_space(c) && token.size() < Max_Token_Length; c = next_byte(file))
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
void check_numbers(const triple_t& triple) {
  constexpr int limit = INT_MAX;  // so that an int can count them
  const char* fault = nullptr;
  if (triple.state < 0 || triple.number < 0)
    fault = "negative number";
  else if (triple.state >= limit || (triple.is_class() && triple.number >= limit))
    fault = "number too large";
  if (fault != nullptr)
    fail("Error: in transducer file: %s (%d %s %d)!", fault, triple.state, triple.token.c_str(),
         triple.number);
}

using States = SparseTable<Automaton::State>;
using numbered_state_t = States::Entry;
using class_of_state_t = std::pair<int, int>;  // state and class

// Gives states their classes, of several the last; some have nothing else. `states` ascends.
void add_classes(std::vector<class_of_state_t> classes, std::vector<numbered_state_t>& states) {
  std::ranges::stable_sort(classes, {}, &class_of_state_t::first);
  const size_t with_transitions = states.size();
  size_t place = 0;
  for (const auto& [number, class_number] : classes) {
    while (place < with_transitions && states[place].first < number) ++place;
    const bool is_known = place < with_transitions && states[place].first == number;
    if (!is_known && states.back().first != number) states.push_back({number, {}});
    (is_known ? states[place] : states.back()).second.class_number = class_number;
  }
  std::ranges::sort(states, {}, &numbered_state_t::first);
}

}  // namespace

Automaton::Automaton(FILE* file) {
  triple_t triple;
  previous_t previous;
  std::vector<numbered_state_t> made;  // those with transitions
  std::vector<class_of_state_t> classes;
  int largest_target = -1;
  while (read_triple(file, triple)) {
    if (!triple.is_class()) check_transition(triple, previous);
    check_numbers(triple);
    if (triple.is_class()) {
      if (triple.state > previous.state)
        fail("Error: in transducer file: class for unknown state %d!", triple.state);
      classes.emplace_back(triple.state, triple.number);
      number_of_classes = std::max(number_of_classes, triple.number + 1);
    } else {
      if (triple.state != previous.state) made.push_back({triple.state, {}});
      made.back().second.transitions.push_back({triple.token[0], triple.number});
      previous = {triple.state, symbol_of(triple)};
      largest_target = std::max(largest_target, triple.number);
    }
  }
  if (std::ferror(file)) error("Can't read from input file");
  if (largest_target > previous.state)
    fail("Error: in transducer file: transition to unknown state %d!", largest_target);
  if (!made.empty() && number_of_classes == 0) fail("Error: in transducer file: no word class!");
  add_classes(std::move(classes), made);
  states = States(std::move(made), static_cast<size_t>(previous.state) + 1);
}

int Automaton::wordclass(std::string_view word, int state) const {
  const auto is_state = [this](int number) {
    return number >= 0 && static_cast<size_t>(number) < states.size();
  };
  const auto as_byte = [](const Transition& transition) {
    return static_cast<unsigned char>(transition.symbol);
  };
  if (!is_state(state)) return 0;
  const State* reached = &states[static_cast<size_t>(state)];
  for (const char c : word) {
    const auto byte = static_cast<unsigned char>(c);
    const std::vector<Transition>& transitions = reached->transitions;
    const auto next = std::ranges::lower_bound(transitions, byte, {}, as_byte);
    if (next == transitions.end() || as_byte(*next) != byte) return 0;
    reached = &states[static_cast<size_t>(next->target)];
  }
  return reached->class_number;
}

}  // namespace orvelle
