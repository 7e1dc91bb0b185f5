// The settings of a training run that says nothing, for the length of a test.
#pragma once

#include <gtest/gtest.h>

#include "driver/settings.h"

namespace orvelle {

inline void set_defaults() {
  Context_Size = 2;
  Min_Info_Gain = 0.5;
  Smoothing_Weight = 1.0;
  Word_Class_Weight = 0.15;
  Cut_Off_Gain = 1.2;
  Lex_Threshold = 0.0;
  SENT_TAG = "SENT";
  Quiet = 0;
}

class TrainingTest : public testing::Test {
 protected:
  TrainingTest() {
    set_defaults();
    Quiet = 1;
  }
  ~TrainingTest() override { set_defaults(); }
};

}  // namespace orvelle
