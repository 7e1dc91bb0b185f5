// The reading of the tagged corpus: a line holds a word form, a TAB and the tag. One reading serves both users of the
// corpus, the lexicon and the tag n-grams, although they split a line by rules of their own.
#pragma once

#include <cstdio>

namespace orvelle {

class NGramTable;

// Counts every token into Tag_Freq and into the entries that its word form stands for, and its tag into `ngrams`
// unless that is null. Requires: Tag_Freq and every entry's `count` have been zeroed. Ends the run at a tag that is
// not in the tagset, at more tokens than an int can count and at a failed read.
void count_corpus(FILE* file, const char* name, NGramTable* ngrams);

}  // namespace orvelle
