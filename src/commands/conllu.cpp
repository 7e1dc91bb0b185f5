// SPDX-License-Identifier: MIT
#include "commands/conllu.h"

#include <vector>

#include "commands/escape.h"
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

std::string conllu_fault(std::string_view text) {
  const conllu_line_t line = parse_conllu(text);
  if (line.kind == conllu_line_t::Not_Ten_Columns)
    return "not a CoNLL-U line of ten columns: " + printable(text);
  if (line.kind == conllu_line_t::No_Id)
    return "the first column is no number: '" + printable(line.columns[conllu_line_t::Id]) + "'";
  return {};
}

std::string sorted_features(std::string_view features) {
  std::vector<std::string_view> list;
  while (!features.empty()) {
    list.push_back(features.substr(0, features.find('|')));
    features.remove_prefix(std::min(list.back().size() + 1, features.size()));
  }
  const auto is_before = [&](std::string_view a, std::string_view b) {
    a = a.substr(0, a.find('=')), b = b.substr(0, b.find('='));
    return std::ranges::lexicographical_compare(a, b, {}, ascii_lower, ascii_lower);
  };
  std::ranges::stable_sort(list, is_before);
  std::string text;
  for (const std::string_view feature : list) (text += text.empty() ? "" : "|") += feature;
  return text;
}

std::string conllu_tag(const conllu_line_t& line, tag_column_t column) {
  const auto value = [&](conllu_line_t::column_t c) { return line.columns[c] == "_" ? "" : line.columns[c]; };
  std::string tag(value(column == tag_column_t::Xpos ? conllu_line_t::Xpos : conllu_line_t::Upos));
  if (!tag.empty() && column == tag_column_t::Upos_Feats && !value(conllu_line_t::Feats).empty())
    tag.append("|").append(sorted_features(value(conllu_line_t::Feats)));
  return tag;
}

conllu_line_t parse_conllu(std::string_view text) {
  conllu_line_t line;
  if (text.starts_with('#')) return line;
  line.count = split_at_tabs(text, line.columns);
  line.kind = line.count == conllu_line_t::Number_of_Columns ? kind_of(line.columns[conllu_line_t::Id])
                                                             : conllu_line_t::Not_Ten_Columns;
  return line;
}

}  // namespace orvelle
