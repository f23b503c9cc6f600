// BasicProcessLogic/MainDriver.h: the program from its arguments to its exit status.
// Does:     banner, choice of start (none, parameter file, options), the run, the time report;
//           turns every escaping error into logged messages.
// Throws:   nothing.
#pragma once

namespace tarvek {

/// Returns the exit status: 0 after a normal run, -1 after any fatal error.
int RunTarvek(int argc, const char* const* argv);

}  // namespace tarvek
