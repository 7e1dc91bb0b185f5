// SPDX-License-Identifier: MIT
#include "support/shared_slots.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <thread>
#include <vector>

namespace orvelle {

namespace {

// Whoever was first, all get the same value; the others' are gone (the address sanitizer would tell).
TEST(SharedSlots, GiveAllThreadsTheSameValue) {
  constexpr size_t Threads = 4, Slots = 5000;
  SharedSlots<std::vector<size_t>> slots(Slots);
  EXPECT_EQ(slots.get(0), nullptr);
  std::array<std::vector<const std::vector<size_t>*>, Threads> got;
  {
    std::vector<std::jthread> threads;
    for (auto& mine : got)
      threads.emplace_back([&] {
        for (size_t i = 0; i < Slots; ++i) {
          const auto* const known = slots.get(i);
          mine.push_back(known ? known : &slots.put(i, std::make_unique<std::vector<size_t>>(3, i)));
        }
      });
  }
  for (const auto& its : got) EXPECT_TRUE(its == got[0]);
  for (size_t i = 0; i < Slots; ++i) {
    EXPECT_EQ(got[0][i], slots.get(i));
    EXPECT_EQ(slots.get(i)->back(), i);
  }
}

}  // namespace

}  // namespace orvelle
