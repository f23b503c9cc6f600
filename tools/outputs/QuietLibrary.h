// tools/outputs/QuietLibrary.h: tarvek's own readers used by a tool.
// Does:     keeps what they log off the console and turns a failed internal check, which bad input
//           can cause in them, into an exception, as long as it lives.
// Throws:   from a failed check, a std::string "internal check failed: " + expression.
#pragma once

#include <sstream>
#include <streambuf>

#include "Check.h"

namespace tarvek::tools {

class QuietLibrary {
 public:
  QuietLibrary();
  ~QuietLibrary();
  QuietLibrary(const QuietLibrary&) = delete;
  QuietLibrary& operator=(const QuietLibrary&) = delete;

 private:
  std::ostringstream m_log;
  std::streambuf* m_out;
  std::streambuf* m_err;
  CheckFailureHandler m_handler;
};

}  // namespace tarvek::tools
