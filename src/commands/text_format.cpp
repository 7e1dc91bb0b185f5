// SPDX-License-Identifier: MIT
#include "commands/text_format.h"

#include <algorithm>

#include "commands/conllu.h"

namespace orvelle {

namespace {

// The first line that tells something, without its end; nothing if there is none that is whole. Comments of CoNLL-U and
// markup tell nothing.
std::string_view telling_line(std::string_view text) {
  for (size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    const bool is_markup = line.starts_with('<') && line.ends_with('>');
    const bool is_comment = line.starts_with('#') && line.find('\t') == line.npos;
    if (line.find_first_not_of(" \t") != line.npos && !is_markup && !is_comment) return line;
  }
  return {};
}

}  // namespace

text_format_t recognise_format(TextInput& in) {
  const std::string_view text =
      in.look_ahead([](std::string_view so_far) { return !telling_line(so_far).empty(); });
  std::string_view line = telling_line(text);
  if (line.empty()) line = text.substr(text.rfind('\n') + 1);  // the last line may lack its end
  if (std::ranges::count(line, '\t') == conllu_line_t::Number_of_Columns - 1 &&
      parse_conllu(line).kind != conllu_line_t::No_Id)
    return text_format_t::Conllu;
  // A word form may have a blank in it, like "New York".
  constexpr auto Least_Blanks = 3;
  const bool is_sentence = line.find('\t') == line.npos && std::ranges::count(line, ' ') >= Least_Blanks;
  return is_sentence ? text_format_t::Lines : text_format_t::Words;
}

}  // namespace orvelle
