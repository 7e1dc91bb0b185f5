// SPDX-License-Identifier: MIT
// train-orvelle: its command line, and a few runs from outside.
#include "commands/command_test.h"

namespace orvelle {
namespace {

command_line_t parse(Arguments& arguments) { return parse_command_line(arguments.argc(), arguments.argv()); }

const std::string Files = "lex open train out";

std::string echo(const std::string& settings = "-cl 2 -dtg 0.50 -sw 1.00 -ecw 0.15 -atg 1.20") {
  return "\ntrain-orvelle " + settings + " lex open train out\n\n";
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

TEST(TrainCommandLine, IsRefused) {
  const struct {
    std::string arguments, text;
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
    Arguments arguments(c.arguments);
    EXPECT_FATAL(parse(arguments), c.text) << c.arguments;
  }
}

TEST(TrainCommandLine, IsAccepted) {
  const struct {
    std::string arguments, echo;
    bool quiet, utf8;
  } cases[] = {
      {Files, echo(), false, false},
      {Files + " -foo", echo(), false, false},
      {Files + " -cl", echo(), false, false},
      {"-lt 0.1 " + Files + " -utf8", echo(), false, true},
      {"lex -cl 3x open -sw 0 train -dtg junk -ecw -1 out -atg -7",
       echo("-cl 3 -dtg 0.00 -sw 0.00 -ecw -1.00 -atg -7.00"), false, false},
      {Files + " -quiet", echo(), true, false},
  };
  for (const auto& c : cases) {
    Arguments arguments(c.arguments);
    const command_line_t line = parse(arguments);
    EXPECT_EQ(echo_line(line), c.echo) << c.arguments;
    EXPECT_EQ(line.Quiet, c.quiet) << c.arguments;
    EXPECT_EQ(line.settings.UTF8_Processing, c.utf8) << c.arguments;
    EXPECT_EQ(line.settings.Lex_Threshold, c.utf8 ? 0.1 : 0.0) << c.arguments;
  }
  Arguments quiet("-st -quiet " + Files);
  EXPECT_EQ(parse(quiet).settings.SENT_TAG, "-quiet");
}

class TrainProgram : public CommandTest {
 protected:
  TrainProgram() {
    dir_.write("lex", "the\tDT the\n.\tSENT .\ndog\tNN dog\n");
    dir_.write("open", "NN\n");
    dir_.write("train", "the\tDT\ndog\tNN\n.\tSENT\n");
  }
  std::string output() const { return read_file(dir_.path("out")); }
};

TEST_F(TrainProgram, EndsWithAMessageAndStatus1) {
  dir_.write("out", "left as it was");
  const struct {
    std::string arguments, err;  // the end of standard error
  } cases[] = {
      {"-foo 1 " + Files, "Unrecognized option: -foo\n" + usage()},
      {"-quiet -st X " + Files, "\nERROR: Sentence punctuation tag \"X\" is not in lexicon!\n"},
      {"-quiet -cl 2147483647 " + Files, error_text("Not enough memory")},
      {"lex open train none/out",
       "\tsaving parameters ...\n" + error_text("Can't open for writing: none/out")},
      {"lex open train /dev/full",
       "\nNumber of nodes: 1\nMax. path length: 1\n" + error_text("Can't write to output file")},
  };
  for (const auto& c : cases) {
    const result_t result = run("$train " + c.arguments);
    EXPECT_TRUE(result.err.ends_with(c.err)) << c.arguments << result.err;
    EXPECT_TRUE(result.err == c.err || !c.arguments.starts_with("-quiet")) << result.err;
    EXPECT_EQ(result.status, 1) << c.arguments;
    EXPECT_EQ(result.out, "") << c.arguments;
  }
  EXPECT_EQ(output(), "left as it was");
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

TEST_F(TrainProgram, WritesTheParameterFile) {
  const result_t result = run("$train " + Files);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(
      result.err,
      echo() +
          "\treading the lexicon ...\n\t\treading the tagset ...\n\t\treading the lemmas ...\n"
          "\t\treading the entries ...\n\t\tsorting the lexicon ...\n\t\treading the open class tags ...\n"
          "\tcalculating tag frequencies ...\n\tmaking affix tree ...\nprefix lexicon: 1 nodes\n"
          "suffix lexicon: 1 nodes\n\treading classes ...\n\tmaking ngram table ...\n\r3\t1\nfinished.\n"
          "\tmaking decision tree ...\n\r0\tsaving parameters ...\n\nNumber of nodes: 1\n"
          "Max. path length: 1\n\ndone.\n");
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
  // Pipes give the same as files.
  const std::string from_files = output();
  EXPECT_EQ(run("rm out; cat train | $train -quiet lex open /dev/stdin out").err, "");
  EXPECT_EQ(output(), from_files);
  EXPECT_EQ(run("rm out; cat lex | $train -quiet /dev/stdin open train out").err, "");
  EXPECT_EQ(output(), from_files);
}

}  // namespace
}  // namespace orvelle
