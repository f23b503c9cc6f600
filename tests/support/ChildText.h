// tests/support/ChildText.h: what a shell's command prints and how it ends.
// Does:     starts it as a ChildProcess and reads it to its end.
#pragma once

#include <string>
#include <vector>

#include "Platform.h"

namespace tarvek::test {

/// The pieces that ReadLine returns.
inline std::vector<std::string> PiecesOf(const std::string& command) {
  ChildProcess child = ChildProcess::Start(command);
  std::vector<std::string> pieces;
  for (std::string piece; child.ReadLine(piece);) pieces.push_back(piece);
  return pieces;
}

inline int StatusOf(const std::string& command) {
  ChildProcess child = ChildProcess::Start(command);
  return child.Wait();
}

/// The path of the program built from support/background_child.cpp, next to the test programs.
inline std::string BackgroundChild() {
  return ExecutableDirectory() + kPathSeparator + "background_child" + std::string(kProgramEnding);
}

/// The argument that a program gets when a shell runs it with QuotedForShell(text).
inline std::string ThroughTheShell(const std::string& text) {
  std::string arrived;
  for (const std::string& piece :
       PiecesOf(QuotedForShell(BackgroundChild()) + " arguments " + QuotedForShell(text)))
    arrived += piece;
  // A bar follows each argument.
  return arrived.ends_with('|') ? arrived.substr(0, arrived.size() - 1) : "no bar: " + arrived;
}

}  // namespace tarvek::test
