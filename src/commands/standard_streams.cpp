// SPDX-License-Identifier: MIT
#include "commands/standard_streams.h"

#include <fcntl.h>

namespace orvelle {

// open gives the lowest number that is free; standard input gets the end that cannot be read.
void take_standard_descriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor)
    if (fcntl(descriptor, F_GETFD) == -1) open("/dev/null", descriptor == 0 ? O_WRONLY : O_RDONLY);
}

}  // namespace orvelle
