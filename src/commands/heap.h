// SPDX-License-Identifier: MIT
// How the program takes memory from the system.
#pragma once

namespace orvelle {

// Makes the memory allocator take its memory in large pieces, keep it, and lay the first of it on huge pages. A run
// touches some tens of megabytes in tables that are read at random: with pages of 4 KB a quarter of its time went
// into page faults and address translation. For programs, once, before they allocate much; does nothing where the
// C library or the system offers no such thing.
void take_large_pieces();

// Where memory does not even suffice to throw that there is too little, the program ends as if it had been thrown: the
// message, status 1. The runtime calls std::terminate there. For programs, before all else.
void tell_when_nothing_can_be_thrown();

}  // namespace orvelle
