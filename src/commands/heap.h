// SPDX-License-Identifier: MIT
// How the program takes memory from the system.
#pragma once

namespace orvelle {

// Makes the memory allocator take its memory in large pieces, keep it, and lay the first of it on huge pages. A run
// touches some tens of megabytes in tables that are read at random: with pages of 4 KB a quarter of its time went
// into page faults and address translation. For programs, once, before they allocate much; does nothing where the
// C library or the system offers no such thing.
void take_large_pieces();

}  // namespace orvelle
