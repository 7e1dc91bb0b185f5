// SPDX-License-Identifier: MIT
#include "commands/added_lexicon.h"

#include <string>

#include "commands/escape.h"
#include "commands/text_io.h"
#include "training/lexicon_line.h"

namespace orvelle {

void add_lexicon(Model& model, const char* name, Remarks& remarks) {
  TextInput in(name);
  lexicon_line_t entry;
  int64_t left_out = 0;
  std::string foreign_tag;
  while (in.next()) {
    if (in.line().find('\0') != std::string_view::npos) stop_at(in.name(), in.number(), "a NUL byte");
    std::string line(in.line());
    if (line.ends_with('\r')) line.pop_back();
    entry.split(line.data());
    if (entry.pairs.empty())
      stop_at(in.name(), in.number(), "no tag for the word form '" + printable(entry.word) + "'");
    for (const auto& [tag, lemma] : entry.pairs) {
      if (*lemma == '\0') stop_at(in.name(), in.number(), "tag " + printable(tag) + " has no lemma");
      const int number = model.find_tag(tag);
      if (number >= 0) {
        model.add_reading(entry.word, number, lemma);
        continue;
      }
      if (left_out++ == 0) foreign_tag = tag;
    }
  }
  if (left_out > 0)
    remarks.say(std::string(in.name()) + ": " + counted(left_out, "reading") +
                " left out, with tags that the model does not have, such as " + printable(foreign_tag));
}

}  // namespace orvelle
