// Runs the programs from outside, in a directory of their own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "test_support.h"

namespace orvelle {

struct result_t {
  int status;
  std::string out, err;
};

class ProgramTest : public testing::Test {
 protected:
  // Runs a line of the shell: "$orvelle check lex open corpus". $train is train-orvelle.
  result_t run(const std::string& line) {
    const std::string command = "cd '" + dir_.path() +
                                "' && orvelle='" ORVELLE "' train='" TRAIN_ORVELLE "'; export LC_ALL=C; { " +
                                line + "\n} >.out 2>.err </dev/null";
    const int status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status)) << line;
    return {WEXITSTATUS(status), read_file(dir_.path(".out")), read_file(dir_.path(".err"))};
  }

  TempDir dir_;
};

}  // namespace orvelle
