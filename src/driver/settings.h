// The settings of a run: plain globals with defaults. The command line writes them before training starts; loading a
// parameter file writes UTF8_Processing, a program without one sets it itself. Everything else only reads them.
// The other settings are those of the training and say nothing of a loaded file: the number of preceding tags
// of its tree is Context_Tree.context_size.
#pragma once

namespace orvelle {

extern int Context_Size;           // preceding tags that the context tree looks at; at least 1
extern double Min_Info_Gain;       // least gain, in bits, at which a context node is split
extern double Smoothing_Weight;    // weight of the prior in every context estimate; not below 0
extern double Word_Class_Weight;   // weight of an equivalence class in the smoothing of an entry
extern double Cut_Off_Gain;        // least gain, in bits, at which an affix leaf is kept
extern double Lex_Threshold;       // share of an entry's most frequent tag below which a tag is dropped
extern const char* SENT_TAG;       // name of the sentence tag
extern int Max_Number_of_Classes;  // equivalence classes to make room for at first
extern int Quiet;                  // 1: no progress messages
extern int UTF8_Processing;        // 1: word forms are UTF-8, 0: single bytes

// The arguments themselves, null until the command line is parsed.
extern const char* Lexicon_File_Name;
extern const char* Open_Class_File_Name;
extern const char* Input_File_Name;  // the tagged corpus
extern const char* Output_File_Name;

}  // namespace orvelle
