// SPDX-License-Identifier: MIT
// Memory that cannot be had is told as that wherever it is, from the first allocation of a program on.
#include "commands/command_test.h"

namespace orvelle {
namespace {

#ifndef FAILING_MEMORY  // under the sanitizers, and without the GNU C library
#define FAILING_MEMORY ""
#endif

class MemoryTest : public CommandTest {
 protected:
  MemoryTest() {
    dir_.write("lex", "the\tDT the\n.\tSENT .\nwalking\tVVG walk\tNN walking\n");
    dir_.write("open", "NN VVG\n");
    dir_.write("corpus", times(6, "the\tDT\nwalking\tNN\nwalking\tVVG\n.\tSENT\n"));
    EXPECT_EQ(train(), "(no error)");
  }
};

// Allocations one by one, and all of the first ones together.
TEST_F(MemoryTest, AnyFailingAllocationIsTold) {
  if (*FAILING_MEMORY == '\0') GTEST_SKIP();
  for (const char* program : {"$train -quiet lex open corpus made", "$orvelle show par",
                              "$orvelle tag par corpus", "$orvelle check lex open corpus"}) {
    int failed = 0;
    for (int last = 1; last <= 60; ++last)
      for (const int first : {1, last}) {
        const result_t result = run("LD_PRELOAD=" FAILING_MEMORY " FAIL_FROM=" + std::to_string(first) +
                                    " FAIL_TO=" + std::to_string(last) + " " + program);
        if (result.status == 0) continue;  // the C library did without
        ++failed;
        EXPECT_EQ(result.status, 1) << program << first << " " << last;
        EXPECT_EQ(result.err, Space_Error_Text) << program << first << " " << last;
      }
    EXPECT_GT(failed, 60) << program;
  }
}

}  // namespace
}  // namespace orvelle
