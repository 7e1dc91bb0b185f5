// SPDX-License-Identifier: MIT
// The open-class file: the tags that a word form missing from the lexicon may have, separated by white space.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "lexicon/tagset.h"
#include "support/messages.h"
#include "training/input.h"

namespace orvelle {

inline constexpr int Max_Open_Class_Name = 999;  // bytes; a longer name is read as several

// Takes what is wrong with an open-class file. This one ends the reading where the training does.
class OpenClassSink {
 public:
  virtual ~OpenClassSink() = default;

  virtual void unreadable(const char* name);                  // throws "Can't open open-class file: %s\n\n"
  virtual void unknown_name(int64_t line, const char* name);  // throws unknown_tag(name)
  virtual void read_error() {}                                // the names up to there count
};

// Calls `action(line, name)` for each name in the text of an open-class file; a name ends for it at a NUL.
void for_each_open_class(std::string_view text,
                         const std::function<void(int64_t line, const char* name)>& action);

// For each tag number 1 if the file lists the tag, else 0: `Open_Class`.
std::vector<char> read_open_classes(const Input& input, const Tagset& tagset, const Progress& progress,
                                    OpenClassSink& sink);

}  // namespace orvelle
