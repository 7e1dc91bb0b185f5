// SPDX-License-Identifier: MIT
// Prints what a model knows about word forms: tags, probabilities and lemmas of those that the lexicon has, the tags
// that go with the ending of the others.
#include <orvelle/orvelle.h>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) try {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s MODEL WORD-FORM ...\n", argv[0]);
    return 1;
  }
  const orvelle::Model model = orvelle::read_model_file(argv[1]);
  for (int i = 2; i < argc; ++i) {
    std::printf("%s\n", argv[i]);
    if (const orvelle::entry_t* entry = model.fullform_lookup(argv[i])) {
      const orvelle::entrydata_t& data = *entry->data;
      for (int k = 0; k < data.n; ++k)
        std::printf("\t%s\t%.4f\t%s\n", model.Tag(data.tag[k]), data.prob[k], model.lemma(*entry, k));
    } else {
      const orvelle::ANODE* leaf = model.suffix_leaf(argv[i]);
      if (leaf == nullptr) leaf = &model.Open_Class_Node();
      for (int k = 0; k < leaf->number; ++k)
        std::printf("\t%s\t%.4f\t(guessed)\n", model.Tag(leaf->tagprob[k].tag), leaf->tagprob[k].prob);
    }
  }
} catch (const std::exception& failure) {  // orvelle::Error among them
  std::fputs(failure.what(), stderr);
  return 1;
}
