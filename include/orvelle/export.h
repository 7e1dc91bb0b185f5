// SPDX-License-Identifier: MIT
// What a shared library shows; everything without this mark is hidden in it.
#pragma once

#define ORVELLE_API __attribute__((visibility("default")))
