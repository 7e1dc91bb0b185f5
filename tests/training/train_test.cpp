// SPDX-License-Identifier: MIT
// The training as a whole: its stages, its failures, and that it needs nothing but its arguments.
#include "training/train.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "test_support.h"

namespace orvelle {
namespace {

struct texts_t {
  std::string lexicon = "the\tDT the\n.\tSENT .\ndog\tNN dog\n", open = "NN\n",
              corpus = "the\tDT\ndog\tNN\n.\tSENT\n";
  TrainingInputs inputs() const { return {{nullptr, lexicon}, {nullptr, open}, {nullptr, corpus}}; }
};

std::string written(const TrainedModel& trained, const Progress& progress = {}) {
  const TempDir dir;
  write_parameter_file(dir.path("par").c_str(), trained, progress);
  return read_file(dir.path("par"));
}

std::string written(const Model& model) {
  const TempDir dir;
  write_parameter_file(dir.path("par").c_str(), model);
  return read_file(dir.path("par"));
}

// What a training reports, stage by stage; the affix trees of the small lexica here are their roots alone.
enum stage_t { Tagset, Lemmas, Entries, Sorting, Open, Frequencies, Affixes, Trees, Ngrams };

std::string up_to(stage_t stage) {
  const std::string texts[] = {"\treading the lexicon ...\n\t\treading the tagset ...\n",
                               "\t\treading the lemmas ...\n",
                               "\t\treading the entries ...\n",
                               "\t\tsorting the lexicon ...\n",
                               "\t\treading the open class tags ...\n",
                               "\tcalculating tag frequencies ...\n",
                               "\tmaking affix tree ...\n",
                               "prefix lexicon: 1 nodes\nsuffix lexicon: 1 nodes\n\treading classes ...\n",
                               "\tmaking ngram table ...\n"};
  std::string text;
  for (int i = 0; i <= stage; ++i) text += texts[i];
  return text;
}

TEST(Train, RefusesFilesWithTheirMessages) {
  std::string too_many;
  for (int i = 0; i <= 20000; ++i) too_many += "w\tT" + std::to_string(i) + " w\n";
  const std::string x_9999(9999, 'x'), t_999(999, 't');
  const struct {
    std::string texts_t::*file;  // the one that is not as it should be
    std::string content;
    stage_t stage;  // the last one whose start is reported
    std::string message;
  } cases[] = {
      {&texts_t::lexicon, "", Tagset, "\nERROR: Sentence punctuation tag \"SENT\" is not in lexicon!\n"},
      {&texts_t::lexicon, "\n", Tagset, "Error: no tags in lexicon for word \"\"!\n"},
      {&texts_t::lexicon, "dog NN dog\n", Tagset, "Error: no tags in lexicon for word \"dog NN dog\"!\n"},
      {&texts_t::lexicon, bytes("do\0g\tNN dog\n"), Tagset, "Error: no tags in lexicon for word \"do\"!\n"},
      {&texts_t::lexicon, x_9999 + "\tNN dog\n", Tagset,
       "Error: no tags in lexicon for word \"" + x_9999 + "\"!\n"},
      {&texts_t::lexicon, "dog\tNN\n", Tagset, "\nERROR: Missing lemma in line 1\n"},
      {&texts_t::lexicon, ".\tSENT .\r\ndog\tNN dog\tVB \t\r", Tagset, "\nERROR: Missing lemma in line 2\n"},
      {&texts_t::lexicon, too_many, Tagset, "\nERROR: too many tags !\n"},
      {&texts_t::lexicon, ".\tSENT .\na\tSENT a\tDT a\tDT b\tSENT c\nb\tDT\ta\tDT a\n", Entries,
       "\nERROR: Tag \"DT\" replicated in lexicon entry for \"a\" at line 2\n"},
      {&texts_t::lexicon, ".\tSENT .\na\tSENT x\nb\tSENT x\na\tSENT y\nb\tSENT x\n", Sorting,
       "\nERROR: Two lexicon entries for word form \"a\"!\n"},
      {&texts_t::open, "NN\nDT VB\n", Open, "\nERROR: unknown tag <VB> !\n\n"},
      {&texts_t::open, t_999 + t_999 + "NN", Open, "\nERROR: unknown tag <" + t_999 + "> !\n\n"},
      {&texts_t::corpus, "the\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {&texts_t::corpus, "the DT\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {&texts_t::corpus, "the\tDT\ndog\tVB", Frequencies, "\nERROR: unknown tag <VB> !\n\n"},
      {&texts_t::corpus, x_9999 + "\tNN\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {&texts_t::corpus, "the\tDT\r\n", Ngrams, "\nERROR: unknown tag <DT\r> !\n\n"},
      {&texts_t::corpus, "the\tDT\n\n \n", Ngrams, "\nError: missing tag in line 3 of training corpus\n"},
      {&texts_t::corpus, bytes("the\tDT\n\0\n"), Ngrams,
       "\nError: missing tag in line 2 of training corpus\n"},
      {&texts_t::corpus, " \tthe\tDT\n", Ngrams, "\nERROR: unknown tag <the> !\n\n"},
  };
  for (const auto& c : cases) {
    texts_t texts;
    texts.*c.file = c.content;
    std::string progress;
    EXPECT_FATAL(train(texts.inputs(), {}, into(progress)), c.message);
    EXPECT_EQ(progress, up_to(c.stage)) << c.message;
    EXPECT_FATAL(train(texts.inputs(), {}, {}), c.message);
  }
}

TEST(Train, ReportsFilesThatCannotBeUsed) {
  const texts_t texts;
  const TempDir dir;
  const std::string folder = dir.path();
  const auto with = [&](Input TrainingInputs::*input, const char* name) {
    TrainingInputs inputs = texts.inputs();
    inputs.*input = {name, {}};
    return error_of([&] { train(inputs, {}, {}); });
  };
  EXPECT_EQ(with(&TrainingInputs::lexicon, "none"), "Can't open lexicon file: none\n\n");
  EXPECT_EQ(with(&TrainingInputs::open_classes, "none"), "Can't open open-class file: none\n\n");
  EXPECT_EQ(with(&TrainingInputs::corpus, "none"), error_text("Can't open for reading: none"));
  EXPECT_EQ(with(&TrainingInputs::lexicon, folder.c_str()),
            error_text("Can't read from input file: " + folder));
  EXPECT_EQ(with(&TrainingInputs::corpus, folder.c_str()),
            error_text("Can't read from input file: " + folder));
  EXPECT_EQ(with(&TrainingInputs::open_classes, folder.c_str()), "(no error)");  // it lists nothing
  Settings huge;
  huge.Context_Size = 2147483647;
  EXPECT_THROW(train(texts.inputs(), huge, {}), std::bad_alloc);
  const TrainedModel trained = train(texts.inputs(), {}, {});
  EXPECT_ERROR(write_parameter_file("/dev/full", trained, {}), "Can't write to output file");
  EXPECT_ERROR(write_parameter_file("/none/par", trained, {}), "Can't open for writing: /none/par");
}

TEST(Train, CountsProgressInThousands) {
  const struct {
    const char* line_1000;
    int lines;
    const char *words, *ngrams;  // what the two readings of the corpus report on the way
  } cases[] = {
      {"the\tDT", 1000, "\r1000", "\r1000\t1"},
      {"the\tDT", 2001, "\r1000\r2000", "\r1000\t1\r2000\t1"},
      {"", 1001, "\r1000", ""},
      {"unknown\tDT", 1000, "", "\r1000\t1"},
  };
  for (const auto& c : cases) {
    texts_t texts;
    texts.corpus.clear();
    for (int i = 1; i <= c.lines; ++i) texts.corpus.append(i == 1000 ? c.line_1000 : "the\tDT").append("\n");
    std::string expected = up_to(Ngrams), progress;
    expected.insert(up_to(Frequencies).size(), c.words);
    expected.append(c.ngrams).append("\r" + std::to_string(c.lines) +
                                     "\t1\nfinished.\n\tmaking decision tree ...\n\r0");
    const TrainedModel trained = train(texts.inputs(), {}, into(progress));
    EXPECT_EQ(progress, expected);
    written(trained, into(progress = ""));
    EXPECT_EQ(progress, "\nNumber of nodes: 1\nMax. path length: 1\n");
  }
}

texts_t larger_texts(unsigned seed, int tags) {
  texts_t texts;
  texts.lexicon = ".\tSENT .\n";
  texts.corpus.clear();
  for (int t = 0; t < tags; ++t) {
    const std::string tag = "T" + std::to_string(1000 + t);
    for (const char* ending : {"walking", "singed", "jumps"})
      texts.lexicon += "w" + std::to_string(t) + ending + "\t" + tag + " w\n";
    if (t % 3 == 0) texts.open += tag + "\n";
  }
  texts.open.erase(0, 3);
  unsigned state = seed;
  for (int i = 0; i < 3000; ++i) {
    state = state * 1103515245 + 12345;
    const int t = static_cast<int>(state >> 16) % tags;
    texts.corpus += "w" + std::to_string(t) + "singed\tT" + std::to_string(1000 + t) + "\n";
    if (i % 7 == 0) texts.corpus += ".\tSENT\n";
  }
  return texts;
}

// The model in memory is the one of the file; what was trained or loaded before makes no difference, nor what is trained
// at the same time; files are as good as memory, and a model can be trained twice.
TEST(Train, GivesTheSameWheneverAndWherever) {
  Settings settings;
  settings.Min_Info_Gain = 0.1;
  settings.UTF8_Processing = 1;
  const texts_t small, many = larger_texts(1, 1500), few = larger_texts(2, 4);
  const std::string expected = written(train(many.inputs(), settings, {}));
  EXPECT_NE(written(train(few.inputs(), settings, {})), expected);
  EXPECT_TRUE(written(make_model(train(many.inputs(), settings, {}))) == expected);
  const Model loaded = read_parameter_file(std::as_bytes(std::span(expected)));
  EXPECT_TRUE(written(loaded) == expected);
  EXPECT_EQ(loaded.Number_of_Tags(), 1501);
  EXPECT_TRUE(loaded.UTF8_Processing());

  const TempDir dir;
  const std::string lexicon = dir.write("lex", many.lexicon), open = dir.write("open", many.open),
                    corpus = dir.write("corpus", many.corpus);
  const TrainingInputs files = {{lexicon.c_str(), {}}, {open.c_str(), {}}, {corpus.c_str(), {}}};
  std::vector<std::string> results(3);
  std::vector<std::thread> threads;
  threads.emplace_back([&] { results[0] = written(train(many.inputs(), settings, {})); });
  threads.emplace_back([&] { results[1] = written(train(few.inputs(), settings, {})); });
  threads.emplace_back([&] { results[2] = written(train(files, settings, {})); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(results[0] == expected);
  EXPECT_TRUE(results[2] == expected);
  EXPECT_TRUE(results[1] == written(train(few.inputs(), settings, {})));
}

}  // namespace
}  // namespace orvelle
