// Prints what a parameter file knows about word forms: tags, probabilities and lemmas of those that the
// lexicon has, the tags that go with the ending of the others.
#include <orvelle/orvelle.h>

#include <cstdio>

using namespace orvelle;

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <parameter file> <word form> ...\n", argv[0]);
    return 1;
  }
  read_parameter_file(argv[1]);
  for (int i = 2; i < argc; ++i) {
    std::printf("%s\n", argv[i]);
    if (const entry_t* entry = fullform_lookup(argv[i])) {
      const entrydata_t& data = *entry->data;
      for (int k = 0; k < data.n; ++k)
        std::printf("\t%s\t%.4f\t%s\n", Tag[data.tag[k]], data.prob[k], Lemma[data.lemma[k]]);
    } else {
      const ANODE* leaf = suffix_leaf(argv[i]);
      if (leaf == nullptr) leaf = Open_Class_Node;
      for (int k = 0; k < leaf->number; ++k)
        std::printf("\t%s\t%.4f\t(guessed)\n", Tag[leaf->tagprob[k].tag], leaf->tagprob[k].prob);
    }
  }
}
