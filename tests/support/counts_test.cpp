// SPDX-License-Identifier: MIT
#include "support/counts.h"

#include "test_support.h"

namespace orvelle {
namespace {

TEST(Counts, WhatNoIntCanCountIsAnError) {
  EXPECT_EQ(int_count(2147483647, "lines"), 2147483647);
  EXPECT_ERROR(int_count(2147483648, "lines"), "Too many lines");
  EXPECT_ERROR(int_count(SIZE_MAX, "lines"), "Too many lines");
}

}  // namespace
}  // namespace orvelle
