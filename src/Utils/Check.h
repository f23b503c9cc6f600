// Utils/Check.h: internal consistency checks.
// Does:     stops the process when something happens that cannot happen, in every build type.
// Throws:   nothing by itself; a test or fuzz target may install a handler that throws.
// Not here: bad input, which is an error with a message (see FileUtils.h, Logger.h).
#pragma once

namespace tarvek {

/// Called with the expression text and the module name of a failed check.
using CheckFailureHandler = void (*)(const char* expression, const char* module);

/// Replaces the handler of failed checks and returns the former one. A handler may throw; when it
/// returns, the process is aborted all the same.
CheckFailureHandler SetCheckFailureHandler(CheckFailureHandler handler) noexcept;

/// Hands the failure to the handler (by default: prints expression and module to standard error),
/// then aborts the process.
[[noreturn]] void FailCheck(const char* expression, const char* module);

}  // namespace tarvek

/// Shows both texts (frozen, see docs/frozen-names.md) and stops unless condition holds.
#define TARVEK_CHECK(condition, expression, module) \
  ((condition) ? static_cast<void>(0) : ::tarvek::FailCheck((expression), (module)))
