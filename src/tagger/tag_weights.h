// SPDX-License-Identifier: MIT
// A weight for each tag, of which most are 0: to clear it and to go through it costs only the tags that have one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvelle {

class TagWeights {
 public:
  explicit TagWeights(size_t number_of_tags) : weights_(number_of_tags, 0.0), is_met_(number_of_tags, 0) {}

  void clear() {
    for (const int32_t tag : tags_) {
      weights_[static_cast<size_t>(tag)] = 0.0;
      is_met_[static_cast<size_t>(tag)] = 0;
    }
    tags_.clear();
  }

  void add(int32_t tag, double weight) {
    weights_[static_cast<size_t>(tag)] += weight;
    if (is_met_[static_cast<size_t>(tag)] != 0) return;
    is_met_[static_cast<size_t>(tag)] = 1;
    tags_.push_back(tag);
  }

  void set(int32_t tag, double weight) {
    add(tag, 0.0);
    weights_[static_cast<size_t>(tag)] = weight;
  }

  double operator[](int32_t tag) const { return weights_[static_cast<size_t>(tag)]; }

  const std::vector<double>& by_tag() const { return weights_; }

  // The tags that were added or set, each once, in that order. Valid until: the next change.
  std::span<const int32_t> tags() const { return tags_; }

 private:
  std::vector<double> weights_;  // by tag
  std::vector<char> is_met_;     // by tag
  std::vector<int32_t> tags_;
};

}  // namespace orvelle
