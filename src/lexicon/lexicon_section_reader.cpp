// SPDX-License-Identifier: MIT
// The other half of lexicon_section_writer.cpp: the same fields in the same order.
//
// The arrays of all entries lie in blocks, tags, probabilities and lemmas of an entry one behind the other as they are in
// the file, so an entry costs one copy of its arrays and no allocation of its own. The cost is that of the read itself
// and of the index that a Lexicon builds.
#include <climits>
#include <utility>

#include "lexicon/lexicon_section.h"
#include "support/binary_input.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr size_t Least_String_Size = 1;                     // bytes in the file, of the empty string
constexpr size_t Least_Entry_Size = Least_String_Size + 8;  // of an entry with an empty word form and no tags

struct string_table_t {
  std::vector<const char*> strings;
  StringArena arena;
};

string_table_t read_strings(BinaryInput& in, int count) {
  string_table_t table;
  table.strings.reserve(in.reservable(count, Least_String_Size));
  for (int i = 0; i < count; ++i) table.strings.push_back(table.arena.add(in.inputs()));
  return table;
}

entrydata_t read_record(BinaryInput& in, BlockArena<int32_t>& arrays) {
  static_assert(sizeof(float) == sizeof(int32_t));
  entrydata_t record{};
  record.n = in.count(Max_Number_of_Tags, "number of tags of an entry");
  record.freq = in.value<int32_t>();
  const auto n = static_cast<size_t>(record.n);
  int32_t* const start = arrays.take(3 * n);
  in.bytes(start, 3 * n * sizeof *start);
  record.tag = start;
  record.prob = reinterpret_cast<const float*>(start + n);
  record.lemma = start + 2 * n;
  return record;
}

// `size` ordinary entries and the number entries before them.
lexicon_parts_t read_entries(BinaryInput& in, int size) {
  lexicon_parts_t parts;
  parts.words.reserve(in.reservable(size - First_Entry, Least_Entry_Size));
  parts.records.reserve(parts.words.capacity());
  for (int i = First_Entry; i < size; ++i) {
    parts.words.push_back(parts.strings.add(in.inputs()));
    parts.records.push_back(read_record(in, parts.numbers));
  }
  return parts;
}

std::vector<double> read_factors(BinaryInput& in, size_t count) {
  std::vector<double> factors(count);  // one for each tag name that was read
  in.bytes(factors.data(), count * sizeof(double));
  return factors;
}

}  // namespace

fullex_t read_fullex(BinaryInput& in) {
  fullex_t fullex;
  const auto sent_tag = in.value<int32_t>();
  string_table_t tags = read_strings(in, in.count(Max_Number_of_Tags, "number of tags"));
  string_table_t lemmas = read_strings(in, in.count(INT_MAX, "number of lemmas"));
  const int size = in.count(INT_MAX + First_Entry, "number of entries");
  if (in.value<int32_t>() != First_Entry) error("in parameter file");
  fullex.lexicon = Lexicon(read_entries(in, size));
  fullex.A_Priori_Tag_Prob_Fac = read_factors(in, tags.strings.size());
  fullex.tagset = Tagset(std::move(tags.strings), sent_tag, std::move(tags.arena));
  fullex.lemmas = LemmaTable(std::move(lemmas.strings), std::move(lemmas.arena));
  return fullex;
}

}  // namespace orvelle
