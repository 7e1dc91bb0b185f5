// SPDX-License-Identifier: MIT
#include "training/open_classes.h"

#include <cstdio>
#include <string>

#include "support/errors.h"
#include "support/files.h"
#include "support/strings.h"

namespace orvelle {

void OpenClassSink::unreadable(const char* name) { fail("Can't open open-class file: %s\n\n", name); }

void OpenClassSink::unknown_name(int64_t, const char* name) { unknown_tag(name); }

namespace {

// Calls `action(line, name)` for each name; `next_byte()` gives bytes and then EOF.
template <class NextByte, class Action>
void for_each_name(NextByte next_byte, Action action) {
  int64_t line = 1;
  std::string name;
  for (int c = next_byte(); c != EOF || !name.empty(); c = next_byte()) {
    const bool is_end = c == EOF || is_white_space(c);
    if (!is_end) name += static_cast<char>(c);
    if (!name.empty() && (is_end || name.size() == Max_Open_Class_Name)) {
      action(line, name.c_str());
      name.clear();
    }
    if (c == EOF) break;
    line += c == '\n';
  }
}

}  // namespace

void for_each_open_class(std::string_view text, const std::function<void(int64_t, const char*)>& action) {
  const auto next_byte = [&text]() -> int {
    if (text.empty()) return EOF;
    const auto byte = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    return byte;
  };
  for_each_name(next_byte, action);
}

std::vector<char> read_open_classes(const Input& input, const Tagset& tagset, const Progress& progress,
                                    OpenClassSink& sink) {
  say(progress, "\t\treading the open class tags ...\n");
  std::vector<char> Open_Class(static_cast<size_t>(tagset.Number_of_Tags), 0);
  const auto take = [&](int64_t line, const char* name) {
    const int tag = tagset.find_tag(name);
    if (tag < 0)
      sink.unknown_name(line, name);
    else
      Open_Class[static_cast<size_t>(tag)] = 1;
  };
  if (input.text) {
    for_each_open_class(*input.text, take);
    return Open_Class;
  }
  const File file = input.stream == nullptr ? open_stream(input.name, "rt") : nullptr;
  FILE* const stream = input.stream != nullptr ? input.stream : file.get();
  if (stream == nullptr) {
    sink.unreadable(input.name);
    return Open_Class;
  }
  for_each_name([stream] { return next_byte(stream); }, take);
  if (std::ferror(stream)) sink.read_error();
  return Open_Class;
}

}  // namespace orvelle
