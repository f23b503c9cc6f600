// BasicProcessLogic/MainDriver.h: the program from its arguments to its exit status.
// Does:     prints the banner, chooses the start (none, parameter file, options), runs, reports the
//           time; turns every escaping error into logged messages.
// Throws:   nothing.
#pragma once

namespace tarvek {

/// Returns the exit status: 0 after a normal run, -1 after any fatal error.
int RunTarvek(int argc, const char* const* argv);

}  // namespace tarvek
