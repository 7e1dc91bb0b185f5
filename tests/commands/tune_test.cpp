// SPDX-License-Identifier: MIT
// orvelle tune: what its trials know of the sentences that they are tried on, and what the search makes of them.
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "commands/command_test.h"
#include "commands/search.h"
#include "commands/trials.h"

namespace orvelle {
namespace {

class TuneTest : public CommandTest {
 protected:
  // The right and all words, all, known and unknown ones, of a trial of three folds with the default settings.
  std::string trial(const std::string& lexicon, const std::string& open, const std::string& corpus,
                    Folds::Dealing dealing = Folds::Dealing::Stretches) {
    const training_texts_t texts = {{"lex", lexicon}, {"open", open}, {"corpus", corpus}};
    Remarks remarks("test");
    ProgressLine progress(remarks, "test");
    std::vector<trial_t> trials(1);
    EXPECT_TRUE(Folds(texts, "SENT", 3, dealing)
                    .run(
                        trials, 2, progress, [](const trial_t&) {}, [] { return false; }));
    EXPECT_EQ(trials[0].failure, "");
    EXPECT_EQ(trials[0].accuracy.size(), 3u);
    std::string text;
    for (const score_t& score : {trials[0].all, trials[0].known, trials[0].unknown})
      text += std::to_string(score.right) + "/" + std::to_string(score.words) + " ";
    return text;
  }
};

constexpr int Sentences = 24;

// A lexicon of a full stop and of `entry` for each sentence, # being the number of the sentence; the corpus likewise.
std::string for_each_sentence(const std::string& text, const std::string& of_odd_ones) {
  std::string result;
  for (int i = 0; i < Sentences; ++i)
    for (const char c : i % 2 ? of_odd_ones : text)
      result += c == '#' ? std::to_string(i) : std::string(1, c);
  return result;
}

TEST_F(TuneTest, TrialsKnowWhatTheOtherSentencesShow) {
  const std::string end = ".\tSENT\n", stop = ".\tSENT .\n";
  const std::string two_readings = for_each_sentence("w#\tA x\tB x\n", "w#\tA x\tB x\n"),
                    one_of_each = for_each_sentence("w#\tA\n" + end, "w#\tB\n" + end);
  std::string by_third = stop, thirds;
  for (int i = 0; i < Sentences; ++i) {  // two words in turn, and three one after the other
    by_third += i < 3 ? "x" + std::to_string(i) + "\tA x\ny" + std::to_string(i) + "\tB x\n" : "";
    thirds += "x" + std::to_string(i % 2) + "\tA\ny" + std::to_string(i / 8) + "\tB\n" + end;
  }
  const struct {
    const char* name;
    std::string lexicon, open, corpus, scores;
  } cases[] = {
      {"a reading that the sentence alone shows is dropped, another stays", stop + two_readings, "",
       one_of_each, "24/48 24/48 0/0 "},
      {"a word that the sentence alone shows is unknown", stop + for_each_sentence("w#\tA x\n", "w#\tA x\n"),
       "A", for_each_sentence("w#\tA\n" + end, "w#\tA\n" + end), "48/48 24/24 24/24 "},
      {"what other sentences show too stays", stop + "w\tA x\tB x\n", "",
       for_each_sentence("w\tA\n" + end, "w\tA\n" + end), "48/48 48/48 0/0 "},
      {"the last word form of a tag that is needed stays", stop + "u\tT u\n", "T",
       "u\tT\n" + end + for_each_sentence("q\tT\n" + end, "q\tT\n" + end), "50/50 26/26 24/24 "},
      {"what only the sentence has is an unknown tag to the open classes", stop + "u\tT u\nw\tA x\n", "T A",
       "u\tT\n" + end + for_each_sentence("w\tA\n" + end, "w\tA\n" + end), "49/50 49/49 0/1 "},
      {"of two equally frequent tags a fold shows one more often, the others the other",
       stop + "w\tA x\tB x\n", "",
       times(12, "w\tA\n" + end) + times(12, "w\tB\n" + end) + times(6, "w\tA\n" + end + "w\tB\n" + end),
       "42/72 42/72 0/0 "},
      {"a fold is a stretch", by_third, "", thirds, "72/72 48/48 24/24 "},
      {"blanks behind the TABs", ".\t SENT .\n" + for_each_sentence("w#\t  A x \t B x\n", "w#\t A x\tB\tx\n"),
       "", one_of_each, "24/48 24/48 0/0 "},
      {"more behind the tag", stop + two_readings, "",
       for_each_sentence("w#\tA x\n" + end, "w#\t B\ty\n" + end), "24/48 24/48 0/0 "},
      {"empty lines end sentences", stop + two_readings, "",
       for_each_sentence("w#\tA\n\n", "w#\tB\n\n") + end, "1/25 1/25 0/0 "},
  };
  for (const auto& c : cases) EXPECT_EQ(trial(c.lexicon, c.open, c.corpus), c.scores) << c.name;
  EXPECT_EQ(trial(by_third, "", thirds, Folds::Dealing::Blocks), "72/72 72/72 0/0 ");
}

TEST_F(TuneTest, TagsAPartOfALargeCorpus) {
  const training_texts_t texts = {
      {"lex", ".\tSENT .\nw\tA x\n"}, {"open", ""}, {"corpus", times(150'000, "w\tA\n.\tSENT\n")}};
  Remarks remarks("test");
  ProgressLine progress(remarks, "test");
  std::vector<trial_t> trials(1);
  const Folds folds(texts, "SENT", 3, Folds::Dealing::Stretches);
  folds.run(
      trials, 2, progress, [](const trial_t&) {}, [] { return false; });
  EXPECT_EQ(folds.tagged_share(), 2u);
  EXPECT_EQ(trials[0].all.words, 150'000);
  const training_texts_t long_sentences = {
      texts.lexicon, texts.open_classes, {"corpus", times(9, times(30'000, "w\tA\n") + ".\tSENT\n")}};
  EXPECT_EQ(Folds(long_sentences, "SENT", 3, Folds::Dealing::Stretches).tagged_share(), 1u);
}

// Where one training in a search fails, the others go on.
TEST_F(TuneTest, TellsWhatFailedAtTheEnd) {
  const training_texts_t texts = {
      {"lex", ".\tSENT .\nw\tA x\n"}, {"open", ""}, {"corpus", times(9, "w\tA\n.\tSENT\n")}};
  const Folds folds(texts, "SENT", 3, Folds::Dealing::Stretches);
  Remarks remarks("test");
  TextOutput out("table");
  Search search(folds, {2, true}, out, remarks);
  choice_t wrong;
  wrong.settings.SENT_TAG = "END";
  EXPECT_THROW(search.run(wrong), Failure);
  EXPECT_EQ(search.run({}).all.accuracy(), 1.0);
  {
    const Redirection err(2, dir_.path("err"));
    EXPECT_TRUE(search.tell_failures());
  }
  EXPECT_EQ(read_file(dir_.path("err")),
            "test: 5 of 13 failed: Sentence punctuation tag \"END\" is not in lexicon!\n");
}

// Tags that depend on the two before them, with noise.
std::string noisy_corpus() {
  std::mt19937 random(1);
  std::string corpus;
  size_t last = 0, before = 0;
  for (int i = 0; i < 1500; ++i) {
    const size_t tag = random() % 5 ? (last + 2 * before + 1) % 3 : random() % 3;
    corpus += random() % 3 ? "w" : "v" + std::to_string(random() % 9) + "ing";
    corpus += std::string("\t") + "ABC"[tag] + "\n";
    before = std::exchange(last, tag);
    if (i % 6 == 5) corpus += ".\tSENT\n";
  }
  return corpus;
}

TEST_F(TuneTest, RecommendsTheBestOfWhatItTried) {
  std::string lexicon = ".\tSENT .\nw\tA w\tB w\tC w\n";
  for (int i = 0; i < 9; ++i) lexicon += "v" + std::to_string(i) + "ing\tA v\tB v\n";
  dir_.write("lex", lexicon), dir_.write("open", "A B C"), dir_.write("corpus", noisy_corpus());
  const result_t tuned = orvelle("tune --folds 3 --jobs 2 --utf8 lex open corpus");
  EXPECT_EQ(tuned.status, 0);
  EXPECT_EQ(tuned.err, "");
  std::istringstream lines(tuned.out);
  std::string line, first_two;
  std::getline(lines, first_two);
  EXPECT_EQ(first_two, "1750 words, 250 sentences, 3 folds");
  std::getline(lines, line), std::getline(lines, line);
  EXPECT_EQ(line, " -cl    -dtg     -sw    -ecw     -lt  decode  accuracy     known   unknown");
  int rows = 0;
  double best = 0.0, first = 0.0, of_recommended = 0.0;
  const std::string commands = tuned.out.substr(tuned.out.rfind("\ntrain-orvelle") + 1),
                    files = " lex open corpus PARAMETER-FILE";
  std::string best_so_far;
  while (std::getline(lines, line) && !line.empty()) {
    if (line.starts_with("best so far")) {
      EXPECT_EQ(line, best_so_far);
      continue;
    }
    std::string cl, dtg, sw, ecw, lt, decode;
    double accuracy = 0.0;
    std::istringstream(line) >> cl >> dtg >> sw >> ecw >> lt >> decode >> accuracy;
    if (rows++ == 0) first = accuracy;
    const std::string command = "train-orvelle -utf8 -cl " + cl + " -dtg " + dtg + " -sw " + sw + " -ecw " +
                                ecw + " -lt " + lt + files;
    if (accuracy > best) {
      best = accuracy;
      best_so_far = "best so far, by " + decode + ": " + command;
    }
    if (commands == command + "\norvelle tag --decode " + decode + " PARAMETER-FILE TEXT\n")
      of_recommended = accuracy;
  }
  EXPECT_GT(rows, 20);
  EXPECT_EQ(count_of(tuned.out, "best so far"), 5);
  EXPECT_GT(best, first + 1.0);
  EXPECT_EQ(of_recommended, best);
  std::getline(lines, line);
  double said = 0.0, low = 0.0, high = 0.0;
  EXPECT_EQ(
      std::sscanf(line.c_str(),
                  ("best of " + std::to_string(rows) + ": %lf%% of the words right, %lf%% to %lf%%").c_str(),
                  &said, &low, &high),
      3)
      << line;
  EXPECT_EQ(said, best);
  EXPECT_TRUE(low < best && best < high) << line;

  EXPECT_EQ(orvelle("tune --folds 3 --jobs 1 --utf8 lex - corpus", "A B C").out.substr(0, 1000),
            tuned.out.substr(0, 1000));
  // What it ends with is a command line of the trainer.
  EXPECT_EQ(train(commands.substr(13, commands.find(" lex ") - 13)), "(no error)");
  EXPECT_EQ(orvelle("evaluate par corpus").status, 0);
}

// A model file chooses by word, so nothing else is tried for one; what it gets is no less than with the usual settings.
TEST_F(TuneTest, TrainsWithWhatItFound) {
  std::string treebank = noisy_corpus();
  for (size_t at = 0; (at = treebank.find("SENT\n", at)) != std::string::npos; at += 5)
    treebank.insert(at + 5, "\n");
  dir_.write("bank", treebank + "\n"),
      dir_.write("dev", treebank.substr(0, treebank.find("\n\n", treebank.size() / 3) + 2));
  const auto right_of = [](const result_t& result) {
    EXPECT_EQ(result.status, 0) << result.err;
    double right = 0.0;
    const size_t at = result.out.find("right: ");
    EXPECT_EQ(std::sscanf(result.out.substr(std::min(at, result.out.size())).c_str(), "right: %lf%%", &right),
              1)
        << result.out;
    return right;
  };
  const std::string rest = " --no-second-look --settings '-cl 1 -dtg 0.5' --dev dev bank model";
  const double usual = right_of(orvelle("train" + rest));
  const result_t tuned = orvelle("train --tune" + rest);
  EXPECT_GT(right_of(tuned), usual);
  EXPECT_EQ(count_of(tuned.out, "    path "), 0) << tuned.out;
  EXPECT_GT(count_of(tuned.out, "    word "), 20) << tuned.out;
  const size_t best = tuned.out.rfind("best so far, by word: ") + 22;
  EXPECT_NE(tuned.out.find(" bytes, with " + tuned.out.substr(best, tuned.out.find('\n', best) - best)),
            std::string::npos)
      << tuned.out;
}

// A corpus of its own to tag, which has what the training does not show; a few trials, or none when there is no time.
TEST_F(TuneTest, TriesOnADevFile) {
  dir_.write("lex", ".\tSENT .\nw\tA w\tB w\n"), dir_.write("open", "A B"),
      dir_.write("corpus", noisy_corpus());
  std::string corpus = noisy_corpus();
  std::replace(corpus.begin(), corpus.end(), 'C', 'B');
  dir_.write("corpus", corpus);
  dir_.write(
      "dev",
      "1\tw\tw\tX\tA\t_\t_\t_\t_\t_\n2\tnew\tnew\tX\tB\t_\t_\t_\t_\t_\n3\t.\t.\tX\t,\t_\t_\t_\t_\t_\n\n");
  const result_t tuned = orvelle("tune --quick --dev dev lex open corpus");
  EXPECT_EQ(tuned.status, 0) << tuned.err;
  EXPECT_TRUE(tuned.out.starts_with("3 words, 1 sentences, to tag\n")) << tuned.out;
  EXPECT_EQ(count_of(tuned.out, "   100.00%"), 8) << tuned.out;
  EXPECT_NE(tuned.out.find("best of 8: "), std::string::npos) << tuned.out;
}

TEST_F(TuneTest, TellsOfTrainingsThatFail) {
  dir_.write("lex", "the\tDT the\n"), dir_.write("open", ""), dir_.write("corpus", times(4, "the\tDT\n\n"));
  const result_t failed = orvelle("tune --folds 2 --jobs 2 lex open corpus");
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(count_of(failed.out, "   failed\n"), 15) << failed.out;
  EXPECT_EQ(
      failed.err,
      "orvelle tune: no training came to its end: Sentence punctuation tag \"SENT\" is not in lexicon!\n");
}

TEST_F(TuneTest, Refuses) {
  dir_.write("lex", "the\tDT the\n.\tSENT .\n"), dir_.write("open", "DT"),
      dir_.write("corpus", "the\tDT\n.\tSENT\n");
  dir_.write("tagless", "the\tDT\nwalk\n");
  expect_exactly({
      {"tune lex open tagless", 1, "orvelle tune: tagless:2: no TAB and tag behind the word: walk\n"},
      {"tune --folds 100 lex open corpus", 1,
       "orvelle tune: corpus has 1 sentences, too few for 100 folds\n"},
      {"tune tagless open corpus", 1, "orvelle tune: tagless:2: no tag for the word form 'walk'\n"},
      {"tune lex none corpus", 1, "orvelle tune: can't open none: No such file or directory\n"},
      {"tune - open -", 2, "orvelle tune: only one file can be standard input\n"},
  });
}

}  // namespace
}  // namespace orvelle
