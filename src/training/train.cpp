// SPDX-License-Identifier: MIT
#include "training/train.h"

#include <memory>
#include <utility>

#include "model/parameter_file.h"
#include "model/tables.h"
#include "training/affix_trees.h"
#include "training/corpus_pass.h"
#include "training/equivalence_classes.h"
#include "training/lexicon_file.h"
#include "training/make_lexicon.h"
#include "training/open_classes.h"

namespace orvelle {

TrainedModel train(const TrainingInputs& inputs, const Settings& settings, const Progress& progress,
                   const Warn& warn) {
  LexiconSink lexicon_sink;
  OpenClassSink open_class_sink;
  CorpusSink corpus_sink;
  TrainingLexicon lexicon = read_lexicon_file(inputs.lexicon, settings.SENT_TAG, progress, lexicon_sink);
  const std::vector<char> Open_Class =
      read_open_classes(inputs.open_classes, lexicon.tagset, progress, open_class_sink);

  say(progress, "\tcalculating tag frequencies ...\n");
  CorpusCounts counts = count_corpus(inputs.corpus, lexicon, settings.Context_Size, progress, corpus_sink);
  filter_tags(lexicon, counts.readings, settings.Lex_Threshold);
  set_relative_frequencies(lexicon, counts.readings);

  say(progress, "\tmaking affix tree ...\n");
  AffixLexicons affixes =
      make_affix_trees(lexicon.lexicon, lexicon.tagset, Open_Class, settings.Cut_Off_Gain, progress, warn);

  smooth_with_classes(lexicon, counts.readings, settings);
  counts.readings = {};
  say(progress, "\treading classes ...\n");

  const NGramTable ngrams(std::move(counts.ngrams), lexicon.tagset.Number_of_Tags, progress);
  GrownTree tree = make_tree(ngrams, settings, lexicon.tagset.Number_of_Tags, progress);
  return {settings.UTF8_Processing,
          {std::move(lexicon.tagset), std::move(lexicon.lemmas), std::move(lexicon.lexicon),
           tag_factors(counts.Tag_Freq)},
          std::move(affixes),
          std::move(tree)};
}

void write_parameter_file(const char* name, const TrainedModel& trained, const Progress& progress) {
  BinaryOutput out(name);
  write_parameters(out, trained, progress);
  out.close();
}

void write_parameters(BinaryOutput& out, const TrainedModel& trained, const Progress& progress) {
  write_parameters(out, trained.UTF8_Processing, trained.fullex, trained.affixes,
                   [&](BinaryOutput& to) { write_tree(trained.tree, to, progress); });
}

Model make_model(TrainedModel trained) {
  auto tables = std::make_unique<Tables>();
  tables->UTF8_Processing = trained.UTF8_Processing;
  tables->fullex = std::move(trained.fullex);
  tables->affixes = std::move(trained.affixes);
  tables->Context_Tree = make_context_tree(trained.tree);
  return ModelAccess::make_model(std::move(tables));
}

}  // namespace orvelle
