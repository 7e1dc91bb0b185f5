// The word-class transducer: an automaton over bytes, read from a text file, that maps word forms to word-class
// numbers, and the lexicon of word classes that lookups fall back on while an automaton is loaded.
#pragma once

#include <cstdio>
#include <vector>

#include "lexicon/entries.h"

namespace orvelle {

class Automaton {
 public:
  struct Transition {
    char symbol;  // the input byte
    int target;   // number of the state reached
  };
  struct State {
    int class_number = 0;                 // word class of a word form that ends here
    std::vector<Transition> transitions;  // by symbol, not descending as unsigned bytes
  };

  // Reads a transducer file from the stream's position up to the first triple that is not whole; leaves the stream
  // open. A file that breaks the rules of the format ends the run with a message that begins "Error: in transducer
  // file: ".
  explicit Automaton(FILE* file);

  // Word class of the word form when its bytes are read from `state`; 0 if the automaton does not accept it.
  int wordclass(const char* word, int state) const;

  std::vector<State> states;
  int number_of_classes = 0;  // one more than the largest class number given to a state
};

// Null while no automaton is loaded. Written by read_wordclass alone, as is Wordclass_Lexicon.
extern Automaton* WA;

// Slot m holds the tag distribution of word class m: a null word, and a null data if no word of the lexicon is in the
// class. WA->number_of_classes slots.
extern entry_t* Wordclass_Lexicon;

// Loads the automaton and sums the lexicon up into its word classes. Requires: a lexicon with its probabilities.
void read_wordclass(FILE* file);

}  // namespace orvelle
