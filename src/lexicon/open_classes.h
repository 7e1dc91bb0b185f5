// The open-class tags: those that a word form missing from the lexicon may have.
#pragma once

#include <vector>

namespace orvelle {

// 1 for a tag that the open-class file lists, else 0; indexed by tag number. Written by read_open_classes alone.
extern std::vector<char> Open_Class;

// Reads a file of tag names separated by any white space; a name longer than 999 bytes is read as several. Ends the
// run if the file cannot be opened or a name is not a tag; a read error ends the reading quietly.
void read_open_classes(const char* name);

}  // namespace orvelle
