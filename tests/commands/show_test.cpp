// orvelle show, on files that the trainer makes.
#include "commands/program.h"

namespace orvelle {
namespace {

class ShowTest : public ProgramTest {
 protected:
  ShowTest() {
    dir_.write("lex",
               "the\tDT the\n.\tSENT .\nwalking\tVVG walk\tNN walking\nA\\b\tNN a\"b\nsinging\tVVG sing\n");
    dir_.write("open", "NN VVG");
    std::string corpus;
    for (int i = 0; i < 20; ++i) corpus += "the\tDT\nwalking\tNN\nwalking\tVVG\n.\tSENT\n1999\tNN\n.\tSENT\n";
    dir_.write("corpus", corpus);
    EXPECT_EQ(run("$train -quiet lex open corpus par").status, 0);
  }
};

TEST_F(ShowTest, SaysWhatIsInTheFile) {
  const struct {
    const char* arguments;
    const char* out;  // a part of it
  } cases[] = {
      {"par",
       "tags           4, sentence tag SENT\nlemmas         8\nentries        5 with 6 tags, 3 seen in"},
      {"--word walking par", "walking: entry, 40 in the corpus\n    NN         0.50"},
      {"--word walking par", "  walk\n"},
      {"--word The par",
       "The: no entry\n  in small letters, the: entry, 20 in the corpus\n    DT         1.000000  the\n"},
      {"--word 17 par", "17: cardinal number, 20 in the corpus\n    NN         1.000000  @card@\n"},
      {"--word 'A\\b' par", "A\\x5cb: entry"},
      {"--word jumping par", "  suffix tree: "},
      {"--word jumping --best 1 par", "  the tagger's guess:\n    VVG "},
      {"--context 'SENT DT' par", "NN         0.9"},
      {"--context 'NN NN NN SENT DT' --best 1 par", " a leaf that 19 places of the corpus reached\n    NN "},
      {"--tree par", "if tag -1 is "},
      {"--tree --depth 0 par", "...\n"},
      {"--dot --depth 1 par", "  n0 -> n1 [label=\"yes\"];\n"},
      {"--all - <par", "entry\tA\\x5cb\t0\tNN 1 a\"b\n"},
      {"--all par", "cardinal numbers\t20\tNN 1 @card@\n"},
  };
  for (const auto& c : cases) {
    const result_t result = run(std::string("$orvelle show ") + c.arguments);
    EXPECT_EQ(result.status, 0) << c.arguments << result.err;
    EXPECT_EQ(result.err, "") << c.arguments;
    EXPECT_NE(result.out.find(c.out), std::string::npos) << c.arguments << "\n" << result.out;
  }
}

TEST_F(ShowTest, CountsTheBytesOfTheFile) {
  const std::string size = std::to_string(read_file(dir_.path("par")).size());
  EXPECT_NE(run("$orvelle show par").out.find("bytes          " + size + ": header 8,"), std::string::npos);
}

// --all and --tree are the whole tree: every leaf once, and as many branches as tests.
TEST_F(ShowTest, WritesTheTreeWhole) {
  const std::string summary = run("$orvelle show par").out;
  const std::string leaves = run("$orvelle show --tree par | grep -c ': [A-Z]'").out;
  EXPECT_NE(summary.find(", " + leaves.substr(0, leaves.size() - 1) + " of them leaves, depth",
                         summary.find("decision")),
            std::string::npos)
      << summary << leaves;
  EXPECT_EQ(run("$orvelle show --dot par | grep -c 'label=\"yes\"'").out,
            run("$orvelle show --tree par | grep -c 'if tag'").out);
}

TEST_F(ShowTest, RefusesWhatItCannotShow) {
  run("head -c 200 par >cut; : >empty; head -c 10000 /dev/zero >zeros");
  const struct {
    const char* arguments;
    int status;
    const char* err;
  } cases[] = {
      {"missing", 1, "\nERROR: Can't open for reading: missing\naborted.\n"},
      {"empty", 1, "\nERROR: Can't read from input file\naborted.\n"},
      {"zeros", 1, "\nERROR: in parameter file: first value, which must be 32\naborted.\n"},
      {"lex", 1, "\nERROR: in parameter file: first value, which must be 32\naborted.\n"},
      {"--context 'DT' par", 2,
       "orvelle show: the tree looks at 2 preceding tags, --context gives 1\nTry 'orvelle show --help'.\n"},
      {"--context 'DT XX' par", 2, "orvelle show: no such tag in the file: XX\nTry 'orvelle show --help'.\n"},
      {"--all par >/dev/full", 1, "orvelle show: can't write standard output: No space left on device\n"},
  };
  for (const auto& c : cases) {
    const result_t result = run(std::string("$orvelle show ") + c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.err, c.err) << c.arguments;
    EXPECT_EQ(result.out, "") << c.arguments;
  }
  EXPECT_EQ(run("$orvelle show cut").status, 1);
}

}  // namespace
}  // namespace orvelle
