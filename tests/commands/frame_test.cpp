// The program `orvelle` as such: options, help, standard streams, failing outputs.
#include "commands/program.h"

namespace orvelle {
namespace {

using FrameTest = ProgramTest;

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
      {"check", 2, "orvelle check: which file?\nTry 'orvelle check --help'.\n"},
      {"check a b", 2, "orvelle check: too few file names\nTry 'orvelle check --help'.\n"},
      {"show a b", 2, "orvelle show: one file name too many: b\nTry 'orvelle show --help'.\n"},
      {"show --bets 3 a", 2, "orvelle show: no such option: --bets\nTry 'orvelle show --help'.\n"},
      {"show -all a", 2, "orvelle show: no such option: -all\nTry 'orvelle show --help'.\n"},
      {"show --all=yes a", 2, "orvelle show: --all takes no value\nTry 'orvelle show --help'.\n"},
      {"show a --word", 2, "orvelle show: --word lacks its FORM\nTry 'orvelle show --help'.\n"},
      {"show --best 3x a", 2,
       "orvelle show: --best takes a whole number from 0 to 1000000000, not '3x'\nTry 'orvelle show "
       "--help'.\n"},
      {"prepare --held-out nan", 2,
       "orvelle prepare: --held-out takes a number from 0 to 0.9, not 'nan'\nTry 'orvelle prepare "
       "--help'.\n"},
      {"prepare --tag pos", 2,
       "orvelle prepare: --tag is one of xpos, upos, upos+feats, not 'pos'\nTry 'orvelle prepare --help'.\n"},
      {"show --no-file -- --all", 2, "orvelle show: no such option: --no-file\nTry 'orvelle show --help'.\n"},
      {"show -- --all", 1, "\nERROR: Can't open for reading: --all\naborted.\n"},
      {"check --all a b c", 1, "orvelle check: can't open a: No such file or directory\n"},
      {"--help >/dev/full", 1, "orvelle: can't write standard output: No space left on device\n"},
      {"check --help", 0, ""},
      {"help prepare", 0, ""},
      {"--version", 0, ""},
  };
  for (const auto& c : cases) {
    const result_t result = run(std::string("$orvelle ") + c.arguments);
    EXPECT_EQ(result.status, c.status) << c.arguments;
    EXPECT_EQ(result.err, c.err) << c.arguments;
    EXPECT_EQ(result.out.empty(), c.status != 0) << c.arguments;
  }
}

TEST_F(FrameTest, ListsEveryCommandWithAHelpOfItsOwn) {
  for (const char* name : {"prepare", "check", "tune", "tag", "evaluate", "show"}) {
    EXPECT_NE(run("$orvelle --help").out.find(std::string("\n  ") + name + " "), std::string::npos);
    EXPECT_EQ(run(std::string("$orvelle help ") + name).out.find(std::string("Usage: orvelle ") + name), 0u);
    EXPECT_EQ(run(std::string("$orvelle ") + name + " --help").out,
              run(std::string("$orvelle help ") + name).out);
    EXPECT_EQ(run(std::string("$orvelle ") + name + " --version").out, run("$orvelle --version").out);
  }
}

}  // namespace
}  // namespace orvelle
