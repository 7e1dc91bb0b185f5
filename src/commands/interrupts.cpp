// SPDX-License-Identifier: MIT
#include "commands/interrupts.h"

#include <ctime>

namespace orvelle {

Interrupts::Interrupts() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGINT);
  sigaddset(&signals_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals_, &before_);
}

Interrupts::~Interrupts() {
  const timespec at_once{};
  while (sigtimedwait(&signals_, nullptr, &at_once) > 0) continue;
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool Interrupts::happened() const {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGINT) || sigismember(&pending, SIGTERM);
}

}  // namespace orvelle
