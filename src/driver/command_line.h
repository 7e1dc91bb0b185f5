// The command line of train-orvelle.
#pragma once

namespace orvelle {

// Reads the arguments into the settings and the four file names. A command line that is not right ends the run with
// a message where there is one to give, the usage text and status 1.
void parse_command_line(int argc, char* argv[]);

// Tells the effective settings and the file names on standard error, unless Quiet.
void echo_command_line();

}  // namespace orvelle
