// SPDX-License-Identifier: MIT
#include "lexicon/lexicon_section.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

void write_entry(const entry_t& entry, BinaryOutput& out) {
  const entrydata_t& data = *entry.data;
  const auto n = static_cast<size_t>(data.n);
  out.string(entry.word);
  out.value(data.n);
  out.value(data.freq);
  out.values(data.tag, n);
  out.values(data.prob, n);
  out.values(data.lemma, n);
}

}  // namespace

void write_fullex(const fullex_t& fullex, BinaryOutput& out) {
  const Lexicon& lexicon = fullex.lexicon;
  out.value(int32_t{fullex.tagset.Sent_Tag});
  out.value(int32_t{fullex.tagset.Number_of_Tags});
  for (const char* tag : fullex.tagset.Tag) out.string(tag);
  out.value(int32_t{fullex.lemmas.Number_of_Lemmas});
  for (const char* lemma : fullex.lemmas.Lemma) out.string(lemma);
  out.value(int32_t{lexicon.Fullform_Lexicon_Size});
  out.value(int32_t{First_Entry});
  for (int i = First_Entry; i < lexicon.Fullform_Lexicon_Size; ++i)
    write_entry(lexicon.Fullform_Lexicon[i], out);
  out.values(fullex.A_Priori_Tag_Prob_Fac.data(), fullex.A_Priori_Tag_Prob_Fac.size());
}

}  // namespace orvelle
