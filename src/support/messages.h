// SPDX-License-Identifier: MIT
// Where long work tells how far it has come.
#pragma once

#include <functional>
#include <string_view>

namespace orvelle {

// Takes a piece of progress text as it should appear, line ends and carriage returns included; empty for work that
// should say nothing.
using Progress = std::function<void(std::string_view text)>;

inline void say(const Progress& progress, std::string_view text) {
  if (progress) progress(text);
}

}  // namespace orvelle
