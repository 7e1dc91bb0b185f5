// SPDX-License-Identifier: MIT
// Descriptors 0 to 2 as a program expects them.
#pragma once

namespace orvelle {

// Takes the numbers of standard streams that are closed, so that no file which is opened later gets one and what is meant
// for a stream never lands in a file. Reading from them and writing to them fails. For programs, before all else.
void take_standard_descriptors();

}  // namespace orvelle
