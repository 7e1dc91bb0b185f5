// SPDX-License-Identifier: MIT
#include "commands/text_format.h"

#include <algorithm>
#include <string_view>

#include "commands/conllu.h"

namespace orvelle {

namespace {

bool is_comment(std::string_view line) { return line.starts_with('#'); }

// Markup and empty lines tell nothing, a comment little.
bool tells(std::string_view line) {
  const bool is_markup = line.starts_with('<') && line.ends_with('>');
  return line.find_first_not_of(" \t") != line.npos && !is_markup;
}

// A comment that only CoNLL-U has, or columns that begin with an id.
bool is_of_conllu(std::string_view line) {
  constexpr size_t Least_Columns = 4;  // of a line that may have lost some
  for (const std::string_view comment : {"# sent_id", "# text", "# newdoc", "# newpar", "# global.columns"})
    if (line.starts_with(comment)) return true;
  if (is_comment(line)) return false;
  const auto is_of_id = [](char c) { return (c >= '0' && c <= '9') || c == '-' || c == '.'; };
  const std::string_view id = line.substr(0, line.find('\t'));
  return !id.empty() && std::ranges::all_of(id, is_of_id) && parse_conllu(line).count >= Least_Columns;
}

// Calls `action` for the lines that tell something, up to twenty of them that are no comments; for a last line without an
// end if `is_all` of the text is there. It returns whether to go on.
template <class Action>
void for_each_telling_line(std::string_view text, bool is_all, Action action) {
  for (int left = 20; !text.empty() && left > 0;) {
    const size_t end = text.find('\n');
    if (end == text.npos && !is_all) return;
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!tells(line)) continue;
    left -= !is_comment(line);
    if (!action(line)) return;
  }
}

// Whether there is a line that is no comment.
bool is_enough(std::string_view text) {
  bool found = false;
  for_each_telling_line(text, false, [&](std::string_view line) { return !(found = !is_comment(line)); });
  return found;
}

}  // namespace

text_format_t recognise_format(TextInput& in) {
  const std::string_view text = in.look_ahead(is_enough);
  bool is_conllu = false;
  int lines = 0, sentences = 0;
  for_each_telling_line(text, !is_enough(text), [&](std::string_view line) {
    is_conllu = is_of_conllu(line);
    lines += !is_comment(line);
    sentences += !is_comment(line) && line.find('\t') == line.npos && line.find(' ') != line.npos;
    return !is_conllu;
  });
  if (is_conllu) return text_format_t::Conllu;
  return sentences > 0 && 2 * sentences >= lines ? text_format_t::Lines : text_format_t::Words;
}

}  // namespace orvelle
