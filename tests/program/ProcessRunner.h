// tests/program/ProcessRunner.h: runs a program as a user would and keeps what it printed.
// Does:     starts it with working directory, extra environment and limits of its own, standard
//           input at its end; collects both outputs through pipes, which no file-size limit
//           touches.
// Throws:   std::runtime_error when the process cannot be started or does not end in time.
// Not here: the processes that it starts: they are not killed with it, and one that holds its
//           outputs after its end is waited for as long as for the process itself.
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
  kClosedPipe,  // a pipe whose reader is gone
  kFullDevice,  // /dev/full: every write fails
  kClosed,      // no descriptor 1
  kAllClosed    // neither 0 nor 1 nor 2
};

struct ProcessRequest {
  std::string m_program;
  std::vector<std::string> m_arguments;
  std::string m_working_directory = ".";
  std::map<std::string, std::string> m_environment;  // added to the present one
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
  ~RunningProcess();  // kills it when neither Wait nor Kill was reached

  [[nodiscard]] int Id() const;
  void Signal(int number) const;

  /// Makes it stand still, until Signal(SIGCONT); false when it had ended.
  [[nodiscard]] bool Stop() const;

  /// Kills it and returns how it ended, without what it printed: what it started may hold its
  /// outputs for longer. In place of Wait.
  ProcessResult Kill();

  /// Its result when it has ended. Once.
  ProcessResult Wait();

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

/// Whether the programs of another system are tested in place of those just built: the environment
/// variable TARVEK_TEST_PROGRAMS then names a folder with a script for each, which starts it, and
/// with the programs themselves in its folder bin.
bool TestsForeignPrograms();

/// The program to test: built, or its stand-in of the same name.
std::string TestedProgram(const std::string& built);

/// result with '/' in place of '\\' when foreign programs are tested: expected paths have '/'.
ProcessResult WithSlashes(ProcessResult result);

/// The folder of the programs to test: built, or the one of the foreign programs themselves.
std::string TestedFolder(const std::string& built);

}  // namespace tarvek::test
