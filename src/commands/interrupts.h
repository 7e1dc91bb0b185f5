// SPDX-License-Identifier: MIT
// Signals that ask the program to end, held back for work that wants to end by itself.
#pragma once

#include <csignal>

namespace orvelle {

// As long as it lives an interrupt (Control-C, a request to terminate) does not end the program but can be asked for. Must
// be made before the threads that shall not be ended by it.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();  // one that happened is done with
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  bool happened() const;

 private:
  sigset_t signals_;
  sigset_t before_;  // what was held back
};

}  // namespace orvelle
