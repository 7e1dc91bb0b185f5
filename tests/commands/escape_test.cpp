// SPDX-License-Identifier: MIT
// What goes to a terminal, or to readers of JSON, of Graphviz and of the shell.
#include "commands/escape.h"

#include "commands/command_test.h"

namespace orvelle {
namespace {

TEST(Escape, EachReaderGetsTheTextItTakes) {
  const struct {
    std::string text, shown, escaped, json, dot, shell;
  } cases[] = {
      {"NN", "NN", "NN", "\"NN\"", "\"NN\"", "NN"},
      {"", "", "", "\"\"", "\"\"", "''"},
      {"a\\\"'&", "a\\\"'&", "a\\x5c\"'&", R"("a\\\"'&")", R"("a\\\"'&amp;")", R"('a\"'\''&')"},
      {"\x1B[2J", "\\x1b[2J", "\\x1b[2J", "\"\\u001b[2J\"", "\"\x1B[2J\"", "$'\\x1b[2J'"},
      {bytes("\0\t'\x7F"), "\\x00\\t'\\x7f", "\\x00\\t'\\x7f", "\"\\u0000\\u0009'\\u007f\"",
       bytes("\"\0\t'\x7F\""), "$'\\x00\\t\\x27\\x7f'"},
      // A control character of UTF-8 and its neighbours; the same byte alone; and one behind a character that has it.
      {"\xC2\x9B", "\\xc2\\x9b", "\\xc2\\x9b", "\"\\u009b\"", "\"\xC2\x9B\"", "$'\\xc2\\x9b'"},
      {"\xC2\xA0\xC3\x9B", "\xC2\xA0\xC3\x9B", "\xC2\xA0\xC3\x9B", "\"\xC2\xA0\xC3\x9B\"",
       "\"\xC2\xA0\xC3\x9B\"", "'\xC2\xA0\xC3\x9B'"},
      {"\xE9\xC3\xA9\xFF", "\xE9\xC3\xA9\xFF", "\xE9\xC3\xA9\xFF", "\"\xC3\xA9\xC3\xA9\xC3\xBF\"",
       "\"\xC3\xA9\xC3\xA9\xC3\xBF\"", "'\xE9\xC3\xA9\xFF'"},
      {"\x9B", "\x9B", "\x9B", "\"\\u009b\"", "\"\xC2\x9B\"", "'\x9B'"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(shown(c.text), c.shown);
    EXPECT_EQ(escaped(c.text), c.escaped);
    EXPECT_EQ(json_quoted(c.text), c.json);
    EXPECT_EQ(dot_quoted(c.text), c.dot);
    EXPECT_EQ(shell_quoted(c.text), c.shell);
  }
}

using EscapeTest = CommandTest;

// Forms, tags, lemmas and the names of files may all have them.
TEST_F(EscapeTest, NoControlCharacterReachesTheTerminal) {
  const std::string bell = "X\a\xC2\x9B";
  dir_.write("lex", ".\tSENT .\nthe\tDT the\n" + bell + "\t" + bell + " " + bell + "\n");
  dir_.write("open", bell);
  dir_.write("corpus", times(6, "the\tDT\n" + bell + "\t" + bell + "\n.\tSENT\n"));
  ASSERT_EQ(train(), "(no error)");
  std::filesystem::copy(dir_.path("par"), dir_.path("par" + bell));
  std::filesystem::copy(dir_.path("corpus"), dir_.path("gold" + bell));
  dir_.write("bad", bell + "\n");
  dir_.write("two", " \t" + bell + "\tDT\n" + read_file(dir_.path("corpus")));
  dir_.write("gold",
             conllu_row("1", "the", "the", "X", bytes("D\0T")) + conllu_row("2", bell, "x", "X", "DT"));
  for (const std::string line :
       {"evaluate par corpus", "evaluate par gold", "evaluate --json par gold", "evaluate par bad",
        "evaluate par none\a", "check lex open corpus", "check lex bad corpus", "check lex open two",
        "check bad open corpus", "check lex open gold\a\xC2\x9B", "show --all par", "show --tree par",
        "show --word \a par", "show --context \a par", "show x\a y\a", "tag bad corpus",
        "prepare --into made\a --once 0 corpus", "train corpus m\a"}) {
    const result_t result = orvelle(line);
    for (const std::string& text : {result.out, result.err}) {
      EXPECT_EQ(text.find('\a'), text.npos) << line << text;
      EXPECT_EQ(text.find("\xC2\x9B"), text.npos) << line << text;
      EXPECT_EQ(text.find('\0'), text.npos) << line << text;
    }
    EXPECT_FALSE(result.out.empty() && result.err.empty()) << line;
  }
  EXPECT_NE(orvelle("evaluate par gold").out.find("D\\x00T "), std::string::npos);
}

}  // namespace
}  // namespace orvelle
