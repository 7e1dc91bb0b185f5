// SPDX-License-Identifier: MIT
#include "commands/train_command_line.h"

#include <cstdlib>
#include <string>

#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

bool is(const char* argument, const char* option) { return str_cmp(argument, option) == 0; }

class Parser {
 public:
  command_line_t parse(int argc, char* argv[]) {
    if (argc < 5) usage("");
    for (int i = 1; i < argc; ++i) {
      const char* argument = argv[i];
      if (argument[0] != '-')
        get_arg(argument);
      else if (is(argument, "-quiet"))
        line_.Quiet = true;
      else if (is(argument, "-utf8"))
        line_.settings.UTF8_Processing = 1;
      else if (i + 1 < argc)
        set_option(argument, argv[++i]);
      // An option that lacks its value is passed over, whatever it is.
    }
    if (arg_count_ != 4) usage("");
    return line_;
  }

 private:
  // The usage text shows the current values, so that options read before a mistake show theirs.
  [[noreturn]] void usage(const std::string& message) const {
    const Settings& s = line_.settings;
    fail(
        "%s\nUSAGE: train-orvelle [options] <lexicon> <open class file> <input file> <output file>\n"
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
        message.c_str(), s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight, s.Word_Class_Weight,
        s.Cut_Off_Gain, s.Lex_Threshold);
  }

  [[noreturn]] void invalid_parameter(const char* option, const char* value) const {
    usage(formatted("\nError: invalid %s parameter: %s\n", option, value));
  }

  void get_arg(const char* argument) {
    switch (arg_count_++) {
      case 0:
        line_.Lexicon_File_Name = argument;
        break;
      case 1:
        line_.Open_Class_File_Name = argument;
        break;
      case 2:
        line_.Input_File_Name = argument;
        break;
      case 3:
        line_.Output_File_Name = argument;
        break;
      default:
        usage("");
    }
  }

  void set_option(const char* option, const char* value) {
    Settings& s = line_.settings;
    if (is(option, "-st")) {
      s.SENT_TAG = value;
    } else if (is(option, "-cl")) {
      s.Context_Size = std::atoi(value);
      if (s.Context_Size < 1) invalid_parameter(option, value);
    } else if (is(option, "-dtg")) {
      s.Min_Info_Gain = std::atof(value);
    } else if (is(option, "-sw")) {
      s.Smoothing_Weight = std::atof(value);
      if (s.Smoothing_Weight < 0.0) invalid_parameter(option, value);
    } else if (is(option, "-ecw")) {
      s.Word_Class_Weight = std::atof(value);
    } else if (is(option, "-atg")) {
      s.Cut_Off_Gain = std::atof(value);
    } else if (is(option, "-lt")) {
      s.Lex_Threshold = std::atof(value);
    } else {
      usage(formatted("Unrecognized option: %s\n", option));
    }
  }

  command_line_t line_;
  int arg_count_ = 0;  // positional arguments so far
};

}  // namespace

TrainingInputs command_line_t::inputs() const {
  TrainingInputs inputs;
  inputs.lexicon.name = Lexicon_File_Name;
  inputs.open_classes.name = Open_Class_File_Name;
  inputs.corpus.name = Input_File_Name;
  return inputs;
}

command_line_t parse_command_line(int argc, char* argv[]) { return Parser().parse(argc, argv); }

std::string echo_line(const command_line_t& line) {
  const Settings& s = line.settings;
  return formatted("\ntrain-orvelle -cl %d -dtg %.2f -sw %.2f -ecw %.2f -atg %.2f %s %s %s %s\n\n",
                   s.Context_Size, s.Min_Info_Gain, s.Smoothing_Weight, s.Word_Class_Weight, s.Cut_Off_Gain,
                   line.Lexicon_File_Name, line.Open_Class_File_Name, line.Input_File_Name,
                   line.Output_File_Name);
}

}  // namespace orvelle
