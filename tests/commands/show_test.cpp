// SPDX-License-Identifier: MIT
// orvelle show, on files that the trainer makes and on one made by hand.
#include <cmath>

#include "commands/command_test.h"
#include "sample_file.h"

namespace orvelle {
namespace {

class ShowTest : public CommandTest {
 protected:
  ShowTest() {
    dir_.write("lex",
               "the\tDT the\n.\tSENT .\nwalking\tVVG walk\tNN walking\nA\\b\tNN a\"b\nsinging\tVVG sing\n");
    dir_.write("open", "NN VVG");
    std::string corpus;
    for (int i = 0; i < 20; ++i) corpus += "the\tDT\nwalking\tNN\nwalking\tVVG\n.\tSENT\n1999\tNN\n.\tSENT\n";
    dir_.write("corpus", corpus);
    EXPECT_EQ(train(), "(no error)");
  }
};

TEST_F(ShowTest, SaysWhatIsInTheFile) {
  const struct {
    const char* arguments;
    const char* out;  // a part of it
  } cases[] = {
      {"--word 'A\\b' par", "A\\x5cb: entry"},
      {"--word jumping par", "  suffix tree: "},
      {"--word jumping --best 1 par", "  the tagger's guess:\n    VVG "},
      {"--all -", "entry\tA\\x5cb\t0\tNN 1 a\"b\n"},
      {"--all par", "cardinal numbers\t20\tNN 1 @card@\n"},
  };
  const std::string par = read_file(dir_.path("par"));
  for (const auto& c : cases) {
    const result_t result = orvelle(std::string("show ") + c.arguments, par);
    EXPECT_EQ(result.status, 0) << c.arguments << result.err;
    EXPECT_EQ(result.err, "") << c.arguments;
    EXPECT_NE(result.out.find(c.out), std::string::npos) << c.arguments << "\n" << result.out;
  }
}

// All of it, on a file that has every kind of thing: what the letters of a word lead to byte by byte, tests answered no
// on the way, and probabilities that are no numbers.
TEST_F(ShowTest, ShowsAFileWhole) {
  sample_file_t file;
  file.utf8 = 1;
  file.prefix = {{{0, 257, 2, 1}, {0, -61, 1, 3}, {1, 256, 1, 0}, {1, -87, 2, 0}},  // \xC3\xA9, *
                 {{1, 1.F}, {1, .75F}, {0, .25F}}};
  file.entries[3].freq = 40;
  file.nodes = raw(0, 1, 1) + raw(0, 0, 2) + raw(1, 1, 7u, 0, 1.0) + raw(1, 0, 8u) +  //
               raw(0, 1, 0) + raw(1, 2, 5u, 0, NAN * 1.0, 2, .5) + raw(1, 3, 9u, 0, .25, 1, .125, 2, .625);
  dir_.write("hand", file.bytes());
  const struct {
    const char* arguments;
    std::string out;
  } cases[] = {
      {"hand",
       "word forms     UTF-8\ntags           3, sentence tag SENT\nlemmas         5\n"
       "entries        3 with 3 tags, 3 seen in the corpus\n"
       "prefix tree    4 nodes, 2 of them leaves, depth 2\nsuffix tree    1 nodes, 1 of them leaves, depth "
       "0\n"
       "open classes   1 tags\ndecision tree  7 nodes, 4 of them leaves, depth 2, over 2 preceding tags\n"
       "bytes          " +
           std::to_string(file.bytes().size()) + ": header 8, lexicon 214, affixes 108, decision tree 160\n"},
      {"--all hand",
       "utf8\t1\nsentence tag\tSENT\ntag\tDT\t2\ntag\tNN\t4\ntag\tSENT\t8\n"
       "lemma\t.\nlemma\t@card@\nlemma\t@ord@\nlemma\tdog\nlemma\tthe\n"
       "cardinal numbers\t3\tDT 0.5 @card@\tNN 0.25 @card@\tSENT 0.25 @card@\n"
       "ordinal numbers\t0\tNN 1 @ord@\nentry\t.\t1\tSENT 1 .\n"
       "entry\tdog\t40\tDT 0.25 dog\tNN 0.75 dog\nentry\tthe\t1\n"
       "prefix\t*\tNN 1\nprefix\t\\xc3\\xa9\tNN 0.75\tDT 0.25\nsuffix\t\nopen class\tNN\t1\n"
       "preceding tags\t2\nif tag -1 is NN\n  if tag -2 is SENT\n    7\tDT 1\n  else: 8\n"
       "else if tag -1 is DT\n  5\tDT nan\tSENT 0.5\nelse: 9\tDT 0.25\tNN 0.125\tSENT 0.625\n"},
      {"--tree --best 2 hand",
       "if tag -1 is NN\n  if tag -2 is SENT\n    7: DT 1.000\n  else: 8:\nelse if tag -1 is DT\n  5: SENT "
       "0.500 DT nan\n"
       "else: 9: SENT 0.625 DT 0.250\n"},
      {"--tree --depth 1 hand", "if tag -1 is NN\n  ...\nelse: ...\n"},
      {"--context 'NN SENT NN' hand",
       "  yes, tag -1 is NN\n  yes, tag -2 is SENT\n  a leaf that 7 places of the corpus reached\n"
       "    DT         1.000000\n"},
      {"--context 'DT NN' hand",
       "  yes, tag -1 is NN\n  no to 1 tests\n  a leaf that 8 places of the corpus reached\n"},
      {"--context 'DT SENT' --best 1 hand",
       "  no to 2 tests\n  a leaf that 9 places of the corpus reached\n    SENT       0.625000\n"},
      {"--word the --word 3. hand",
       "the: entry, 1 in the corpus\n3.: ordinal number, 0 in the corpus\n"
       "    NN         1.000000  @ord@\n"},
      {"--dot --depth 1 hand",
       "digraph context_tree {\n  node [shape=box, fontname=\"sans-serif\"];\n  edge "
       "[fontname=\"sans-serif\"];\n"
       "  n0 [label=\"tag -1 is NN?\", shape=ellipse];\n  n1 [label=\"...\", shape=plaintext];\n"
       "  n0 -> n1 [label=\"yes\"];\n  n4 [label=\"...\", shape=plaintext];\n  n0 -> n4 "
       "[label=\"no\"];\n}\n"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(orvelle(std::string("show ") + c.arguments).out, c.out) << c.arguments;
  const std::string word = orvelle("show --word '\xC3\xA9t\xC3\xA9' hand").out;
  EXPECT_EQ(
      word.find(
          "\xC3\xA9t\xC3\xA9: no entry\n  prefix tree: \\xc3, \\xc3\\xa9\n    NN         0.750000\n"
          "    DT         0.250000\n  suffix tree: a bare root\n  open classes:\n    NN         1.000000\n"
          "  the tagger's guess:\n"),
      0u)
      << word;
}

// Each line of a chain would be longer than the one before.
TEST_F(ShowTest, DeepTreesAreNotIndentedWithoutEnd) {
  constexpr int Depth = 5000;
  sample_file_t file;
  file.context_size = Depth;
  file.nodes.clear();
  for (int i = 0; i < Depth; ++i) file.nodes += raw(0, Depth - 1 - i, 1);
  for (int i = 0; i <= Depth; ++i) file.nodes += raw(1, 0, static_cast<uint32_t>(i));
  dir_.write("deep", file.bytes());
  const std::string tree = orvelle("show --tree deep").out;
  EXPECT_LT(tree.size(), size_t{150} * 2 * Depth);
  const std::string spaces(80, ' ');
  EXPECT_NE(tree.find("\n" + spaces + "if tag -41 is NN\n" + spaces + "[41 yes] if tag -42 is NN\n"),
            tree.npos);
  EXPECT_NE(tree.find("\n" + spaces + "[5000 yes] 0:\n" + spaces + "[4999 yes] else: 1:\n"), tree.npos);
  EXPECT_TRUE(tree.ends_with("\n    else: 4998:\n  else: 4999:\nelse: 5000:\n"));
}

TEST_F(ShowTest, RefusesWhatItCannotShow) {
  dir_.write("cut", read_file(dir_.path("par")).substr(0, 200));
  dir_.write("empty", "");
  dir_.write("zeros", std::string(10000, '\0'));
  expect_exactly({
      {"show missing", 1, "orvelle show: can't open missing: No such file or directory\n"},
      {"show empty", 1, "orvelle show: empty: it is cut short, or no model\n"},
      {"show zeros", 1, "orvelle show: zeros: it is no model\n"},
      {"show lex", 1, "orvelle show: lex: it is no model\n"},
      {"show --context 'DT' par", 2, "orvelle show: the tree looks at 2 preceding tags, --context gives 1\n"},
      {"show --context 'DT XX' par", 2, "orvelle show: no such tag in the file: XX\n"},
      {"show cut", 1, "orvelle show: cut: it is cut short, or no model\n"},
      {"show .", 1, "orvelle show: .: it can't be read\n"},
      {"show --card par", 1, "orvelle show: a plain parameter file has no card\n"},
  });
}

}  // namespace
}  // namespace orvelle
