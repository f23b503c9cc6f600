// tests/program/ProgramTest.h: a separate directory for each test of the whole program.
// Does:     runs the built program in that directory, keeps its output, reads its files.
// Not here: how a process is run (ProcessRunner.h).
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "TestSupport.h"

namespace tarvek::test {

/// File name to content.
using FileMap = std::map<std::string, std::string>;

/// The files of a directory, without the log; nothing when there is no such directory.
FileMap FilesIn(const std::string& directory);

/// The same, with records that do not say of which input they are: equal for equal spectra.
FileMap OutputsIn(const std::string& directory);

/// The lines of text, without their line feeds.
std::vector<std::string> LinesOf(const std::string& text);

/// The folder of the golden runs.
std::string GoldenFolder();

/// The file of golden/input with this name.
std::string GoldenInput(const std::string& name);

/// Waits until condition holds; false when it never does.
bool Eventually(const std::function<bool()>& condition);

/// Waits until path exists; false when it never does.
bool Appears(const std::string& path);

class ProgramTest : public testing::Test {
 protected:
  /// A request to run the program in the test's directory.
  [[nodiscard]] ProcessRequest Request(std::vector<std::string> arguments) const;

  /// Runs the program there and keeps the result in m_result.
  const ProcessResult& Run(std::vector<std::string> arguments);
  const ProcessResult& RunRequest(const ProcessRequest& request);

  [[nodiscard]] std::string Path(const std::string& name) const { return m_directory / name; }
  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(Path(name));
  }
  [[nodiscard]] std::string Content(const std::string& name) const;
  void Write(const std::string& name, const std::string& content) const;
  void MakeFolder(const std::string& name) const;

  /// Copies the golden pair to folder (below the test's directory) as name.ms1 and name.ms2.
  void PlacePair(const std::string& folder = "", const std::string& name = "run") const;
  /// Copies the golden isotope table into the test's directory, where it is found by default.
  void PlaceTable() const;

  TemporaryDirectory m_directory;
  ProcessResult m_result;
};

/// A ProgramTest with the golden pair run.ms1, run.ms2 and the isotope table in its directory.
class PairTest : public ProgramTest {
 protected:
  PairTest() {
    PlacePair();
    PlaceTable();
  }
};

inline constexpr const char* kLog = "TarvekPlusLog.txt";

/// The last line of the program when it fails.
inline constexpr const char* kCrashLines =
    "[Tarvek] <EXIT> - Tarvek has encountered a problem and will exit.\n"
    " You can send your TarvekPlusLog.txt to support@tarvek.example for help.\n";

}  // namespace tarvek::test
