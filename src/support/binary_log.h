// SPDX-License-Identifier: MIT
// The logarithm to base 2.
#pragma once

#include <cmath>

namespace orvelle {

// As the quotient of natural logarithms; every entropy of the parameter file is computed with it.
inline double ld(double x) { return std::log(x) / 0.6931471805599453; }

}  // namespace orvelle
