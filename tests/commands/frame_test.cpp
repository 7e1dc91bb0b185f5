// SPDX-License-Identifier: MIT
// The program `orvelle` as such: options, help, standard streams, failing outputs.
#include "commands/command_test.h"

namespace orvelle {
namespace {

using FrameTest = CommandTest;

TEST_F(FrameTest, CommandLinesAreReadAsTheirCommandTakesThem) {
  expect_exactly({
      {"check", 2, "orvelle check: which file?\n"},
      {"check a b", 2, "orvelle check: too few file names\n"},
      {"show a b", 2, "orvelle show: one file name too many: b\n"},
      {"show --bets 3 a", 2, "orvelle show: no such option: --bets\n"},
      {"show -all a", 2, "orvelle show: no such option: -all\n"},
      {"show --all=yes a", 2, "orvelle show: --all takes no value\n"},
      {"show a --word", 2, "orvelle show: --word lacks its FORM\n"},
      {"show --best 3x a", 2, "orvelle show: --best takes a whole number from 0 to 1000000000, not '3x'\n"},
      {"show --best 1000000001 a", 2,
       "orvelle show: --best takes a whole number from 0 to 1000000000, not '1000000001'\n"},
      {"prepare --held-out nan", 2, "orvelle prepare: --held-out takes a number from 0 to 0.9, not 'nan'\n"},
      {"prepare --held-out 0.91", 2,
       "orvelle prepare: --held-out takes a number from 0 to 0.9, not '0.91'\n"},
      {"prepare --tag pos", 2, "orvelle prepare: --tag is one of xpos, upos, upos+feats, not 'pos'\n"},
      {"prepare --sentence-tag 'A B'", 2, "orvelle prepare: --sentence-tag is one word\n"},
      {"tag --jobs 0 a", 2, "orvelle tag: --jobs takes a whole number from 1 to 1024, not '0'\n"},
      {"tune --folds 1 a b c", 2, "orvelle tune: --folds takes a whole number from 2 to 100, not '1'\n"},
      {"show --no-file -- --all", 2, "orvelle show: no such option: --no-file\n"},
      {"check --all a b c", 1, "orvelle check: can't open a: No such file or directory\n"},
  });
  EXPECT_EQ(orvelle("show -- --all").err, "orvelle show: can't open --all: No such file or directory\n");
}

TEST_F(FrameTest, MisuseIsStatus2AndHelpIsStatus0) {
  const struct {
    const char* arguments;
    int status;
    const char* err;  // all of it
  } cases[] = {
      {"", 2, "orvelle: which command?\nTry 'orvelle --help'.\n"},
      {"frobnicate", 2, "orvelle: no such command: frobnicate\nTry 'orvelle --help'.\n"},
      {"--frobnicate", 2, "orvelle: no such option: --frobnicate\nTry 'orvelle --help'.\n"},
      {"help frobnicate", 2, "orvelle: no such command: frobnicate\nTry 'orvelle --help'.\n"},
      {"check a b", 2, "orvelle check: too few file names\nTry 'orvelle check --help'.\n"},
      {"check --all a b c", 1, "orvelle check: can't open a: No such file or directory\n"},
      {"show missing", 1, "orvelle show: can't open missing: No such file or directory\n"},
      {"--help >/dev/full", 1, "orvelle: can't write standard output: No space left on device\n"},
      {"tag --version", 0, ""},
  };
  for (const auto& c : cases) {
    const result_t result = run(std::string("$orvelle ") + c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.err, c.err) << c.arguments;
    EXPECT_EQ(result.out.empty(), c.status != 0) << c.arguments;
  }
}

TEST_F(FrameTest, ListsEveryCommandWithAHelpOfItsOwn) {
  const std::string overview = run("$orvelle --help").out;
  for (const char* name : {"train", "prepare", "check", "tune", "tag", "evaluate", "show"}) {
    EXPECT_NE(overview.find(std::string("\n  ") + name + " "), std::string::npos);
    const std::string help = run(std::string("$orvelle ") + name + " --help").out;
    EXPECT_EQ(help.find(std::string("Usage: orvelle ") + name), 0u);
    EXPECT_EQ(help.find("--jobs") != help.npos, name[0] == 't' || name[0] == 'e') << help;
  }
  EXPECT_EQ(run("$orvelle help tag; $orvelle --version").out,
            run("$orvelle tag --help; $orvelle show --version").out);
}

}  // namespace
}  // namespace orvelle
