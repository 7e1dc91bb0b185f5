// The lexicon building run: from the lexicon file, the open-class file and the tagged corpus to entries with tag
// probabilities, and to the affix trees.
#pragma once

namespace orvelle {

// Runs the stage. Leaves the tagset, the lemma table, the lexicon with its final probabilities, Open_Class, Tag_Freq
// and the affix lexicons behind. Every failure ends the run.
void make_lexicon(const char* corpus, const char* lexicon, const char* open_classes);

}  // namespace orvelle
