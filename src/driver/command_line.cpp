#include "driver/command_line.h"

#include <cstdio>
#include <cstdlib>

#include "driver/settings.h"
#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

// The usage text shows the current values, so that options read before a mistake show theirs.
[[noreturn]] void usage() {
  fail(
      "\nUSAGE: train-orvelle [options] <lexicon> <open class file> <input file> <output file>\n"
      "\nOPTIONS:\n"
      "-st  <t> use <t> as sentence marker tag rather than SENT\n"
      "-cl  <n> consider <n> preceding tags for tagging (Default %d)\n"
      "-dtg <f> use <f> as threshold for decision tree gain (Default %f)\n"
      "-sw  <f> use <f> as smoothing weight (Default %f)\n"
      "-ecw <f> use <f> as equivalence class weight (Default %f)\n"
      "-atg <f> use <f> as threshold for affix tree gain (Default %f)\n"
      "-lt  <f> use <f> as threshold probability for lexical entries (default %f)\n"
      "-utf8:   assume uft8 input\n"
      "-quiet   quiet mode\n\n",
      Context_Size, Min_Info_Gain, Smoothing_Weight, Word_Class_Weight, Cut_Off_Gain, Lex_Threshold);
}

[[noreturn]] void invalid_parameter(const char* option, const char* value) {
  std::fprintf(stderr, "\nError: invalid %s parameter: %s\n", option, value);
  usage();
}

bool is(const char* argument, const char* option) { return str_cmp(argument, option) == 0; }

// Stores a positional argument; `arg_count` is how many have been stored before.
void get_arg(const char* argument, int& arg_count) {
  static const char** const Destinations[] = {&Lexicon_File_Name, &Open_Class_File_Name, &Input_File_Name,
                                              &Output_File_Name};
  if (arg_count == 4) usage();
  *Destinations[arg_count++] = argument;
}

void set_option(const char* option, const char* value) {
  if (is(option, "-st")) {
    SENT_TAG = value;
  } else if (is(option, "-cl")) {
    Context_Size = std::atoi(value);
    if (Context_Size < 1) invalid_parameter(option, value);
  } else if (is(option, "-dtg")) {
    Min_Info_Gain = std::atof(value);
  } else if (is(option, "-sw")) {
    Smoothing_Weight = std::atof(value);
    if (Smoothing_Weight < 0.0) invalid_parameter(option, value);
  } else if (is(option, "-ecw")) {
    Word_Class_Weight = std::atof(value);
  } else if (is(option, "-atg")) {
    Cut_Off_Gain = std::atof(value);
  } else if (is(option, "-lt")) {
    Lex_Threshold = std::atof(value);
  } else {
    std::fprintf(stderr, "Unrecognized option: %s\n", option);
    usage();
  }
}

}  // namespace

void parse_command_line(int argc, char* argv[]) {
  if (argc < 5) usage();
  int arg_count = 0;
  for (int i = 1; i < argc; ++i) {
    const char* argument = argv[i];
    if (argument[0] != '-')
      get_arg(argument, arg_count);
    else if (is(argument, "-quiet"))
      Quiet = 1;
    else if (is(argument, "-utf8"))
      UTF8_Processing = 1;
    else if (i + 1 < argc)
      set_option(argument, argv[++i]);
    // An option that lacks its value is passed over, whatever it is.
  }
  if (arg_count != 4) usage();
}

void echo_command_line() {
  if (Quiet) return;
  std::fprintf(stderr, "\ntrain-orvelle -cl %d -dtg %.2f -sw %.2f -ecw %.2f -atg %.2f %s %s %s %s\n\n",
               Context_Size, Min_Info_Gain, Smoothing_Weight, Word_Class_Weight, Cut_Off_Gain,
               Lexicon_File_Name, Open_Class_File_Name, Input_File_Name, Output_File_Name);
}

}  // namespace orvelle
