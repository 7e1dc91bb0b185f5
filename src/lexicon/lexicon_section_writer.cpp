#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

void write_entry(const entry_t& entry, BinaryOutput& out) {
  const entrydata_t& data = *entry.data;
  out.string(entry.word);
  out.value(data.n);
  out.value(data.freq);
  out.values(data.tag, data.n);
  out.values(data.prob, data.n);
  out.values(data.lemma, data.n);
}

// The factor of a tag is the inverse of its share of the corpus, half a token added to its count.
void write_factors(BinaryOutput& out) {
  if (!A_Priori_Tag_Prob_Fac.empty()) {  // a loaded lexicon is written again
    out.values(A_Priori_Tag_Prob_Fac.data(), A_Priori_Tag_Prob_Fac.size());
    return;
  }
  int tokens = 0;
  for (const int freq : Tag_Freq) tokens += freq;
  for (const int freq : Tag_Freq) out.value(static_cast<double>(tokens) / (freq + 0.5));
}

}  // namespace

void write_fullex(FILE* file) {
  BinaryOutput out(file);
  out.value(Sent_Tag);
  out.value(Number_of_Tags);
  for (const char* tag : Tag) out.string(tag);
  out.value(Number_of_Lemmas);
  for (const char* lemma : Lemma) out.string(lemma);
  out.value(Fullform_Lexicon_Size);
  out.value(First_Entry);
  for (int i = First_Entry; i < Fullform_Lexicon_Size; ++i) write_entry(Fullform_Lexicon[i], out);
  write_factors(out);
  out.flush();
}

}  // namespace orvelle
