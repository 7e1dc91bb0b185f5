// train-orvelle from outside: arguments and files in; status, standard error and parameter file out.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "test_support.h"

namespace orvelle {
namespace {

struct outcome_t {
  int status;
  std::string err;
};

class Program : public testing::Test {
 protected:
  Program() {
    write("lex", "the\tDT the\n.\tSENT .\ndog\tNN dog\n");
    write("open", "NN\n");
    write("train", "the\tDT\ndog\tNN\n.\tSENT\n");
  }

  std::string write(const std::string& name, const std::string& content) { return dir_.write(name, content); }
  std::string output() const { return read_file(dir_.path("out")); }

  // Runs the program in the directory of the files; `before` is shell text such as a pipe into it.
  outcome_t run(const std::string& arguments, const std::string& before = "") {
    const std::string command = "cd '" + dir_.path() + "' && " + before + TRAIN_ORVELLE " " + arguments +
                                " 2>err >stdout" + (before.empty() ? " </dev/null" : "");
    const int status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(read_file(dir_.path("stdout")), "");
    return {WEXITSTATUS(status), read_file(dir_.path("err"))};
  }

  TempDir dir_;
};

const std::string Files = "lex open train out";

std::string echo_line(const std::string& settings = "-cl 2 -dtg 0.50 -sw 1.00 -ecw 0.15 -atg 1.20") {
  return "\ntrain-orvelle " + settings + " lex open train out\n\n";
}

// What a run writes, stage by stage; the affix trees of the small lexica here are their roots alone.
enum stage_t { Echo, Lexicon, Tagset, Lemmas, Entries, Sorting, Open, Frequencies, Affixes, Trees, Ngrams };

std::string up_to(stage_t stage) {
  const std::string texts[] = {echo_line(),
                               "\treading the lexicon ...\n",
                               "\t\treading the tagset ...\n",
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

std::string usage(const char* cl = "2", const char* dtg = "0.500000", const char* sw = "1.000000",
                  const char* ecw = "0.150000", const char* atg = "1.200000", const char* lt = "0.000000") {
  const std::string text =
      "\nUSAGE: train-orvelle [options] <lexicon> <open class file> <input file> <output file>\n\nOPTIONS:\n"
      "-st  <t> use <t> as sentence marker tag rather than SENT\n"
      "-cl  <n> consider <n> preceding tags for tagging (Default ";
  return text + cl + ")\n-dtg <f> use <f> as threshold for decision tree gain (Default " + dtg +
         ")\n-sw  <f> use <f> as smoothing weight (Default " + sw +
         ")\n-ecw <f> use <f> as equivalence class weight (Default " + ecw +
         ")\n-atg <f> use <f> as threshold for affix tree gain (Default " + atg +
         ")\n-lt  <f> use <f> as threshold probability for lexical entries (default " + lt +
         ")\n-utf8:   assume uft8 input\n-quiet   quiet mode\n\n";
}

TEST_F(Program, RefusesCommandLines) {
  const struct {
    std::string arguments, err;
  } cases[] = {
      {"", usage()},
      {"lex open train", usage()},
      {"-quiet lex open train", usage()},
      {Files + " fifth -foo 1", usage()},
      {"-utf8 lex open '' '' out", usage()},
      {"-cl 3 lex open train", usage("3")},
      {"-foo 1 " + Files, "Unrecognized option: -foo\n" + usage()},
      {"-cl 7 - -quiet " + Files, "Unrecognized option: -\n" + usage("7")},
      {"-sw -0.5 " + Files, "\nError: invalid -sw parameter: -0.5\n" + usage("2", "0.500000", "-0.500000")},
      {"-cl x5 " + Files + " -cl 3", "\nError: invalid -cl parameter: x5\n" + usage("0")},
      {"-dtg 1e1x -sw .25 -ecw -2 -atg inf -lt nan -CL 2 lex",
       "Unrecognized option: -CL\n" + usage("2", "10.000000", "0.250000", "-2.000000", "inf", "nan")},
  };
  for (const auto& c : cases) {
    const outcome_t outcome = run(c.arguments);
    EXPECT_EQ(outcome.err, c.err) << c.arguments;
    EXPECT_EQ(outcome.status, 1) << c.arguments;
  }
}

TEST_F(Program, AcceptsCommandLines) {
  const struct {
    std::string arguments, echo;
  } cases[] = {
      {Files, echo_line()},
      {Files + " -foo", echo_line()},
      {Files + " -cl", echo_line()},
      {"-lt 0.1 " + Files + " -utf8", echo_line()},
      {"lex -cl 3x open -sw 0 train -dtg junk -ecw -1 out -atg -7",
       echo_line("-cl 3 -dtg 0.00 -sw 0.00 -ecw -1.00 -atg -7.00")},
      {Files + " -quiet", ""},
  };
  for (const auto& c : cases) {
    const outcome_t outcome = run(c.arguments);
    EXPECT_EQ(outcome.status, 0) << c.arguments;
    EXPECT_EQ(outcome.err.substr(0, c.echo.size()), c.echo) << c.arguments;
    EXPECT_EQ(outcome.err.empty(), c.echo.empty()) << c.arguments;
    EXPECT_EQ(output()[4], c.arguments.ends_with("-utf8")) << c.arguments;
  }
  EXPECT_EQ(run("-st -quiet " + Files).err,
            up_to(Tagset) + "\nERROR: Sentence punctuation tag \"-quiet\" is not in lexicon!\n");
}

TEST_F(Program, RefusesFiles) {
  std::string too_many;
  for (int i = 0; i <= 20000; ++i) too_many += "w\tT" + std::to_string(i) + " w\n";
  const std::string x_9999(9999, 'x'), t_999(999, 't');
  const struct {
    std::string name, content;  // of the one file that is not as it should be
    stage_t stage;              // the last one whose start is reported
    std::string message;
  } cases[] = {
      {"lex", "", Tagset, "\nERROR: Sentence punctuation tag \"SENT\" is not in lexicon!\n"},
      {"lex", "\n", Tagset, "Error: no tags in lexicon for word \"\"!\n"},
      {"lex", "dog NN dog\n", Tagset, "Error: no tags in lexicon for word \"dog NN dog\"!\n"},
      {"lex", bytes("do\0g\tNN dog\n"), Tagset, "Error: no tags in lexicon for word \"do\"!\n"},
      {"lex", x_9999 + "\tNN dog\n", Tagset, "Error: no tags in lexicon for word \"" + x_9999 + "\"!\n"},
      {"lex", "dog\tNN\n", Tagset, "\nERROR: Missing lemma in line 1\n"},
      {"lex", ".\tSENT .\r\ndog\tNN dog\tVB \t\r", Tagset, "\nERROR: Missing lemma in line 2\n"},
      {"lex", too_many, Tagset, "\nERROR: too many tags !\n"},
      {"lex", ".\tSENT .\na\tSENT a\tDT a\tDT b\tSENT c\nb\tDT\ta\tDT a\n", Entries,
       "\nERROR: Tag \"DT\" replicated in lexicon entry for \"a\" at line 2\n"},
      {"lex", ".\tSENT .\na\tSENT x\nb\tSENT x\na\tSENT y\nb\tSENT x\n", Sorting,
       "\nERROR: Two lexicon entries for word form \"a\"!\n"},
      {"open", "NN\nDT VB\n", Open, "\nERROR: unknown tag <VB> !\n\n"},
      {"open", t_999 + t_999 + "NN", Open, "\nERROR: unknown tag <" + t_999 + "> !\n\n"},
      {"train", "the\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {"train", "the DT\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {"train", "the\tDT\ndog\tVB", Frequencies, "\nERROR: unknown tag <VB> !\n\n"},
      {"train", x_9999 + "\tNN\n", Frequencies, "\nERROR: unknown tag <> !\n\n"},
      {"train", "the\tDT\r\n", Ngrams, "\nERROR: unknown tag <DT\r> !\n\n"},
      {"train", "the\tDT\n\n \n", Ngrams, "\nError: missing tag in line 3 of training corpus\n"},
      {"train", bytes("the\tDT\n\0\n"), Ngrams, "\nError: missing tag in line 2 of training corpus\n"},
      {"train", " \tthe\tDT\n", Ngrams, "\nERROR: unknown tag <the> !\n\n"},
  };
  for (const auto& c : cases) {
    const std::string sound = read_file(dir_.path(c.name));
    write(c.name, c.content);
    write("out", "left as it was");
    const outcome_t outcome = run(Files);
    EXPECT_EQ(outcome.err, up_to(c.stage) + c.message);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(output(), "left as it was");
    write(c.name, sound);
  }
}

TEST_F(Program, ReportsFilesThatCannotBeUsed) {
  const std::string cannot_write = error_text("Can't write to output file");
  const struct {
    std::string arguments, message;  // the end of standard error
  } cases[] = {
      {"none open train out", "\n\nCan't open lexicon file: none\n\n"},
      {"lex none train out", " ...\nCan't open open-class file: none\n\n"},
      {"lex open none out", "frequencies ...\n" + error_text("Can't open for reading: none")},
      {"lex open train none/out",
       "\tsaving parameters ...\n" + error_text("Can't open for writing: none/out")},
      {". open train out", "tagset ...\n" + error_text("Can't read from input file: .")},
      {"lex open . out", "frequencies ...\n" + error_text("Can't read from input file: .")},
      {"lex open train /dev/full", "\nNumber of nodes: 1\nMax. path length: 1\n" + cannot_write},
      {"-st T1 big open2 train2 /dev/full", "\tsaving parameters ...\n" + cannot_write},
      {"-cl 2147483647 lex open train out", "reading classes ...\n" + error_text("Not enough memory")},
  };
  std::string big;
  for (int i = 0; i < 20000; ++i) big += "w" + std::to_string(i) + "\tT1 w\n";
  write("big", big);
  write("open2", "");
  write("train2", "w1\tT1\n");
  for (const auto& c : cases) {
    const outcome_t outcome = run(c.arguments);
    EXPECT_TRUE(outcome.err.ends_with(c.message)) << c.arguments << outcome.err;
    EXPECT_EQ(outcome.status, 1) << c.arguments;
  }
  EXPECT_EQ(run("-quiet lex . train out").status, 0);  // an open-class file that cannot be read lists nothing
}

// Bytes from hexadecimal digits; blanks and line ends are for the reader.
std::string from_hex(std::string_view hex) {
  std::string result, digits;
  for (const char c : hex) {
    if (c != ' ') digits += c;
    if (digits.size() < 2) continue;
    result += static_cast<char>(std::stoi(digits, nullptr, 16));
    digits.clear();
  }
  return result;
}

TEST_F(Program, WritesTheParameterFile) {
  const outcome_t outcome = run(Files);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, up_to(Ngrams) +
                             "\r3\t1\nfinished.\n\tmaking decision tree ...\n\r0\tsaving parameters ...\n"
                             "\nNumber of nodes: 1\nMax. path length: 1\n\ndone.\n");
  EXPECT_EQ(output(),
            from_hex("20000000 00000000"
                     "02000000 03000000 445400 4e4e00 53454e5400"                   // DT NN SENT
                     "05000000 2e00 40636172644000 406f72644000 646f6700 74686500"  // . @card@ @ord@ dog the
                     "03000000 feffffff"
                     "00 03000000 00000000 00000000 01000000 02000000"  // cardinal
                     "   abaaaa3e abaaaa3e abaaaa3e 01000000 01000000 01000000"
                     "00 03000000 00000000 00000000 01000000 02000000"  // ordinal
                     "   abaaaa3e abaaaa3e abaaaa3e 02000000 02000000 02000000"
                     "2e00     01000000 01000000 02000000 0000803f 00000000"
                     "646f6700 01000000 01000000 01000000 0000803f 03000000"
                     "74686500 01000000 01000000 00000000 0000803f 04000000"
                     "0000000000000040 0000000000000040 0000000000000040"  // factors
                     "0100 0100 0101 0000 0000 00000000"                   // prefix tree
                     "0100 0100 0101 0000 0000 00000000"                   // suffix tree
                     "     0100 0101 0000 0000 00000000"                   // open classes
                     "02000000 01000000 03000000 01000000"                 // one leaf
                     "00000000 555555555555c53f 01000000 555555555555c53f 02000000 555555555555e53f"));
}

TEST_F(Program, WritesATreeOfThreeNodes) {
  write("lex", "x\tA x\ny\tB y\n");
  write("open", "");
  write("train", "x\tA\ny\tB\nx\tA\ny\tB\nx\tA\ny\tB\nx\tA\ny\tB\nx\tA\n");
  const outcome_t outcome = run("-cl 1 -st A " + Files);
  EXPECT_TRUE(outcome.err.ends_with(
      "\tmaking ngram table ...\n\r9\t2\nfinished.\n\tmaking decision tree ...\n\r0\r1\r2"
      "\tsaving parameters ...\n\nNumber of nodes: 3\nMax. path length: 2\n\ndone.\n"))
      << outcome.err;
  const std::string expected = from_hex(
      "01000000 00000000 00000000 00000000"
      "01000000 02000000 04000000 00000000 9a9999999999b93f 01000000 cdccccccccccec3f"
      "01000000 02000000 04000000 00000000 cdccccccccccec3f 01000000 9a9999999999b93f");
  EXPECT_EQ(output().substr(output().size() - 88), expected);
}

TEST_F(Program, CountsProgressInThousands) {
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
    std::string corpus;
    for (int i = 1; i <= c.lines; ++i) corpus.append(i == 1000 ? c.line_1000 : "the\tDT").append("\n");
    write("train", corpus);
    std::string expected = up_to(Ngrams);
    expected.insert(up_to(Frequencies).size(), c.words);
    expected.append(c.ngrams).append("\r" + std::to_string(c.lines) + "\t1\nfinished.\n");
    EXPECT_EQ(run(Files).err.substr(0, expected.size()), expected);
  }
}

// A pipe gives its tokens to the first reading; the n-grams of the second find it empty.
TEST_F(Program, ReadsACorpusFromAPipe) {
  const outcome_t outcome = run("lex open /dev/stdin out", "cat train | ");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.err.find("\tmaking ngram table ...\n\r0\t0\nfinished.\n"), std::string::npos)
      << outcome.err;
  const std::string tree = from_hex("02000000 01000000 00000000 00000000");
  EXPECT_TRUE(output().ends_with(tree));
  EXPECT_NE(output().find(from_hex("646f6700 01000000 01000000")), std::string::npos);  // dog was counted
}

}  // namespace
}  // namespace orvelle
