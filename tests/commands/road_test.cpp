// SPDX-License-Identifier: MIT
// From a treebank to tagged text: orvelle train, and what tag, evaluate and show make of its model. And that nobody's
// files are harmed on the way.
#include <random>
#include <sstream>

#include "commands/command_test.h"
#include "model/tables.h"

namespace orvelle {
namespace {

// Sentences with all that CoNLL-U can hold. The tag of a full stop is not that of all sentence ends, features are in
// disorder, and some words stand in the test alone.
std::string treebank(unsigned seed, int sentences, const std::string& new_word = "") {
  std::mt19937 random(seed);
  const std::string nouns[] = {"walk", "dog", "\xC3\xA9t\xC3\xA9", "house", "Paris"};
  std::string text;
  for (int i = 0; i < sentences; ++i) {
    const size_t noun = random() % 5;
    const std::string verb =
        random() % 2 ? std::string(1, static_cast<char>('a' + random() % 26)) + "ak" : "walk";
    const std::string number = "1" + std::to_string(random() % 90);
    const bool is_name = noun == 4;
    text += "# sent_id = " + std::to_string(i) + "\n# text = \xE2\x80\xA6\n";
    text += conllu_row("1-2", "thewalk", "_", "_", "_", "_", "SpaceAfter=No");
    text += conllu_row("1", "the", "the", "DET", "DT", "PronType=Art|Definite=Def");
    text += conllu_row("2", nouns[noun], nouns[noun], is_name ? "PROPN" : "NOUN", is_name ? "NNP" : "NN",
                       is_name ? "_" : "Number=Sing", "Gloss=x");
    text += conllu_row("2.1", "gone", "go", "VERB", "VB");
    text += conllu_row("3", verb + "ing", verb == "walk" ? verb : verb + "e", "VERB", "VBG", "VerbForm=Ger");
    if (!new_word.empty()) text += conllu_row("4", new_word, "?", "VERB", "VBG", "VerbForm=Ger");
    text += conllu_row("5", number, number, "NUM", "CD", "NumType=Card|NumForm=Digit");
    text += random() % 3 ? conllu_row("6", ".", ".", "PUNCT", ".", "PunctType=Peri")
                         : conllu_row("6", "?", "?", "PUNCT", "!?", "PunctType=Qest");
    text += "\n";
  }
  return text;
}

std::vector<std::string> split_at(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

class RoadTest : public CommandTest {
 protected:
  RoadTest() {
    dir_.write("train.conllu", treebank(1, 60));
    dir_.write("dev.conllu", treebank(2, 20));
    dir_.write("test.conllu", treebank(3, 30, "snowbaking"));
  }
  // Trains with what the first test of a kind needs; the model is m.
  result_t train_model(const std::string& options = "") {
    return orvelle("train " + options + " --dev dev.conllu train.conllu m");
  }
};

TEST_F(RoadTest, TheColumnsAreAsRightAsEvaluateSays) {
  for (const std::string column : {"xpos", "upos", "upos+feats"}) {
    const result_t trained = train_model("--column " + column);
    ASSERT_EQ(trained.status, 0) << trained.err;
    EXPECT_NE(trained.out.find("orvelle tag m TEXT\norvelle evaluate m GOLD-CORPUS\n"), std::string::npos);
    const std::string gold = read_file(dir_.path("test.conllu")), tagged = orvelle("tag m test.conllu").out;
    const std::vector<std::string> gold_lines = split_at(gold, '\n'), lines = split_at(tagged, '\n');
    ASSERT_EQ(lines.size(), gold_lines.size());
    int words = 0, right = 0, right_lemmas = 0;
    const size_t tag = column == "xpos" ? 4 : 3;
    for (size_t i = 0; i < lines.size(); ++i) {
      std::vector<std::string> want = split_at(gold_lines[i], '\t'), got = split_at(lines[i], '\t');
      if (want.size() != 10 || want[0].find_first_of("-.") != std::string::npos) {
        EXPECT_EQ(lines[i], gold_lines[i]);
        continue;
      }
      ++words;
      if (want[5] == "PronType=Art|Definite=Def" && column == "upos+feats")
        want[5] = "Definite=Def|PronType=Art";
      if (want[5] == "NumType=Card|NumForm=Digit" && column == "upos+feats")
        want[5] = "NumForm=Digit|NumType=Card";
      right += got[tag] == want[tag] && (column != "upos+feats" || got[5] == want[5]);
      right_lemmas += got[2] == want[2];
      for (size_t k : {2u, 3u, 4u, 5u})
        if (k == 2 || k == tag || (k == 5 && column == "upos+feats")) got[k] = want[k] = "";
      EXPECT_EQ(got, want);
      const bool is_number = want[1][0] == '1';
      if (is_number || want[1] == "snowbaking") {
        const std::string lemma = is_number ? want[1] : "snowbake";
        EXPECT_NE(lines[i].find("\t" + want[1] + "\t" + lemma + "\t"), std::string::npos) << lines[i];
      }
    }
    EXPECT_TRUE(right > words * 9 / 10) << column << right;
    const std::string json = orvelle("evaluate --json m test.conllu").out;
    const auto score = [](int of, int all) {
      return "{\"number\": " + std::to_string(all) + ", \"right\": " + std::to_string(of) + ",";
    };
    EXPECT_NE(json.find("\"all\": " + score(right, words)), std::string::npos) << json;
    EXPECT_NE(json.find("\"lemmas\": " + score(right_lemmas, words)), std::string::npos) << json;
    EXPECT_EQ(json.find("\"features\"") != std::string::npos, column == "upos+feats");
    const std::string probable = orvelle("tag --probabilities 0.5 m test.conllu").out;
    EXPECT_EQ(count_of(probable, "|Tags=") + count_of(probable, "\tTags="), words);
    EXPECT_EQ(probable.find("\tGloss=x|Tags=NN:") != std::string::npos, column == "xpos");
    EXPECT_EQ(count_of(probable, "DET\\pDefinite=Def\\pPronType=Art:") > 0, column == "upos+feats");
  }
}

// Of MISC only the attribute Tags is written anew, wherever another program put it.
TEST_F(RoadTest, MiscKeepsItsOtherAttributes) {
  ASSERT_EQ(train_model().status, 0);
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"_", ""},
      {"Tags=x:1", ""},
      {"Tags=x:1|SpaceAfter=No", "SpaceAfter=No|"},
      {"A=1|Tags=x:1|B=2", "A=1|B=2|"},
      {"A=Tags=1|MyTags=2", "A=Tags=1|MyTags=2|"},
  };
  std::string text;
  for (const auto& [misc, kept] : cases) text += conllu_row("1", "the", "the", "DET", "DT", "_", misc) + "\n";
  dir_.write("misc.conllu", text);
  const std::string tagged = orvelle("tag --probabilities 0.5 m misc.conllu").out;
  const std::vector<std::string> lines = split_at(tagged, '\n');
  ASSERT_EQ(lines.size(), 2 * cases.size());
  for (size_t i = 0; i < cases.size(); ++i)
    EXPECT_NE(lines[2 * i].find("\t" + cases[i].second + "Tags=DT:"), std::string::npos) << lines[2 * i];
}

// The parameter file inside is the trainer's, the card tells what it was made of; the same input gives the same bytes.
TEST_F(RoadTest, OneFileHoldsAll) {
  ASSERT_EQ(train_model("--settings '-cl 1 -dtg 0.1'").status, 0);
  const std::string model = read_file(dir_.path("m"));
  ASSERT_EQ(train_model("--settings '-cl 1 -dtg 0.1'").status, 0);
  EXPECT_TRUE(model == read_file(dir_.path("m")));
  EXPECT_EQ(orvelle("prepare train.conllu").status, 0);
  std::filesystem::rename("lexicon", "lex"), std::filesystem::rename("open-classes", "open");
  EXPECT_EQ(train("-utf8 -cl 1 -dtg 0.1"), "(no error)");
  EXPECT_EQ(orvelle("show --parameter-file out m").status, 0);
  EXPECT_TRUE(read_file(dir_.path("out")) == read_file(dir_.path("par")));
  const std::string card = orvelle("show --card m").out, json = orvelle("show --json m").out;
  for (const char* line :
       {"settings       -utf8 -cl 1 -dtg 0.1 -sw 1 -ecw 0.15 -lt 0\n", "column         xpos\n",
        "words          300\n", "sentences      60\n", " of 100 words, known "})
    EXPECT_NE(card.find(line), std::string::npos) << line << card;
  EXPECT_EQ(count_of(card, "input          "), 2);
  EXPECT_NE(json.find("\"input\": [\"train.conllu "), std::string::npos) << json;
  // From files of the trainer's own the same tables come out.
  EXPECT_EQ(
      orvelle("train --settings '-utf8 -cl 1 -dtg 0.1' --lexicon lex --open-classes open --corpus corpus n")
          .status,
      0);
  EXPECT_EQ(orvelle("show --all n").out, orvelle("show --all par").out);
  dir_.write("bad", "the\tDT\n");
  expect_in_part({{"train --lexicon bad --open-classes open --corpus corpus n", 1,
                   "Missing lemma in line 1 (orvelle check bad open corpus tells where)\n"}});

  // Any damage is found, and named.
  std::mt19937 random(4);
  for (int i = 0; i < 150; ++i) {
    std::string damaged = model;
    if (i % 3 == 0)
      damaged.resize(random() % damaged.size());
    else
      damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
    if (i == 1) damaged = model + "x";
    dir_.write("bad", damaged);
    const result_t result = orvelle("show bad");
    EXPECT_EQ(result.status, 1) << i;
    EXPECT_TRUE(result.err.starts_with("orvelle show: bad: ")) << result.err;
  }
}

// What is measured on does not change what is learned; readings from outside are there to be chosen, and nothing else.
TEST_F(RoadTest, TheSameIsLearnedWhateverIsMeasured) {
  dir_.write("more", "snowbaking\tVBG snowbake\ndog\tZZ dog\n");
  const auto weights_of = [&](const std::string& options) {
    EXPECT_EQ(orvelle("train " + options + " train.conllu m").status, 0);
    const Model model = read_model_file("m");
    return ModelAccess::tables(model).extras.weights.section();
  };
  const std::string with_dev = weights_of("--dev dev.conllu");
  EXPECT_TRUE(weights_of("") == with_dev);
  EXPECT_NE(orvelle("show --card m").out.find("on a tenth that was held out"), std::string::npos);
  EXPECT_TRUE(weights_of("--lexicon more") == with_dev);
  EXPECT_EQ(orvelle("tag m -", "snowbaking\n").out, "snowbaking\tVBG\tsnowbake\n");
  EXPECT_EQ(orvelle("train --lexicon more train.conllu m").err,
            "orvelle train: 1 reading of --lexicon left out, with tags that the treebank does not have\n");
}

// Half of the words stand twice, in two folds, and tags are left to chance: what was counted says nothing. A second look that
// learned from text which its first pass had seen would believe the counts (a scale of 69).
TEST_F(RoadTest, LearnsFromTextThatWasNotSeen) {
  std::mt19937 random(5);
  constexpr int Words = 1200;
  std::string text;
  for (int i = 0; i < 3 * Words; ++i) {
    const int word = i < 2 * Words ? i : (i + Words / 8) % Words;
    text += "w" + std::to_string(word) + (random() % 2 ? "\tNN\n.\tSENT\n\n" : "\tVB\n.\tSENT\n\n");
  }
  dir_.write("in", text);
  ASSERT_EQ(orvelle("train --sentence-end . in m").status, 0);
  const Model model = read_model_file("m");
  EXPECT_LT(ModelAccess::tables(model).extras.weights.scale, 32);
}

TEST_F(RoadTest, RecognisesWhatItGets) {
  ASSERT_EQ(train_model().status, 0);
  const std::string text = "the\ndog\nwalking\n.\n\nthe\nwalk\n.\n\n", conllu = treebank(5, 3);
  const std::string tagged = orvelle("tag m -", text).out;
  EXPECT_TRUE(tagged.starts_with("the\tDT\tthe\ndog\tNN\tdog\nwalking\tVBG\twalk\n.\t.\t.\n\n")) << tagged;
  dir_.write("plain", conllu);
  EXPECT_EQ(run("gzip -k plain; xz -k plain; printf '\\357\\273\\277' | cat - plain >mark").status, 0);
  const std::string sentences = "the dog walking .\n  the walk\t.\n\n", latin = "the\n\xE9t\xE9\n\n\xE9\n";
  dir_.write("sentences", sentences), dir_.write("latin", latin);
  dir_.write("wide", bytes("\xFF\xFEt\0h\0e\0\n\0"));
  dir_.write("cut.gz", read_file(dir_.path("plain.gz")).substr(0, 100));
  const std::string filled = orvelle("tag m plain").out;
  EXPECT_EQ(count_of(filled, "\n"), count_of(conllu, "\n"));
  const struct {
    const char* file;
    int status;
    std::string out, err;
  } cases[] = {
      {"plain.gz", 0, filled, ""},
      {"plain.xz", 0, filled, ""},
      {"mark", 0, filled, "orvelle tag: mark:1: byte-order mark dropped\n"},
      {"sentences", 0, tagged,
       "orvelle tag: sentences has a sentence a line; its words are taken to stand between blanks (see "
       "--format)\n"},
      {"wide", 1, "", "orvelle tag: wide is UTF-16 text; convert it to UTF-8 (iconv -f UTF-16 -t UTF-8)\n"},
      {"cut.gz", 1, "", "orvelle tag: cut.gz: the compressed file is cut short\n"},
  };
  for (const auto& c : cases) {
    const result_t result = orvelle(std::string("tag m ") + c.file);
    EXPECT_EQ(result.status, c.status) << c.file;
    EXPECT_EQ(result.out, c.out) << c.file;
    EXPECT_EQ(result.err, c.err) << c.file;
  }
  for (const char* command : {"tag --jobs 2 m latin", "tag m latin"})
    EXPECT_EQ(orvelle(command).err,
              "orvelle tag: latin:2: not UTF-8, which the model is for: such bytes are taken for question "
              "marks (told "
              "once)\n");
  EXPECT_EQ(orvelle("tag --column upos m plain").err,
            "orvelle tag: the model was trained on another column: xpos\n");
  std::string crlf;
  for (const char c : conllu) crlf += c == '\n' ? "\r\n" : std::string(1, c);
  std::string filled_crlf;
  for (const char c : filled) filled_crlf += c == '\n' ? "\r\n" : std::string(1, c);
  EXPECT_TRUE(orvelle("tag m -", crlf).out == filled_crlf);
}

// What was there stays there when a run fails or is asked to write over what it reads.
TEST_F(RoadTest, HarmsNothing) {
  ASSERT_EQ(train_model().status, 0);
  dir_.write("good", "the\tDT\n.\tSENT\n"), dir_.write("bad", "1\tthe\t_\t_\t_\t_\t_\t_\t_\t_\n\n1\tthe\n");
  dir_.write("result", "left as it was");
  std::filesystem::create_symlink("good", "link");
  std::filesystem::create_directory("folder");
  const std::string model = read_file(dir_.path("m")), good = read_file(dir_.path("good"));
  expect_in_part({
      {"tag --output good m good", 1, "good is an input and would be overwritten"},
      {"tag --output link m good", 1, "link is an input and would be overwritten"},
      {"tag --output m m good", 1, "m is an input"},
      {"tag --output result m bad", 1, "bad:3: not a CoNLL-U line"},
      {"tag --output folder m good", 1, "can't write folder: Is a directory"},
      {"tag --output '' m good", 1, "an output needs a name"},
      {"show --parameter-file - m", 2, "needs the name of a file"},
      {"tag --column upos m good", 1, "the model was trained on another column: xpos"},
      {"train --settings '-st X' train.conllu m", 2, "--sentence-tag stands for -st"},
      {"train --dev good - - m", 2, "only one file can be standard input"},
      {"train --dev bad train.conllu m", 1, "bad can't be measured on"},
      {"train train.conllu none/x", 1, "can't write none/x: No such file or directory"},
      {"tag --output none/x m good", 1, "can't write none/x: No such file or directory"},
      {"tag good m", 1, "good: it is no model"},
      {"tag folder good", 1, "folder: it can't be read"},
      {"train train.conllu", 2, "which treebank, and which model?"},
      {"train train.conllu train.conllu", 1, "train.conllu is an input"},
      {"train train.conllu test.conllu", 1, "test.conllu is there and is no model"},
      {"train train.conllu folder", 1, "folder is a folder"},
      {"train train.conllu -", 2, "the model needs a file name"},
      {"train --dev none train.conllu result", 1, "result is there and is no model"},
      {"train --dev none train.conllu m", 1, "can't open none"},
      {"train --settings '-foo 1' train.conllu m", 2, "--settings takes options of train-orvelle"},
      {"train --corpus good m", 2, "go together"},
      {"train bad m", 1, "nothing written"},
      {"train --column upos --without-tag refuse bad m", 1, "in"},
      {"check good good good good", 1, "good is an input"},
      {"prepare --into good train.conllu", 1, "can't make the folder good"},
      {"show --parameter-file m m", 1, "m is an input"},
  });
  EXPECT_TRUE(read_file(dir_.path("m")) == model);
  EXPECT_EQ(read_file(dir_.path("good")), good);
  EXPECT_EQ(read_file(dir_.path("result")), "left as it was");
  // What is replaced keeps its links and its mode; nothing is left beside it.
  std::filesystem::permissions("result",
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  std::filesystem::create_symlink("result", "to-result");
  EXPECT_EQ(orvelle("tag --output to-result m good").status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink("to-result"));
  EXPECT_TRUE(read_file(dir_.path("result")).starts_with("the\tDT\tDT"));
  EXPECT_EQ(static_cast<int>(std::filesystem::status("result").permissions()), 0600);
  for (const auto& entry : std::filesystem::directory_iterator("."))
    EXPECT_EQ(entry.path().string().find(".new-"), std::string::npos) << entry.path();
  // Files that are there are not replaced without --force, and then all of them.
  EXPECT_EQ(orvelle("prepare train.conllu").status, 0);
  const result_t again = orvelle("prepare test.conllu");
  EXPECT_EQ(again.err,
            "orvelle prepare: lexicon is there already; choose another folder with --into, or say --force\n");
  EXPECT_EQ(orvelle("prepare --force test.conllu").status, 0);
  EXPECT_NE(read_file(dir_.path("lexicon")).find("snowbaking"), std::string::npos);
  // A closed standard stream is no file.
  EXPECT_EQ(run("$orvelle tag --output out m good 2>&-; $orvelle tag m good >&-; echo $?").out, "1\n");
  EXPECT_EQ(run("cat good | $orvelle tag m >>good2; $orvelle tag m <good >>good; echo $?").out, "1\n");
  EXPECT_EQ(read_file(dir_.path("good")), good);
}

// A treebank whose tag of sentence ends has the name that the model uses inside, and gold in two columns, with either tag.
TEST_F(RoadTest, SentenceEndsAreWhatTheTreebankHas) {
  std::string text = treebank(1, 60);
  for (size_t at; (at = text.find("\tPUNCT\t.\t")) != text.npos;) text.replace(at, 9, "\tPUNCT\tSENT\t");
  dir_.write("in", text);
  ASSERT_EQ(orvelle("train in m").status, 0);
  const std::string tagged = orvelle("tag m in").out;
  EXPECT_EQ(count_of(tagged, "\tSENT\t"), count_of(text, "\tSENT\t"));
  EXPECT_EQ(count_of(tagged, "\t!?\t"), count_of(text, "\t!?\t"));
  dir_.write("gold", "the\tDT\n.\tSENT\n\nthe\tDT\n?\tSENT\n\nthe\tDT\n?\t!?\n");
  EXPECT_NE(orvelle("evaluate m gold").out.find("all words          100.00%            6"),
            std::string::npos);
  // What begins like CoNLL-U is CoNLL-U, and its fault is told.
  const std::string row = conllu_row("1", "the", "the", "DET", "DT");
  for (const std::string& bad : std::vector<std::string>{"1 " + row, row.substr(0, row.rfind('\t')) + "\n",
                                                         "# text = a\tb\n1\tthe\n"}) {
    dir_.write("bad", bad + row + row);
    EXPECT_TRUE(orvelle("tag m bad").err.starts_with("orvelle tag: bad:")) << bad;
  }
}

TEST_F(RoadTest, TakesTokensWithoutATagAsItIsTold) {
  dir_.write("in", treebank(1, 30) + conllu_row("1", "odd", "odd", "X", "_") +
                       conllu_row("2", ".", ".", "PUNCT", ".") + "\n");
  EXPECT_NE(orvelle("train in m").err.find("in:301: refused: no xpos tag for 'odd'"), std::string::npos);
  EXPECT_EQ(orvelle("train --without-tag upos in m").status, 0);
  EXPECT_NE(orvelle("show --word odd m").out.find("    X "), std::string::npos);
  EXPECT_EQ(orvelle("train --without-tag skip in m").status, 0);
  EXPECT_TRUE(orvelle("show --word odd m").out.starts_with("odd: no entry"));
}

}  // namespace
}  // namespace orvelle
