// tests/support/TestSupport.h: what every test program needs.
// Does:     temporary directories, whole files as strings, captured console text. A failed internal
//           check throws CheckFailure in every test program (see TestMain.cpp).
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarvek::test {

/// Thrown instead of aborting when an internal check fails; what() is "expression, module M".
struct CheckFailure : std::logic_error {
  using std::logic_error::logic_error;
};

/// A new directory, removed with everything in it at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::string& Path() const { return m_path; }
  /// Path of an entry of this name.
  [[nodiscard]] std::string operator/(std::string_view name) const;

 private:
  std::string m_path;
};

std::string ReadFile(const std::string& path);                      // throws when it cannot be read
void WriteFile(const std::string& path, std::string_view content);  // replaces an existing file

/// The text written to std::cout and std::cerr while action ran.
struct ConsoleText {
  std::string m_out;
  std::string m_err;
};
ConsoleText CaptureConsole(const std::function<void()>& action);

inline constexpr const char* kNothingThrown = "(nothing was thrown)";

/// The message of whatever action throws: a character string, a std::string or a std::exception;
/// kNothingThrown when it returns.
std::string MessageOf(const std::function<void()>& action);

}  // namespace tarvek::test
