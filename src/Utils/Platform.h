// Utils/Platform.h: everything that differs between operating systems.
// Does:     declares files, directories, clocks and process facts. Platform.cpp holds what is equal
//           on every system; CMake adds the Platform_*.cpp of the one it builds for.
// Owns:     a File owns its descriptor and closes it when destroyed; a FileLock gives its file
//           back.
// Throws:   File::Read a std::string naming the path; the rest reports by its return value.
// Not here: message texts of a failed open, rename, ... (FileUtils.h). Paths are UTF-8 throughout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarvek {

/// Calls body with the program's arguments in UTF-8 and with standard streams that pass every byte
/// unchanged; returns what body returns. The first thing that a main function does.
int CallMain(int argc, const char* const* argv, int (*body)(int, const char* const*));

/// The value of an environment variable, nothing when there is none of this name.
std::optional<std::string> EnvironmentVariable(const std::string& name);

/// Gives this process, and those that it starts from now on, an environment variable.
[[nodiscard]] bool SetEnvironment(const std::string& name, const std::string& value) noexcept;

/// text in double quotes for the system's shell, which hands it on to a program unchanged.
std::string QuotedForShell(std::string_view text);

/// What the file name of a program ends in on this system; may be empty.
extern const std::string_view kProgramEnding;

/// Written between the parts of a path that we build; both '\' and '/' are accepted when reading.
extern const char kPathSeparator;

/// Whether two file names that differ only in the case of their letters name one file.
extern const bool kFileNamesIgnoreCase;

/// What stands between the directories of the environment variable PATH.
extern const std::string_view kSearchPathSeparator;

/// An open file, moved but not copied. Bytes pass unchanged on every system: there is no text mode.
class File {
 public:
  File() noexcept = default;
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  /// Opens path with a C stdio mode: "r" or "rb" reads an existing file, "w", "w+" or "wb+" makes
  /// an empty one, "a+" appends. The result is not open on failure, and for a directory. On POSIX
  /// systems what is written replaces a link to a file, and a name that the file shares with others;
  /// links to devices are followed, and those that the system has itself, such as /dev/stdout.
  static File Open(const std::string& path, std::string_view mode);

  [[nodiscard]] bool IsOpen() const noexcept { return m_descriptor >= 0; }

  /// Reads up to size bytes and returns how many came; 0 only at the end of the file.
  /// Throws a std::string "Cannot read " + path when the system reports a failure.
  std::size_t Read(char* bytes, std::size_t size);

  /// Writes all bytes; false when any of them could not be written.
  [[nodiscard]] bool Write(std::string_view bytes) noexcept;

  /// Moves to a byte offset from the start; false on failure.
  [[nodiscard]] bool Seek(std::int64_t offset_bytes) noexcept;

  /// Size in bytes; 0 when it has none, as a pipe.
  [[nodiscard]] std::int64_t SizeBytes() const noexcept;

  /// Closes; false when the system reports that something was not written. Closing twice is
  /// harmless.
  [[nodiscard]] bool Close() noexcept;

 private:
  friend class FileLock;

  int m_descriptor = -1;
  std::string m_path;
};

/// A file that one holder at a time may take. Nobody is kept from reading, writing, renaming or
/// deleting it: the lock only answers others who ask for it in the same manner. It goes with the
/// file when that is renamed, and the system gives it back when the process ends in whatever way.
/// On a network file system it reaches as far as the server keeps locks for all its machines.
class FileLock {
 public:
  FileLock() noexcept = default;  // holds nothing

  /// Takes the file at path, which is made when it is missing and left as it is otherwise. Never
  /// waits. Holds nothing when another holder has the file, and also when it cannot be opened, is
  /// no regular file, or lies where the system has no locks or cannot tell one file from another.
  static FileLock Take(const std::string& path);

  [[nodiscard]] bool IsHeld() const noexcept { return m_file.IsOpen(); }

  /// Whether another holder was the reason that Take got nothing.
  [[nodiscard]] bool IsHeldElsewhere() const noexcept { return m_is_held_elsewhere; }

 private:
  /// One try; nothing when path did not lead to the locked file any more.
  static std::optional<FileLock> TryTake(const std::string& path);

  File m_file;
  bool m_is_held_elsewhere = false;
};

/// True when path can be opened as a directory for listing.
bool IsDirectory(const std::string& path);

/// The names in a directory in the order in which the system lists them, "." and ".." included or
/// not as it pleases; nothing when the directory cannot be opened or read to its end.
std::optional<std::vector<std::string>> ListDirectoryNames(const std::string& path);

/// path from the root on, which need not exist; links in it stay. path itself when the system
/// cannot tell.
std::string AbsolutePath(const std::string& path);

/// Makes a directory and its missing parents; true when it exists afterwards.
[[nodiscard]] bool MakeDirectoryTree(const std::string& path);

[[nodiscard]] bool DeleteFileAt(const std::string& path) noexcept;

/// Deletes a directory with everything in it, but not what a link in it leads to; false when
/// anything is left.
[[nodiscard]] bool DeleteDirectoryTree(const std::string& path);

/// Renames a file, replacing an existing one of the new name.
[[nodiscard]] bool RenameFileAt(const std::string& from, const std::string& to) noexcept;

/// The directory of the running program, without a trailing separator; empty when unknown.
std::string ExecutableDirectory();

/// Local wall-clock time: month 1..12, day 1..31, weekday 0..6 from Sunday.
struct LocalTime {
  int m_year = 0;
  int m_month = 0;
  int m_day = 0;
  int m_hour = 0;
  int m_minute = 0;
  int m_second = 0;
  int m_weekday = 0;
};
LocalTime CurrentLocalTime();

/// time as C's asctime writes it, with its own end of line.
std::string AsctimeText(const LocalTime& time);

/// Milliseconds on a clock that never goes back.
std::int64_t MonotonicMilliseconds();

/// Whether standard error is shown on a terminal.
bool StandardErrorIsTerminal() noexcept;

/// A child process whose output is read through a pipe.
class ChildProcess {
 public:
  ChildProcess() noexcept = default;
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess();  // waits for the child when Wait was not reached

  /// Starts a command line of the system's shell, whose standard output is read; the result is not
  /// running on failure.
  static ChildProcess Start(const std::string& command_line);

  /// Starts a program without the shell; the result is not running on failure, and Failure says why.
  /// arguments: the program, then what it gets, unchanged. A program without a directory is looked
  /// for in those of PATH; on Windows its ending may be left out. Its standard input is empty; both
  /// its outputs are read. Windows gives batch files (.bat, .cmd) to its shell, which acts on '%'
  /// and '"' and stops at the end of a line: a batch file with such an argument is not started.
  static ChildProcess Start(const std::vector<std::string>& arguments);

  [[nodiscard]] bool IsRunning() const noexcept { return m_pipe != nullptr; }

  /// Why a program could not be started, as the system puts it.
  [[nodiscard]] const std::string& Failure() const noexcept { return m_failure; }

  /// The next line with its line feed, in pieces of at most 2047 bytes; false when nothing came.
  bool ReadLine(std::string& line);

  /// Whether ReadLine stopped because the child closed its output.
  [[nodiscard]] bool AtEnd() const noexcept;

  /// Waits for the child. 0 when it ended normally with status 0; not 0 also when a signal ended
  /// it.
  int Wait() noexcept;

 private:
  std::FILE* m_pipe = nullptr;
  std::intptr_t m_process = 0;  // of the system; 0 for a command line of the shell
  std::string m_failure;
};

/// Connects those of standard input, output and error that are closed with the null device, so that
/// no file is opened in their place and gets what is meant for the console. Called once, before
/// anything is opened.
void ConnectStandardStreams() noexcept;

/// A program that runs beside this one, started without a shell. What it starts belongs to it: both
/// are ended together, and neither sees a Ctrl-C that this process gets. What it leaves behind when
/// it ends by itself is ended too, or asked to where the system lets one ask.
class BackgroundProcess {
 public:
  enum class Ending { kAsked, kForced };

  BackgroundProcess() noexcept;
  BackgroundProcess(BackgroundProcess&& other) noexcept;
  BackgroundProcess& operator=(BackgroundProcess&&) = delete;
  ~BackgroundProcess();  // forces the process to end when it runs, and waits for it

  /// arguments: the path of the program, then what it is given. Its standard input is empty; both
  /// its outputs go to output_path, which is emptied first. It works in working_directory; where
  /// that is given, the path of the program is an absolute one. Not running on failure.
  static BackgroundProcess Start(const std::vector<std::string>& arguments,
                                 const std::string& output_path,
                                 const std::string& working_directory = {});

  /// Whether it was started and Poll has not yet told its end.
  [[nodiscard]] bool IsRunning() const noexcept { return m_state != nullptr; }

  /// Once, when the process has ended: 0 when it ended normally with status 0, else not 0. Nothing
  /// while it runs, and nothing afterwards.
  std::optional<int> Poll() noexcept;

  /// Asks the process and what it started to end, or makes them.
  void End(Ending ending) noexcept;

  /// Returns when one of processes may have ended, when a stop was requested, or after timeout_ms.
  static void WaitForAny(std::span<const BackgroundProcess> processes, int timeout_ms) noexcept;

 private:
  struct State;  // of the system
  std::unique_ptr<State> m_state;
};

/// From now on Ctrl-C, and what else asks this process to end, is noted and does not end it.
void NoteStopRequests() noexcept;
[[nodiscard]] bool StopRequested() noexcept;

/// As long as it lives, a stop request is noted; at its end one that was noted ends this process as it
/// would have at first, and later ones do so at once.
class StopRequestsNoted {
 public:
  StopRequestsNoted() noexcept { NoteStopRequests(); }
  ~StopRequestsNoted();
  StopRequestsNoted(const StopRequestsNoted&) = delete;
  StopRequestsNoted& operator=(const StopRequestsNoted&) = delete;
};

/// A failed write (closed pipe, file-size limit) is to be an error that we report, not the signal
/// that ends the process. Called once, before anything is written.
void IgnoreWriteSignals() noexcept;

}  // namespace tarvek
