#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "Platform.h"

namespace tarvek {
namespace {

int OpenFlags(std::string_view mode) {
  switch (mode.empty() ? 'r' : mode.front()) {
    case 'w':
      return O_RDWR | O_CREAT | O_TRUNC;
    case 'a':
      return O_RDWR | O_CREAT | O_APPEND;
    default:
      return O_RDONLY;
  }
}

std::optional<FileIdentity> IdentityOf(const struct stat& file) {
  if (!S_ISREG(file.st_mode)) return std::nullopt;
  return FileIdentity{file.st_dev, file.st_ino};
}

// fsync says so of what has no place where it could be stored.
bool CannotBeStored(int error) { return error == EINVAL || error == ENOTSUP || error == EROFS; }

bool SyncDescriptor(int descriptor) noexcept {
  while (::fsync(descriptor) != 0)
    if (errno != EINTR) return CannotBeStored(errno);
  return true;
}

// The disk is asked to begin each time that so much was written.
constexpr ::off_t kStoredAtOnceBytes = ::off_t{8} << 20;

// Has the disk begin with what was written when that has grown over a multiple of kStoredAtOnceBytes, so
// that File::Sync finds little to wait for. That it cannot, as with a pipe, does no harm. written_bytes:
// by the last write.
void StartStoring(int descriptor, std::size_t written_bytes) noexcept {
#ifdef SYNC_FILE_RANGE_WRITE
  const ::off_t end = ::lseek(descriptor, 0, SEEK_CUR);
  const ::off_t begin = end - static_cast<::off_t>(written_bytes);
  if (begin < 0 || begin / kStoredAtOnceBytes == end / kStoredAtOnceBytes || !SyncsFiles()) return;
  static_cast<void>(::sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE));
#else
  static_cast<void>(descriptor);
  static_cast<void>(written_bytes);
#endif
}

// 0, or the reason why the lock failed.
int TryLock(int descriptor) {
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0)
    if (errno != EINTR) return errno;
  return 0;
}

// The system's own names, such as /dev/stdout, are links that mean what they lead to.
bool IsNameOfTheSystem(std::string_view path) {
  // In /dev/shm anybody may put files.
  return (path.starts_with("/dev/") && !path.starts_with("/dev/shm/")) ||
         path.starts_with("/proc/");
}

bool LeadsToDevice(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

// A device behind a name that does not say so, which may have no end.
bool IsForeignDevice(const std::string& path, const struct stat& status) {
  return !IsNameOfTheSystem(path) && (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode));
}

// After a failed open: whether nothing but a link was in the way, which is deleted.
bool DeleteLinkAt(const std::string& path) {
  struct stat status {};
  return errno == ELOOP && ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
         ::unlink(path.c_str()) == 0;
}

/// Opens an output. A link to a file, and a file that has other names, too, is replaced by a new file:
/// what it leads to may be no output. Links to devices are followed. -1 on failure.
int OpenOutput(const std::string& path, int flags) {
  const bool follows = IsNameOfTheSystem(path) || LeadsToDevice(path);
  const int more = O_CLOEXEC | (follows ? 0 : O_NOFOLLOW);
  for (int tries = 0; tries < 3; ++tries) {
    const int descriptor = ::open(path.c_str(), (flags & ~O_TRUNC) | more, 0666);
    if (descriptor < 0 && DeleteLinkAt(path)) continue;
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
      return descriptor;
    const bool is_replaced = status.st_nlink > 1 && !follows && ::unlink(path.c_str()) == 0;
    if (!is_replaced && ((flags & O_TRUNC) == 0 || ::ftruncate(descriptor, 0) == 0))
      return descriptor;
    ::close(descriptor);
    if (!is_replaced) break;
  }
  return -1;
}

struct CloseDirectory {
  void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

sigset_t SignalSet(std::initializer_list<int> signals) noexcept {
  sigset_t set{};
  ::sigemptyset(&set);
  for (const int signal : signals) ::sigaddset(&set, signal);
  return set;
}

/// The settings for starting a child, with an empty standard input. Released when destroyed.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawn_file_actions_init(&m_actions);
    ::posix_spawnattr_init(&m_attributes);
    ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&m_actions);
    ::posix_spawnattr_destroy(&m_attributes);
  }

  void SendOutputsTo(const std::string& path) {
    // A pipe that cannot be deleted is an error: nobody reads what is written to it.
    if (IsNamedPipe(path)) static_cast<void>(DeleteFileAt(path));
    static_cast<void>(File::Open(path, "w"));  // replaces a link
    ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, path.c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK, 0666);
    ::posix_spawn_file_actions_adddup2(&m_actions, STDOUT_FILENO, STDERR_FILENO);
  }
  void SendOutputsTo(int descriptor) {
    ::posix_spawn_file_actions_adddup2(&m_actions, descriptor, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&m_actions, descriptor, STDERR_FILENO);
  }
  /// Call this after the outputs: their paths are relative to this process. Empty: stay there.
  void WorkIn(const std::string& directory) {
    if (!directory.empty()) ::posix_spawn_file_actions_addchdir_np(&m_actions, directory.c_str());
  }
  void MakeGroupWithAllSignals() {
    const sigset_t none = SignalSet({});
    ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    ::posix_spawnattr_setpgroup(&m_attributes, 0);
    ::posix_spawnattr_setsigmask(&m_attributes, &none);
  }

  posix_spawn_file_actions_t m_actions{};
  posix_spawnattr_t m_attributes{};
};

/// The arguments in the form of argv; they borrow from arguments.
std::vector<char*> ArgumentPointers(const std::vector<std::string>& arguments) {
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  return words;
}

/// Waits for a child that has ended or is about to, and returns its status; -1 for a child that the
/// system no longer knows.
int Reap(pid_t child) noexcept {
  int status = 0;
  pid_t waited = 0;
  do {
    waited = ::waitpid(child, &status, 0);
  } while (waited < 0 && errno == EINTR);
  if (waited < 0) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

const char kPathSeparator = '/';
const bool kFileNamesIgnoreCase = false;
const std::string_view kSearchPathSeparator = ":";
const std::string_view kProgramEnding;

// Arguments are bytes here, UTF-8 when the user's locale is.
int CallMain(int argc, const char* const* argv, int (*body)(int, const char* const*)) {
  ConnectStandardStreams();
  IgnoreWriteSignals();
  return body(argc, argv);
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const char* const value = std::getenv(name.c_str());
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

bool SetEnvironment(const std::string& name, const std::string& value) noexcept {
  return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

std::string QuotedForShell(std::string_view text) {
  constexpr std::string_view kEscaped = "\"$`\\";  // the shell interprets these inside quotes
  std::string quoted = "\"";
  for (const char c : text) {
    if (kEscaped.find(c) != std::string_view::npos) quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

File File::Open(const std::string& path, std::string_view mode) {
  File file;
  file.m_path = path;
  const int flags = OpenFlags(mode);
  file.m_descriptor =
      flags == O_RDONLY ? ::open(path.c_str(), flags | O_CLOEXEC) : OpenOutput(path, flags);
  struct stat status {};
  if (file.IsOpen() && ::fstat(file.m_descriptor, &status) == 0 &&
      (S_ISDIR(status.st_mode) || (flags == O_RDONLY && IsForeignDevice(path, status))))
    static_cast<void>(file.Close());
  return file;
}

std::size_t File::Read(char* bytes, std::size_t size) {
  ssize_t count = 0;
  do {
    count = ::read(m_descriptor, bytes, size);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw "Cannot read " + m_path;
  return static_cast<std::size_t>(count);
}

bool File::Write(std::string_view bytes) noexcept {
  const std::size_t size = bytes.size();
  while (!bytes.empty()) {
    const ssize_t count = ::write(m_descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  StartStoring(m_descriptor, size);
  return true;
}

bool File::Seek(std::int64_t offset_bytes) noexcept {
  return offset_bytes >= 0 && ::lseek(m_descriptor, offset_bytes, SEEK_SET) == offset_bytes;
}

std::int64_t File::SizeBytes() const noexcept {
  struct stat status {};
  return ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

std::optional<FileIdentity> File::Identity() const noexcept {
  struct stat status {};
  return ::fstat(m_descriptor, &status) == 0 ? IdentityOf(status) : std::nullopt;
}

bool File::Sync() noexcept { return !SyncsFiles() || SyncDescriptor(m_descriptor); }

std::optional<FileIdentity> IdentityAt(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? IdentityOf(status) : std::nullopt;
}

std::optional<FileStamp> StampAt(const std::string& path) {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return FileStamp{status.st_size, status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

// A pipe is not opened: that would wait for somebody who writes into it.
FileState StateAt(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    const bool is_absent = errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG;
    return is_absent ? FileState::kAbsent : FileState::kUnreadable;
  }
  if (S_ISDIR(status.st_mode)) return FileState::kDirectory;
  if (!S_ISREG(status.st_mode)) return FileState::kReadable;
  return File::Open(path, "r").IsOpen() ? FileState::kReadable : FileState::kUnreadable;
}

bool IsNamedPipe(const std::string& path) noexcept {
  struct stat status {};
  return !IsNameOfTheSystem(path) && ::stat(path.c_str(), &status) == 0 &&
         (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

bool SyncDirectory(const std::string& path) noexcept {
  if (!SyncsFiles()) return true;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return errno == EACCES;  // one may be let write without being let read
  const bool is_stored = SyncDescriptor(descriptor);
  ::close(descriptor);
  return is_stored;
}

bool File::Close() noexcept {
  if (!IsOpen()) return true;
  return ::close(std::exchange(m_descriptor, -1)) == 0;
}

std::optional<FileLock> FileLock::TryTake(const std::string& path) {
  FileLock lock;
  lock.m_file = File::Open(path, "a+");
  struct stat status {};
  if (!lock.IsHeld() || ::fstat(lock.m_file.m_descriptor, &status) != 0 || !S_ISREG(status.st_mode))
    return FileLock();
  const int reason = TryLock(lock.m_file.m_descriptor);
  // Another holder may have renamed or deleted it.
  if (reason == 0)
    return IdentityAt(path) == IdentityOf(status) ? std::optional(std::move(lock)) : std::nullopt;
  FileLock none;
  none.m_is_held_elsewhere = reason == EWOULDBLOCK;
  return none;
}

std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

bool IsDirectory(const std::string& path) { return Directory(::opendir(path.c_str())) != nullptr; }

std::optional<std::vector<std::string>> ListDirectoryNames(const std::string& path) {
  const Directory directory(::opendir(path.c_str()));
  if (!directory) return std::nullopt;
  std::vector<std::string> names;
  while (true) {
    errno = 0;
    const dirent* const entry = ::readdir(directory.get());
    if (entry == nullptr) break;
    names.emplace_back(entry->d_name);
  }
  if (errno != 0) return std::nullopt;
  return names;
}

bool MakeDirectoryTree(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  return IsDirectory(path);
}

bool MakeNewDirectory(const std::string& path) noexcept {
  return ::mkdir(path.c_str(), S_IRWXU) == 0;
}

bool DeleteFileAt(const std::string& path) noexcept { return ::unlink(path.c_str()) == 0; }

bool DeleteDirectoryTree(const std::string& path) {
  std::error_code error;
  std::filesystem::remove_all(path, error);
  return !error;
}

bool RenameFileAt(const std::string& from, const std::string& to) noexcept {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

std::string ExecutableDirectory() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : program.parent_path().string();
}

LocalTime CurrentLocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  ::localtime_r(&now, &fields);
  return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
          fields.tm_min,         fields.tm_sec,     fields.tm_wday};
}

bool StandardErrorIsTerminal() noexcept { return ::isatty(STDERR_FILENO) == 1; }

// A parent may have left SIGCHLD ignored; then the child's status would be lost.
ChildProcess ChildProcess::Start(const std::string& command_line) {
  std::signal(SIGCHLD, SIG_DFL);
  ChildProcess child;
  child.m_pipe = ::popen(command_line.c_str(), "r");
  return child;
}

// The child stays in our process group, so a Ctrl-C reaches it too. Of the pipe it gets only its
// two outputs: with another copy of the write end open, the reader would never see the end.
ChildProcess ChildProcess::Start(const std::vector<std::string>& arguments) {
  std::signal(SIGCHLD, SIG_DFL);
  ChildProcess child;
  std::array<int, 2> ends{};
  int failure = ::pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno;
  if (failure == 0) {
    SpawnSettings settings;
    settings.SendOutputsTo(ends[1]);
    std::vector<char*> words = ArgumentPointers(arguments);
    pid_t process = 0;
    failure = ::posix_spawnp(&process, words.front(), &settings.m_actions, &settings.m_attributes,
                             words.data(), environ);
    ::close(ends[1]);
    if (failure == 0) {
      child.m_pipe = ::fdopen(ends[0], "r");
      child.m_process = process;
    } else {
      ::close(ends[0]);
    }
  }
  if (failure != 0) child.m_failure = std::generic_category().message(failure);
  return child;
}

int ChildProcess::Wait() noexcept {
  if (m_pipe == nullptr) return 0;
  if (m_process == 0) return ::pclose(std::exchange(m_pipe, nullptr));
  std::fclose(std::exchange(m_pipe, nullptr));
  return Reap(static_cast<pid_t>(std::exchange(m_process, 0)));
}

// A new descriptor is always the lowest free one: once we get one above the three, all three are
// taken.
void ConnectStandardStreams() noexcept {
  int descriptor = 0;
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDWR);
  if (descriptor >= 0) ::close(descriptor);
}

struct BackgroundProcess::State {
  pid_t m_leader;  // of its own process group
};

namespace {

constexpr std::array<int, 3> kStopSignals = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t stop_requested = 0;

}  // namespace

BackgroundProcess::BackgroundProcess() noexcept = default;
BackgroundProcess::BackgroundProcess(BackgroundProcess&& other) noexcept = default;

BackgroundProcess::~BackgroundProcess() {
  if (!IsRunning()) return;
  End(Ending::kForced);
  Reap(m_state->m_leader);
}

// SIGCHLD is blocked, so that the child's end waits until WaitForAny asks for it.
BackgroundProcess BackgroundProcess::Start(const std::vector<std::string>& arguments,
                                           const std::string& output_path,
                                           const std::string& working_directory) {
  std::signal(SIGCHLD, SIG_DFL);
  const sigset_t child_ended = SignalSet({SIGCHLD});
  ::sigprocmask(SIG_BLOCK, &child_ended, nullptr);
  std::vector<char*> words = ArgumentPointers(arguments);
  SpawnSettings settings;
  settings.SendOutputsTo(output_path);
  settings.WorkIn(working_directory);
  settings.MakeGroupWithAllSignals();
  BackgroundProcess process;
  pid_t leader = 0;
  if (::posix_spawn(&leader, words.front(), &settings.m_actions, &settings.m_attributes,
                    words.data(), environ) == 0)
    process.m_state = std::make_unique<State>(State{leader});
  return process;
}

// A leader that crashed leaves the other processes of its group running. They are asked to end so
// that they can remove unfinished files. The group's number stays reserved until we wait for the
// leader.
std::optional<int> BackgroundProcess::Poll() noexcept {
  if (!IsRunning()) return std::nullopt;
  const pid_t leader = m_state->m_leader;
  siginfo_t end{};
  int failure = 0;
  do {
    failure = ::waitid(P_PID, static_cast<id_t>(leader), &end, WEXITED | WNOHANG | WNOWAIT);
  } while (failure != 0 && errno == EINTR);
  if (failure == 0 && end.si_pid == 0) return std::nullopt;
  if (failure == 0) End(Ending::kAsked);
  m_state.reset();
  return Reap(leader);
}

void BackgroundProcess::End(Ending ending) noexcept {
  if (IsRunning()) ::kill(-m_state->m_leader, ending == Ending::kForced ? SIGKILL : SIGTERM);
}

void BackgroundProcess::WaitForAny(std::span<const BackgroundProcess> /*processes*/,
                                   int timeout_ms) noexcept {
  const sigset_t child_ended = SignalSet({SIGCHLD});
  const timespec timeout{timeout_ms / 1000, timeout_ms % 1000 * 1'000'000L};
  ::sigtimedwait(&child_ended, nullptr, &timeout);  // a stop request interrupts it
}

// Signals that our parent told us to ignore stay ignored (nohup, background jobs of a shell).
void NoteStopRequests() noexcept {
  for (const int signal : kStopSignals) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
      std::signal(signal, [](int number) { stop_requested = number; });
  }
}

bool StopRequested() noexcept { return stop_requested != 0; }

StopRequestsNoted::~StopRequestsNoted() {
  for (const int signal : kStopSignals) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
      std::signal(signal, SIG_DFL);
  }
  if (stop_requested != 0) std::raise(stop_requested);
}

// Handlers that do nothing, because child processes would inherit SIG_IGN.
void IgnoreWriteSignals() noexcept {
  std::signal(SIGPIPE, [](int) {});
  std::signal(SIGXFSZ, [](int) {});
}

}  // namespace tarvek
