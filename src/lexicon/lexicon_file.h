// The lexicon file: a line holds a word form, a TAB, and pairs of a tag and a lemma,
//
//   saw TAB NN blank saw TAB VVD blank see LF
//
// Three passes make the tagset, the lemma table and the word entries of it. The file itself is read in the first pass
// alone: it numbers tags and lemmas as they come, keeps the lines as pairs of such numbers, and the later passes
// renumber them in sorted order. (Three readings of a file of 66,000 forms and 2,109 tags cost five times as much.)
#pragma once

#include <cstdio>

namespace orvelle {

// First pass: Tag, Number_of_Tags, Sent_Tag. Ends the run at a line without a tag or a tag without a lemma, at too
// many tags, at a missing sentence tag, or if `file`, of the name `name`, cannot be read.
void read_tags(FILE* file, const char* name);

// Second pass: the lemma table. Requires: read_tags.
void read_lemmas();

// Third pass: the full-form lexicon with its two number entries; `prob` and `freq` are still 0. Ends the run at a tag
// that stands twice on a line and at a word form that stands on two lines. Requires: read_lemmas.
void read_words();

}  // namespace orvelle
