// The tagset: the names of all tags, sorted; a tag's number is its index.
//
//   Tag      "DT"  "NN"  "SENT"  "VB"
//   number    0     1      2      3       Sent_Tag = 2
#pragma once

#include <string_view>
#include <vector>

namespace orvelle {

inline constexpr int Max_Number_of_Tags = 20000;  // so that a tag number fits into 16 bits

// Written by define_tagset alone; fixed from then on. Names are distinct and strictly ascending in byte order.
extern std::vector<const char*> Tag;
extern int Number_of_Tags;
extern int Sent_Tag;  // number of the sentence tag

// Corpus tokens of each tag, whether or not the lexicon knows the word form; indexed by tag number. Written by the
// corpus pass of the training alone, empty before and in a program that only loads.
extern std::vector<int> Tag_Freq;

// Makes `names` the tagset. The names themselves belong to the caller and must outlive every use of the tagset.
void define_tagset(std::vector<const char*> names, int sent_tag);

// Number of a tag name, or -1 if it is not a tag.
int find_tag(std::string_view name);

// Number of a tag name; ends the run with "\nERROR: unknown tag <%s> !\n\n" if it is not a tag.
int tag_number(const char* name);

// The end of the run for a name that is not a tag.
[[noreturn]] void unknown_tag(const char* name);

}  // namespace orvelle
