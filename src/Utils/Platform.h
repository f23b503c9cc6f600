// Utils/Platform.h: everything that differs between operating systems.
// Does:     declares files, directories, clocks and process facts. Platform.cpp holds the code that
//           all systems share; CMake adds the Platform_*.cpp of its target system.
// Owns:     a File owns its descriptor and closes it when destroyed; a FileLock unlocks its file.
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

/// Calls body with the program's arguments in UTF-8, with standard streams that are open and pass every
/// byte unchanged (ConnectStandardStreams), and without signals for failing writes (IgnoreWriteSignals);
/// returns what body returns. The one thing that a main function does.
int CallMain(int argc, const char* const* argv, int (*body)(int, const char* const*));

/// The value of an environment variable; std::nullopt when it is not set.
std::optional<std::string> EnvironmentVariable(const std::string& name);

/// Sets an environment variable for this process and for those that it starts from now on.
[[nodiscard]] bool SetEnvironment(const std::string& name, const std::string& value) noexcept;

/// text in double quotes, so that the system's shell passes it unchanged to a program.
std::string QuotedForShell(std::string_view text);

/// The extension of program files on this system; may be empty.
extern const std::string_view kProgramEnding;

/// Goes between the parts of a path that we build; when reading we accept both '\' and '/'.
extern const char kPathSeparator;

/// Whether two file names that differ only in the case of their letters name one file.
extern const bool kFileNamesIgnoreCase;

/// Separates the directories in the environment variable PATH.
extern const std::string_view kSearchPathSeparator;

/// Which file of the system it is, by whatever name: equal for one file, different for two that are
/// there at the same time.
struct FileIdentity {
  std::uint64_t m_device = 0;
  std::uint64_t m_file = 0;
  bool operator==(const FileIdentity&) const = default;
};

/// The identity of the regular file that path leads to; nothing without one, or when the system cannot
/// tell.
std::optional<FileIdentity> IdentityAt(const std::string& path);

/// Size and time of the last change of a regular file.
struct FileStamp {
  std::int64_t m_bytes = 0;
  std::int64_t m_modified_ns = 0;  // since the beginning of 1970, UTC
};

/// Of the file that path leads to; nothing without a regular one.
std::optional<FileStamp> StampAt(const std::string& path);

/// What a path leads to. kUnreadable: there is something, or the system does not let us look.
enum class FileState { kAbsent, kDirectory, kUnreadable, kReadable };
FileState StateAt(const std::string& path);

/// Whether path names a pipe or a socket, for which a reader waits. False for names of the system,
/// such as /dev/stdin, and where such files have no names in folders.
bool IsNamedPipe(const std::string& path) noexcept;

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

  /// Size in bytes; 0 for a file without a size, such as a pipe.
  [[nodiscard]] std::int64_t SizeBytes() const noexcept;

  /// As IdentityAt.
  [[nodiscard]] std::optional<FileIdentity> Identity() const noexcept;

  /// Has the system store what was written, so that it outlives a power failure; false when that
  /// failed. True also for what cannot be stored, as a pipe, and where kNoSyncVariable is set.
  [[nodiscard]] bool Sync() noexcept;

  /// Closes; false when the system reports that something was not written. Closing twice is
  /// harmless.
  [[nodiscard]] bool Close() noexcept;

 private:
  friend class FileLock;

  int m_descriptor = -1;
  std::string m_path;
};

/// A lock that one holder at a time can have on a file. It is advisory: everyone can still read,
/// write, rename or delete the file; only another FileLock sees it. It stays with the file through
/// a rename, and the system releases it when the process ends, however it ends. On a network file
/// system it works as far as the server shares locks between machines.
class FileLock {
 public:
  FileLock() noexcept = default;  // holds nothing

  /// Locks the file at path; creates it when missing, otherwise leaves its contents alone. Never
  /// waits. Holds nothing when another holder has the file, and also when the file cannot be
  /// opened, is not a regular file, or is where the system has no locks or cannot tell files apart.
  static FileLock Take(const std::string& path);

  [[nodiscard]] bool IsHeld() const noexcept { return m_file.IsOpen(); }

  /// Whether Take got no lock because another holder has the file.
  [[nodiscard]] bool IsHeldElsewhere() const noexcept { return m_is_held_elsewhere; }

 private:
  /// One try; std::nullopt when path no longer led to the locked file.
  static std::optional<FileLock> TryTake(const std::string& path);

  File m_file;
  bool m_is_held_elsewhere = false;
};

/// Set to anything but "" or "0" it leaves storing to the system: for disks that hold scratch data.
inline constexpr const char* kNoSyncVariable = "TARVEK_NO_SYNC";
bool SyncsFiles();

/// Has the system store the names in a directory, as File::Sync does with bytes. True also where a
/// directory cannot be stored on its own.
[[nodiscard]] bool SyncDirectory(const std::string& path) noexcept;

/// True when path can be opened as a directory for listing.
bool IsDirectory(const std::string& path);

/// The names in a directory in the order in which the system lists them, with or without "." and
/// ".."; std::nullopt when the directory cannot be opened or read to its end.
std::optional<std::vector<std::string>> ListDirectoryNames(const std::string& path);

/// The absolute form of path, which need not exist; links stay unresolved. path itself when the
/// system cannot say.
std::string AbsolutePath(const std::string& path);

/// Makes a directory and its missing parents; true when it exists afterwards.
[[nodiscard]] bool MakeDirectoryTree(const std::string& path);

/// Makes a directory for this user alone; false when there is anything at path, or no parent.
[[nodiscard]] bool MakeNewDirectory(const std::string& path) noexcept;

[[nodiscard]] bool DeleteFileAt(const std::string& path) noexcept;

/// Deletes a directory and its contents, but follows no links; false when anything is left.
[[nodiscard]] bool DeleteDirectoryTree(const std::string& path);

/// Renames a file, replacing an existing one with the new name.
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

/// time in the form of C's asctime, including the line feed.
std::string AsctimeText(const LocalTime& time);

/// Milliseconds on a clock that never goes back.
std::int64_t MonotonicMilliseconds();

/// Whether standard error goes to a terminal.
bool StandardErrorIsTerminal() noexcept;

/// A child process that writes into a pipe, which we read.
class ChildProcess {
 public:
  ChildProcess() noexcept = default;
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess();  // waits for the child unless Wait already did

  /// Runs a command line in the system's shell and reads its standard output. On failure
  /// IsRunning() is false.
  static ChildProcess Start(const std::string& command_line);

  /// Starts a program without the shell. On failure IsRunning() is false and Failure says why.
  /// arguments: the program, then its arguments, passed unchanged. A program name without a
  /// directory is looked up in PATH; on Windows its extension may be left out. Its standard input
  /// is empty; both its outputs are read. Windows runs batch files (.bat, .cmd) in its shell, which
  /// interprets '%' and '"' and stops at the end of a line: a batch file with such an argument is
  /// not started.
  static ChildProcess Start(const std::vector<std::string>& arguments);

  [[nodiscard]] bool IsRunning() const noexcept { return m_pipe != nullptr; }

  /// Why the program could not be started, in the system's words.
  [[nodiscard]] const std::string& Failure() const noexcept { return m_failure; }

  /// The next line with its line feed, in pieces of at most 2047 bytes; false when nothing came.
  bool ReadLine(std::string& line);

  /// Whether ReadLine stopped because the child closed its output.
  [[nodiscard]] bool AtEnd() const noexcept;

  /// Waits for the child. Returns 0 only when it exited with status 0; a child that a signal ended
  /// gives not 0.
  int Wait() noexcept;

 private:
  std::FILE* m_pipe = nullptr;
  std::intptr_t m_process = 0;  // the system's handle; 0 for a shell command line
  std::string m_failure;
};

/// Connects standard input, output and error to the null device where they are closed. Otherwise
/// the next file we open would take their descriptor and get the console's text. Call it once,
/// before anything is opened.
void ConnectStandardStreams() noexcept;

/// A program that runs in parallel with this one, started without a shell. It forms a group with
/// the processes that it starts: End ends them all, and a Ctrl-C that this process gets does not
/// reach them. When it ends on its own, the processes that it leaves running are ended too, or
/// asked to end where the system allows that.
class BackgroundProcess {
 public:
  enum class Ending { kAsked, kForced };

  BackgroundProcess() noexcept;
  BackgroundProcess(BackgroundProcess&& other) noexcept;
  BackgroundProcess& operator=(BackgroundProcess&&) = delete;
  ~BackgroundProcess();  // forces a running process to end, and waits for it

  /// arguments: the path of the program, then its arguments. Its standard input is empty; both its
  /// outputs go to output_path, which is emptied first. It runs in working_directory; when that is
  /// given, the program's path must be absolute. On failure IsRunning() is false.
  static BackgroundProcess Start(const std::vector<std::string>& arguments,
                                 const std::string& output_path,
                                 const std::string& working_directory = {});

  /// Whether it was started and Poll has not yet reported its end.
  [[nodiscard]] bool IsRunning() const noexcept { return m_state != nullptr; }

  /// Reports the end of the process, once: 0 when it exited with status 0, else not 0. std::nullopt
  /// while it runs and after the end was reported.
  std::optional<int> Poll() noexcept;

  /// Asks the process and those that it started to end, or kills them.
  void End(Ending ending) noexcept;

  /// Returns when one of processes may have ended, when a stop was requested, or after timeout_ms.
  static void WaitForAny(std::span<const BackgroundProcess> processes, int timeout_ms) noexcept;

 private:
  struct State;  // differs between systems
  std::unique_ptr<State> m_state;
};

/// From now on Ctrl-C and other requests to end this process are only noted.
void NoteStopRequests() noexcept;
[[nodiscard]] bool StopRequested() noexcept;

/// Stop requests are only noted while this object lives. Its destructor ends the process when one
/// was noted, as the request itself would have; later requests end it at once.
class StopRequestsNoted {
 public:
  StopRequestsNoted() noexcept { NoteStopRequests(); }
  ~StopRequestsNoted();
  StopRequestsNoted(const StopRequestsNoted&) = delete;
  StopRequestsNoted& operator=(const StopRequestsNoted&) = delete;
};

/// Makes a failed write (closed pipe, file-size limit) an error that we report instead of a signal
/// that ends the process. Call it once, before anything is written.
void IgnoreWriteSignals() noexcept;

}  // namespace tarvek
