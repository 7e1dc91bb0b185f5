// SPDX-License-Identifier: MIT
// orvelle prepare: the files that it makes, and that the trainer takes them.
#include "commands/command_test.h"

namespace orvelle {
namespace {

const std::string Sentence =
    "# text = The dogs saw.\n" + conllu_row("1", "The", "the", "DET", "DT") +
    conllu_row("2-3", "dogs", "_", "_", "_") + conllu_row("2", "dogs", "dog", "NOUN", "NNS", "Number=Plur") +
    conllu_row("3", "saw", "see", "VERB", "VBD") + conllu_row("3.1", "x", "_", "_", "_") +
    conllu_row("4", ".", ".", "PUNCT", ".") + "\n";

struct files_t {
  std::string lexicon, open, corpus;
};

class PrepareTest : public CommandTest {
 protected:
  result_t prepare(const std::string& text, const std::string& options = "") {
    dir_.write("in", text);
    std::filesystem::remove_all(dir_.path("made"));
    return orvelle("prepare --into made " + options + " in");
  }
  files_t made() const {
    return {read_file(dir_.path("made/lexicon")), read_file(dir_.path("made/open-classes")),
            read_file(dir_.path("made/corpus"))};
  }
};

TEST_F(PrepareTest, MakesWhatTheTrainerTakes) {
  const struct {
    const char* name;
    std::string text, options;
    files_t files;
  } cases[] = {
      {"treebank",
       Sentence,
       "",
       {".\tSENT .\nThe\tDT the\ndogs\tNNS dog\nsaw\tVBD see\n", "NNS\nVBD\n",
        "The\tDT\ndogs\tNNS\nsaw\tVBD\n.\tSENT\n"}},
      {"universal tags",
       Sentence,
       "--tag upos --sentence-tag END",
       {".\tEND .\nThe\tDET the\ndogs\tNOUN dog\nsaw\tVERB see\n", "NOUN\nVERB\n",
        "The\tDET\ndogs\tNOUN\nsaw\tVERB\n.\tEND\n"}},
      {"features",
       conllu_row("1", "dogs", "dog", "NOUN", "_", "Case=Nom|Number=Plur") +
           conllu_row("2", "!", "_", "PUNCT", "_"),
       "--tag upos+feats",
       {"!\tSENT !\ndogs\tNOUN|Case=Nom|Number=Plur dog\n", "NOUN|Case=Nom|Number=Plur\n",
        "dogs\tNOUN|Case=Nom|Number=Plur\n!\tSENT\n"}},
      {"most frequent lemma",
       "a\tX\t1\na\tX\t2\na\tX\t2\na\tY\t_z\na\tX\n.\tSENT\n",
       "--once 0",
       {".\tSENT .\na\tX 2\tY _z\n", "", "a\tX\na\tX\na\tX\na\tY\na\tX\n.\tSENT\n"}},
      {"tie of lemmas",
       "a\tX\tz\na\tX\tb\n.\tSENT\n",
       "",
       {".\tSENT .\na\tX b\n", "", "a\tX\na\tX\n.\tSENT\n"}},
      {"white space",
       "\xEF\xBB\xBF  New York \tN P\t New\rYork\t\r\n.\tSENT\r\n \r\n",
       "--once 0",
       {".\tSENT .\nNew York\tN_P New York\n", "N_P\n", "New York\tN_P\n.\tSENT\n"}},
      {"markup", "<s>\na\tX\n.\tSENT\n</s>\n", "", {".\tSENT .\na\tX a\n", "", "a\tX\n.\tSENT\n"}},
      {"only last",
       ".\tP\na\tX\n.\tP\n\n",
       "--only-last",
       {".\tP .\tSENT .\na\tX a\n", "", ".\tP\na\tX\n.\tSENT\n"}},
      {"other ends", ".\tP\n;\tP\n", "--sentence-end ';'", {".\tP .\n;\tSENT ;\n", "", ".\tP\n;\tSENT\n"}},
      {"open where most tokens are",  // of H half the tokens, of M two of three
       conllu_row("1", "a", "a", "NOUN", "H") + conllu_row("2", "a", "a", "X", "H") +
           conllu_row("3", "b", "b", "PROPN", "M") + conllu_row("4", "b", "b", "INTJ", "M") +
           conllu_row("5", "b", "b", "AUX", "M") + conllu_row("6", "c", "c", "ADV", "C") +
           conllu_row("7", "d", "d", "ADJ", "D") + conllu_row("8", ".", ".", "NOUN", "."),
       "",
       {".\tSENT .\na\tH a\nb\tM b\nc\tC c\nd\tD d\n", "C\nD\nM\n",
        "a\tH\na\tH\nb\tM\nb\tM\nb\tM\nc\tC\nd\tD\n.\tSENT\n"}},
      {"open by forms seen once",  // X has two of them, Y one, Z none
       "a\tX\nb\tX\nc\tY\nd\tZ\nd\tZ\n.\tSENT\n",
       "--once 1",
       {".\tSENT .\na\tX a\nb\tX b\nc\tY c\nd\tZ d\n", "X\n", "a\tX\nb\tX\nc\tY\nd\tZ\nd\tZ\n.\tSENT\n"}},
      {"a guess behind a comment",
       "# x\na\tX\ta\n.\tSENT\t.\n",
       "",
       {".\tSENT .\na\tX a\n", "", "a\tX\n.\tSENT\n"}},
  };
  for (const auto& c : cases) {
    const result_t result = prepare(c.text, c.options);
    ASSERT_EQ(result.status, 0) << c.name << result.err;
    const files_t files = made();
    EXPECT_EQ(files.lexicon, c.files.lexicon) << c.name;
    EXPECT_EQ(files.open, c.files.open) << c.name;
    EXPECT_EQ(files.corpus, c.files.corpus) << c.name;
    const std::string sentence_tag = files.corpus.find("\tEND") != std::string::npos ? "END" : "SENT";
    dir_.write("lex", files.lexicon), dir_.write("open", files.open), dir_.write("corpus", files.corpus);
    EXPECT_EQ(train("-st " + sentence_tag), "(no error)") << c.name;
  }
}

TEST_F(PrepareTest, RefusesWithFileAndLineAndWritesNothing) {
  const struct {
    const char* name;
    std::string text, options, err;  // a part of it
  } cases[] = {
      {"empty", "", "", "no tokens, nothing written"},
      {"no sentence end", "a\tX\n", "", "no token gets the sentence tag SENT"},
      {"nine columns", Sentence + "1\ta\ta\tX\tX\t_\t_\t_\t_\n", "", "in:9: refused: 9 columns, not 10"},
      {"bad number", Sentence + conllu_row("x", "a", "a", "X", "X"), "",
       "in:9: refused: the first column is no number: 'x'"},
      {"no XPOS", Sentence + conllu_row("1", "a", "a", "X", "_"), "",
       "in:9: refused: no xpos tag for 'a' (see --column"},
      {"empty form", Sentence + conllu_row("1", " ", "a", "X", "X"), "", "in:9: refused: an empty word form"},
      {"NUL", bytes("a\tX\nb\0\tX\n.\tSENT\n"), "", "in:2: refused: a NUL byte"},
      {"no TAB", ".\tSENT\nword tag\n", "", "in:2: refused: no TAB between form and tag"},
      {"no tag", ".\tSENT\nword\t \n", "", "in:2: refused: no tag for 'word'"},
      {"long form", std::string(9997, 'x') + "\tX\n.\tSENT\n", "", "in:1: refused: a word form too long"},
      {"long tag", "a\t" + std::string(1000, 'x') + "\n.\tSENT\n", "",
       "in:1: refused: a tag of more than 999 bytes"},
      {"long lemma", "a\tX\t" + std::string(10000, 'x') + "\n.\tSENT\n", "",
       "the entry of 'a' would be longer"},
      {"folder", "", ".", "can't read .: Is a directory"},
      {"bad lexicon", Sentence, "--lexicon bad", "bad:2: refused: tag NN has no lemma"},
      {"blank form in a lexicon", Sentence, "--lexicon blank", "blank:1: refused: an empty word form"},
  };
  dir_.write("blank", "\f\v\tNN x\n");
  dir_.write("bad", "a\tDT a\ncat\tNN\n");
  for (const auto& c : cases) {
    const result_t result = prepare(c.text, c.options);
    EXPECT_EQ(result.status, 1) << c.name;
    EXPECT_NE(result.err.find("orvelle prepare: " + c.err), std::string::npos) << c.name << "\n"
                                                                               << result.err;
    EXPECT_FALSE(std::filesystem::exists(dir_.path("made"))) << c.name;
  }
}

TEST_F(PrepareTest, RemarksWhatItMends) {
  EXPECT_EQ(
      prepare(conllu_row("1", " a", "_", "X", "X") + conllu_row("2", ".", ".", "X", ".")).err,
      "orvelle prepare: in:1: white space at the ends of a form or lemma dropped, or a carriage return in it "
      "made a blank\n"
      "orvelle prepare: in:1: no lemma: another token's, or the form, stands for it\n"
      "orvelle prepare: no open classes: nothing will be learnt about unknown words (see --open)\n");
  std::string crlf;
  for (int i = 0; i < 8; ++i) crlf += ".\tSENT\r\n";
  EXPECT_NE(prepare(crlf).err.find("in 3 more places: carriage return at the line's end dropped\n"),
            std::string::npos);
}

TEST_F(PrepareTest, SetsSentencesAsideEvenly) {
  std::string text;
  for (int i = 0; i < 10; ++i) text.append("w").append(std::to_string(i)).append("\tX\n.\tSENT\n\n");
  ASSERT_EQ(prepare(text, "--held-out 0.2").status, 0);
  EXPECT_EQ(read_file(dir_.path("made/test")), "w4\tX\n.\tSENT\n\nw9\tX\n.\tSENT\n\n");
  EXPECT_EQ(made().lexicon.find("w4"), std::string::npos);
  EXPECT_NE(made().corpus.find("w3\tX\n.\tSENT\nw5\tX\n"), std::string::npos);
  // Without empty lines the sentence tag tells where sentences end, and the end of the file.
  const result_t marked = prepare("a\tX\n.\tSENT\nb\tX\n.\tSENT\nc\tX\n.\tSENT\nd\tX\n", "--held-out 0.5");
  EXPECT_EQ(read_file(dir_.path("made/test")), "b\tX\n.\tSENT\n\nd\tX\n\n");
  EXPECT_EQ(made().corpus, "a\tX\n.\tSENT\nc\tX\n.\tSENT\n");
  EXPECT_EQ(marked.out,
            "made/lexicon: 3 word forms, 2 tags\nmade/open-classes: 0 tags\n"
            "made/corpus: 4 tokens in 2 sentences\nmade/test: 3 tokens in 2 sentences\n\n"
            "train-orvelle -st SENT made/lexicon made/open-classes made/corpus PARAMETER-FILE\n");
}

TEST_F(PrepareTest, MergesALexiconAndKeepsItsInputs) {
  dir_.write("more", "dogs\tVBZ dog\tNNS hound\nemu\tNN emu\n");
  ASSERT_EQ(prepare(Sentence, "--lexicon more").status, 0);
  EXPECT_EQ(made().lexicon, ".\tSENT .\nThe\tDT the\ndogs\tNNS dog\tVBZ dog\nemu\tNN emu\nsaw\tVBD see\n");
  // It neither outvotes the lemmas of the tokens nor is it outvoted where they have none.
  dir_.write("more", "a\tX 2\nb\tX 2\n");
  ASSERT_EQ(prepare("a\tX\t1\nb\tX\n.\tSENT\n", "--lexicon more --lexicon more").status, 0);
  EXPECT_EQ(made().lexicon, ".\tSENT .\na\tX 1\nb\tX 2\n");
  dir_.write("corpus", Sentence);
  EXPECT_EQ(orvelle("prepare corpus").err, "orvelle prepare: corpus is an input and would be overwritten\n");
  EXPECT_EQ(read_file(dir_.path("corpus")), Sentence);
  EXPECT_EQ(orvelle("prepare --into there - in", Sentence).status, 0);  // two inputs
  EXPECT_EQ(read_file(dir_.path("there/corpus")),
            "The\tDT\ndogs\tNNS\nsaw\tVBD\n.\tSENT\na\tX\nb\tX\n.\tSENT\n");
}

}  // namespace
}  // namespace orvelle
