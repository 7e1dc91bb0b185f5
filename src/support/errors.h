// The fatal exits. No operation of this system reports a failure to its caller: each failure writes one message to
// standard error and ends the process with status 1. Nothing else in the program calls exit.
#pragma once

namespace orvelle {

// Writes "\nERROR: <message>\naborted.\n" and ends the process with status 1.
[[noreturn]] void error(const char* message);

// Writes "\nERROR: <message>: <detail>\naborted.\n" and ends the process with status 1.
[[noreturn]] void error2(const char* message, const char* detail);

// error("Not enough memory"). Every failed allocation ends here.
[[noreturn]] void space_error();

// Writes the text that `format` and its arguments (as for printf) give, as it stands, and ends the process with
// status 1: for the messages that have a wording of their own.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* format, ...);

// Makes every failing `operator new` of the process, those inside containers included, end in space_error. For
// programs; a library user keeps its own handler unless it calls this.
void install_space_error();

}  // namespace orvelle
