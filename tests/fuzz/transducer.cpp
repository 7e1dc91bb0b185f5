// SPDX-License-Identifier: MIT
// A transducer file: what is accepted gives classes that exist, and tags.
#include "fuzz/fuzz.h"

using namespace orvelle;
using namespace orvelle::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string name = folder().write("transducer", text);
  try {
    const Automaton automaton(open_input(name.c_str()).get());
    for (const char* word : {"", "a", "ab", "dogs", "walked"})
      for (const int state : {0, 1, 1000, -1}) {
        const int number = automaton.wordclass(word, state);
        require(number >= 0 && (number == 0 || number < automaton.number_of_classes), "a class exists");
      }
    if (automaton.states.size() == 0) return 0;
  } catch (const Error&) {
    return 0;
  }
  require_tagged({"--wordclass=" + name}, sample_model(), "a\nab\ndogs\nwalked\ntables\n", form_t::Words);
  return 0;
}
