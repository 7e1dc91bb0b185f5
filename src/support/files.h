// Opening and closing of the standard I/O streams that every reader and writer works on.
#pragma once

#include <cstdint>
#include <cstdio>

namespace orvelle {

// Number of the line last read from the text file that is being read, from 1; 0 before its first line. Written by
// open_input, open_binary_input and the line readers of the lexicon and of the corpus; printed in messages.
extern int64_t Line;

// The openers return an open stream or end the run through error2 with "Can't open for reading" (or "writing") and
// the name. A null `name` selects `fallback`, which is returned unopened. The two input openers set Line to 0.
FILE* open_input(const char* name, FILE* fallback);
FILE* open_output(const char* name, FILE* fallback);
FILE* open_binary_input(const char* name, FILE* fallback);
FILE* open_binary_output(const char* name, FILE* fallback);

// Closes a stream, unless it is one of the three standard streams.
void close_file(FILE* file);

}  // namespace orvelle
