// SPDX-License-Identifier: MIT
// Lines of columns between TABs, and the lines of CoNLL-U:
//
//   # text = du vent       a comment
//   1-2  du    _   _  ...  a range of words that are written as one; its words follow
//   1    de    de  ADP ... a token
//   2    le    le  DET ... a token
//   2.1  _     _   _  ...  an empty node
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace orvelle {

// The fields between single TABs; returns how many there are. Those beyond the size of `fields` are counted only.
template <size_t N>
size_t split_at_tabs(std::string_view line, std::array<std::string_view, N>& fields) {
  size_t count = 0;
  for (size_t start = 0; start <= line.size(); ++count) {
    const size_t end = std::min(line.find('\t', start), line.size());
    if (count < N) fields[count] = line.substr(start, end - start);
    start = end + 1;
  }
  return count;
}

struct conllu_line_t {
  enum kind_t { Comment, Token, Range, Empty_Node, No_Id, Not_Ten_Columns } kind = Comment;
  enum column_t { Id, Form, Lemma, Upos, Xpos, Feats, Head, Relation, Deps, Misc, Number_of_Columns };
  size_t count = 0;  // of its columns
  std::array<std::string_view, Number_of_Columns> columns;
};

// A line that is not empty, without its line end.
conllu_line_t parse_conllu(std::string_view line);

// What is wrong with a line; "" for a sound one.
std::string conllu_fault(std::string_view line);

// What of a token is its tag: XPOS, UPOS, or UPOS with a | and the features behind it.
enum class tag_column_t { Xpos, Upos, Upos_Feats };
inline constexpr const char* Tag_Column_Names[] = {"xpos", "upos", "upos+feats"};

// The tag of a token; "" without one. Features come in the order that the format demands: by their names, whatever the
// case of the letters.
std::string conllu_tag(const conllu_line_t& line, tag_column_t column);
std::string sorted_features(std::string_view features);

}  // namespace orvelle
