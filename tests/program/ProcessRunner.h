// tests/program/ProcessRunner.h: runs a program as a user would and keeps what it printed.
// Does:     starts it with its own working directory, extra environment and limits, and empty
//           standard input; collects both outputs through pipes, which have no file-size limit.
// Throws:   std::runtime_error when the process cannot be started or does not end in time.
// Not here: processes that the program starts: they are not killed with it, and one that holds its
//           outputs open is waited for as long as the program itself.
#pragma once

#include <chrono>
#include <csignal>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvek::test {

enum class StandardOutput {
  kCaptured,
  kClosedPipe,  // a pipe without a reader
  kFullDevice,  // /dev/full: every write fails
  kClosed,      // no descriptor 1
  kAllClosed    // neither 0 nor 1 nor 2
};

struct ProcessRequest {
  std::string m_program;
  std::vector<std::string> m_arguments;
  std::string m_working_directory = ".";
  std::map<std::string, std::string> m_environment;  // added to the current one
  StandardOutput m_standard_output = StandardOutput::kCaptured;
  std::optional<std::uint64_t> m_file_size_limit_bytes;
  std::optional<std::uint64_t> m_memory_limit_bytes;      // of data and stacks
  std::optional<std::chrono::microseconds> m_kill_after;  // a signal at this moment
  int m_kill_signal = SIGKILL;
  std::chrono::microseconds m_time_limit = std::chrono::minutes(5);
};

struct ProcessResult {
  int m_exit_status = -1;  // -1 when a signal ended the process
  int m_signal = 0;        // 0 when it exited
  double m_cpu_seconds = 0.0;
  std::string m_out;
  std::string m_err;
};

ProcessResult RunProcess(const ProcessRequest& request);

/// request with the memory that an input of up to 10 MB may take, 256 MB. The programs of a sanitizer take
/// more by themselves and get none.
ProcessRequest InLittleMemory(ProcessRequest request);

/// A process that goes on beside the test, which must not let its output fill a pipe before Wait.
class RunningProcess {
 public:
  explicit RunningProcess(const ProcessRequest& request);
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;
  ~RunningProcess();  // kills it unless Wait or Kill was called

  [[nodiscard]] int Id() const;
  void Signal(int number) const;

  /// Stops it until Signal(SIGCONT); false when it had ended.
  [[nodiscard]] bool Stop() const;

  /// Kills it and returns how it ended, without its output, which its children may hold open. Use
  /// instead of Wait.
  ProcessResult Kill();

  /// Its result when it has ended. Call once.
  ProcessResult Wait();

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

/// Whether programs for another system are tested instead of those just built: the environment
/// variable TARVEK_TEST_PROGRAMS then names a folder with a start script for each program and the
/// programs themselves in bin.
bool TestsForeignPrograms();

/// The program to test: built, or its stand-in of the same name.
std::string TestedProgram(const std::string& built);

/// result with '/' instead of '\\' when foreign programs are tested: expected paths have '/'.
ProcessResult WithSlashes(ProcessResult result);

/// The folder of the programs to test: built, or the one of the foreign programs themselves.
std::string TestedFolder(const std::string& built);

}  // namespace tarvek::test
