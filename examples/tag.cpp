// SPDX-License-Identifier: MIT
// Tags one sentence, its words given as arguments: the tag of each word, its lemma and how probable the tag is here.
#include <orvelle/orvelle.h>

#include <cstdio>
#include <exception>
#include <string_view>
#include <vector>

int main(int argc, char** argv) try {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s MODEL WORD ...\n", argv[0]);
    return 1;
  }
  const orvelle::Model model = orvelle::read_model_file(argv[1]);
  orvelle::Tagger tagger(model);
  const std::vector<std::string_view> words(argv + 2, argv + argc);
  tagger.tag(words, true);
  for (size_t i = 0; i < words.size(); ++i) {
    const orvelle::candidate_t& chosen = tagger.chosen(i);
    const char* const lemma = chosen.lemma != orvelle::No_Lemma ? model.Lemma(chosen.lemma) : argv[i + 2];
    const double probability = tagger.posteriors(i)[tagger.choice(i)];
    std::printf("%s\t%s\t%s\t%.4f\n", argv[i + 2], model.Tag(chosen.tag), lemma, probability);
  }
} catch (const std::exception& failure) {  // orvelle::Error among them
  std::fputs(failure.what(), stderr);
  return 1;
}
