// SPDX-License-Identifier: MIT
// The estimates of the context model and their cross-entropy, exactly as the parameter file depends on them: each
// expression is evaluated in double, in the order in which it stands.
#pragma once

#include <cstdint>
#include <span>

#include "support/binary_log.h"

namespace orvelle {

// One predicted tag on a side of a test: its prior probability and its occurrences.
struct estimate_t {
  double q;
  uint32_t count;
};

// Weight of the prior on a side where `tags` distinct tags occur.
inline double prior_weight(int tags, double smoothing_weight) { return tags * smoothing_weight; }

// Probability of a tag that occurs f times among n: interpolation of f / n and q with n / (n + w). The reciprocal is
// formed once a side.
struct Interpolation {
  Interpolation(uint32_t n, double weight) : w(weight), reciprocal(1.0 / (weight + n)) {}
  double operator()(double q, uint32_t f) const { return (q * w + f) * reciprocal; }
  double w, reciprocal;
};

// Leave-one-out cross-entropy of a side, in bits an occurrence: each occurrence is predicted from the others. Built
// by adding the side's tags in ascending order.
class LeaveOneOut {
 public:
  LeaveOneOut(uint32_t n, double weight) : n_(n), w_(weight), reciprocal_(1.0 / ((n_ - 1.0) + weight)) {}
  void add(double q, uint32_t count) {
    const double f = count;
    if (count > 0) entropy_ -= ld((q * w_ + (f - 1.0)) * reciprocal_) * f / n_;
  }
  double entropy() const { return entropy_; }

 private:
  double n_, w_, reciprocal_;
  double entropy_ = 0.0;
};

}  // namespace orvelle
