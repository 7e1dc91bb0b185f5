#include "commands/conllu.h"

#include "support/strings.h"

namespace orvelle {

namespace {

bool is_number(std::string_view text) { return !text.empty() && std::ranges::all_of(text, is_digit); }

// Two numbers and `separator` between them: 3-4, 8.1.
bool is_pair(std::string_view id, char separator) {
  const size_t place = id.find(separator);
  return place != id.npos && is_number(id.substr(0, place)) && is_number(id.substr(place + 1));
}

conllu_line_t::kind_t kind_of(std::string_view id) {
  return is_number(id)      ? conllu_line_t::Token
         : is_pair(id, '-') ? conllu_line_t::Range
         : is_pair(id, '.') ? conllu_line_t::Empty_Node
                            : conllu_line_t::No_Id;
}

}  // namespace

conllu_line_t parse_conllu(std::string_view text) {
  conllu_line_t line;
  if (text.starts_with('#')) return line;
  line.count = split_at_tabs(text, line.columns);
  line.kind = line.count == conllu_line_t::Number_of_Columns ? kind_of(line.columns[conllu_line_t::Id])
                                                             : conllu_line_t::Not_Ten_Columns;
  return line;
}

}  // namespace orvelle
