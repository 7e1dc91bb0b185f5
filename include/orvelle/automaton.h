// SPDX-License-Identifier: MIT
// The word-class transducer: an automaton over bytes, read from a text file, that maps word forms to word-class
// numbers.
//
// A transducer file is a sequence of triples, separated by any white space. This one puts "a" in class 3, "b"
// and "ax" in class 4, and every other word form in class 0:
//
//   0 a 1              state 0 goes to state 1 on the byte "a"; the start state is 0
//   0 b 2
//   1 x 2
//   2 d 0
//   1 wordclass 3      state 1 belongs to class 3
//   2 wordclass 4
//
// The states of the transitions never descend, nor do the bytes, as unsigned values, of one state's
// transitions; of several with the same byte the first counts. A state exists from the first transition of it
// or of a higher state on: a class may be given only to a state that exists, and a target must exist by the
// end. Numbers go from 0 to 2^31 - 2. Time and memory grow with the file, not with the numbers in it.
#pragma once

#include <cstdio>
#include <string_view>
#include <vector>

#include <orvelle/export.h>
#include <orvelle/sparse_table.h>

namespace orvelle {

class ORVELLE_API Automaton {
 public:
  struct Transition {
    char symbol;  // the input byte
    int target;   // number of the state reached
  };
  struct State {
    int class_number = 0;                 // word class of a word form that ends here
    std::vector<Transition> transitions;  // by symbol, not descending as unsigned bytes
  };

  // Reads a transducer file from the stream's position up to the first triple that is not whole, which need
  // not be the end; leaves the stream open. A file without a triple gives no states. A file that breaks the
  // rules above, or has transitions but gives no state a class, is an Error whose text begins
  // "Error: in transducer file: "; a failing read is error("Can't read from input file").
  explicit Automaton(FILE* file);

  // Word class of the word form when its bytes are read from `state`, from 0 to number_of_classes - 1; 0 if the
  // automaton does not accept it or has no such state. Costs a binary search for each byte.
  int wordclass(std::string_view word, int state) const;

  SparseTable<State> states;  // by number; every target is one of them
  int number_of_classes = 0;  // one more than the largest class number given to a state
};

}  // namespace orvelle
