#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
// After windows.h: these need its types.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Platform.h"

namespace tarvek {
namespace {

constexpr std::size_t kMaxBlockBytes = std::size_t{1} << 30;  // per _read or _write

// Paths that are longer than this in full form need the prefix that lifts the MAX_PATH limit. The
// limit for directories is lower because it leaves room for an 8.3 name.
constexpr std::size_t kMaxPlainPath = MAX_PATH - 13;
constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongNetworkPrefix = L"\\\\?\\UNC\\";

std::wstring Wide(std::string_view utf8) {
  const int size = static_cast<int>(utf8.size());
  const int count = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(count), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), count);
  return wide;
}

std::string Utf8(std::wstring_view wide) {
  const int size = static_cast<int>(wide.size());
  const int count =
      ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(count), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(), count, nullptr, nullptr);
  return utf8;
}

// The absolute path with '\' between its parts; path itself when the system cannot say.
std::wstring FullPath(const std::wstring& path) {
  const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  const DWORD length = ::GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
  if (length == 0 || length >= size) return path;
  full.resize(length);
  return full;
}

std::wstring WithoutLengthLimit(const std::wstring& path) {
  const std::wstring full = FullPath(path);
  if (full.starts_with(kLongPrefix)) return full;
  if (full.starts_with(L"\\\\")) return std::wstring(kLongNetworkPrefix) + full.substr(2);
  return std::wstring(kLongPrefix) + full;
}

// The form of a path that system calls take. "D:" becomes the root of the drive, because it is
// "D:\" without its trailing separators; the system would take the drive's current directory.
std::wstring SystemPath(std::string_view path) {
  std::wstring wide = Wide(path);
  if (wide.size() == 2 && wide.back() == L':') wide += L'\\';
  return FullPath(wide).size() < kMaxPlainPath ? wide : WithoutLengthLimit(wide);
}

constexpr DWORD kShareContent = FILE_SHARE_READ | FILE_SHARE_WRITE;

struct FileMode {
  DWORD m_access = 0;
  DWORD m_disposition = 0;
  DWORD m_share = 0;  // what others may do while it is open
};

// A file open for writing cannot be moved or deleted until it is closed; one open for reading can.
// Append access without write access: the system moves every write to the end of the file.
FileMode ModeOf(std::string_view mode) {
  switch (mode.empty() ? 'r' : mode.front()) {
    case 'w':
      return {GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, kShareContent};
    case 'a':
      return {GENERIC_READ | FILE_APPEND_DATA, OPEN_ALWAYS, kShareContent};
    default:
      return {GENERIC_READ, OPEN_EXISTING, kShareContent | FILE_SHARE_DELETE};
  }
}

// A descriptor for a handle, -1 on failure; it owns the handle.
int DescriptorFor(HANDLE handle) {
  const int descriptor = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY);
  if (descriptor < 0) ::CloseHandle(handle);
  return descriptor;
}

struct CloseHandleOf {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOf>;

// Opens path without blocking anyone else; INVALID_HANDLE_VALUE on failure.
HANDLE OpenBesideOthers(const std::string& path, DWORD access, DWORD disposition) {
  return ::CreateFileW(SystemPath(path).c_str(), access, kShareContent | FILE_SHARE_DELETE, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::optional<FileIdentity> IdentityOf(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION found{};
  if (::GetFileInformationByHandle(file, &found) == 0) return std::nullopt;
  return FileIdentity{found.dwVolumeSerialNumber,
                      std::uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow};
}

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)); }

// ERROR_SUCCESS, or the reason why the lock could not be had. Locks keep others from the bytes they
// lie on; this one lies where no file has any.
DWORD TryLock(HANDLE file) {
  constexpr DWORD kFarBeyondTheEnd = 0x40000000;  // high half: 2^62
  OVERLAPPED place{};
  place.OffsetHigh = kFarBeyondTheEnd;
  constexpr DWORD kFlags = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
  return ::LockFileEx(file, kFlags, 0, 1, 0, &place) != 0 ? ERROR_SUCCESS : ::GetLastError();
}

struct CloseSearch {
  using pointer = HANDLE;
  void operator()(HANDLE search) const noexcept { ::FindClose(search); }
};
using Search = std::unique_ptr<HANDLE, CloseSearch>;

bool MakeOneDirectory(const std::wstring& path) {
  return ::CreateDirectoryW(path.c_str(), nullptr) != 0 || ::GetLastError() == ERROR_ALREADY_EXISTS;
}

// The arguments in UTF-8; when the system does not return them, those of the C library.
std::vector<std::string> Utf8Arguments(int argc, const char* const* argv) {
  struct FreeLocal {
    void operator()(wchar_t** words) const noexcept { ::LocalFree(words); }
  };
  int count = 0;
  const std::unique_ptr<wchar_t*[], FreeLocal> words(
      ::CommandLineToArgvW(::GetCommandLineW(), &count));
  if (!words) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Utf8(words[static_cast<std::size_t>(i)]));
  return arguments;
}

// text in quotes, as Windows programs parse their command line: backslashes before a quote count in
// pairs. File names contain no quotes; elsewhere a quote becomes \". With breaks_names, each '%'
// follows a '^' outside the quotes.
std::string Quoted(std::string_view text, bool breaks_names) {
  std::string quoted = "\"";
  std::size_t backslashes = 0;  // at the end so far
  const auto double_backslashes = [&] { quoted.append(std::exchange(backslashes, 0), '\\'); };
  for (const char c : text) {
    const bool is_name_end = c == '%' && breaks_names;
    if (c == '"' || is_name_end) double_backslashes();
    if (is_name_end) {
      quoted += "\"^%\"";
      continue;
    }
    if (c == '"') quoted += '\\';
    quoted += c;
    backslashes = c == '\\' ? backslashes + 1 : 0;
  }
  double_backslashes();
  return quoted + "\"";
}

// A handle that a child process inherits; empty on failure.
Handle OpenForChild(const std::wstring& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE const handle = ::CreateFileW(path.c_str(), access, kShareContent | FILE_SHARE_DELETE,
                                      &inherited, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

std::wstring CommandLine(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) {
    if (!line.empty()) line += ' ';
    line += Quoted(argument, false);
  }
  return Wide(line);
}

// working_directory: empty means that of this process.
PROCESS_INFORMATION StartProcess(const std::wstring& program, std::wstring command_line,
                                 HANDLE input, HANDLE output, DWORD flags,
                                 const std::string& working_directory) {
  STARTUPINFOW streams{};
  streams.cb = sizeof streams;
  streams.dwFlags = STARTF_USESTDHANDLES;
  streams.hStdInput = input;
  streams.hStdOutput = output;
  streams.hStdError = output;
  PROCESS_INFORMATION started{};
  const std::wstring directory = SystemPath(working_directory);
  ::CreateProcessW(program.c_str(), command_line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                   working_directory.empty() ? nullptr : directory.c_str(), &streams, &started);
  return started;
}

bool IsFile(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool EndsWithNoCase(std::wstring_view text, std::wstring_view ending) {
  if (text.size() < ending.size()) return false;
  const std::wstring_view tail = text.substr(text.size() - ending.size());
  return ::CompareStringOrdinal(tail.data(), static_cast<int>(tail.size()), ending.data(),
                                static_cast<int>(ending.size()), TRUE) == CSTR_EQUAL;
}

bool IsBatchFile(std::wstring_view path) {
  return EndsWithNoCase(path, L".bat") || EndsWithNoCase(path, L".cmd");
}

// The paths to try for a name in one directory, in order.
std::vector<std::wstring> WithEndings(const std::wstring& path) {
  std::vector<std::wstring> paths;
  for (const wchar_t* const ending : {L".exe", L".bat", L".cmd"}) {
    if (EndsWithNoCase(path, ending)) return {path};
    paths.push_back(path + ending);
  }
  return paths;
}

// The path of a program, empty when not found. Does not search the current directory, which may
// hold anything that came with the data.
std::wstring FindProgramFile(const std::string& name) {
  std::vector<std::string> places;
  if (name.find_first_of("\\/:") != std::string::npos) {
    places.push_back(name);
  } else {
    const std::string search_path = EnvironmentVariable("PATH").value_or(std::string());
    for (std::size_t begin = 0; begin <= search_path.size();) {
      const std::size_t end = std::min(search_path.find(';', begin), search_path.size());
      if (end > begin) places.push_back(search_path.substr(begin, end - begin) + "\\" + name);
      begin = end + 1;
    }
  }
  for (const std::string& place : places)
    for (const std::wstring& path : WithEndings(SystemPath(place)))
      if (IsFile(path)) return path;
  return {};
}

// The shell that runs batch files interprets these even inside quotes.
bool SurvivesBatchShell(std::string_view text) {
  return text.find_first_of("%\"\r\n") == std::string_view::npos;
}

// A shell command line with the switches that turn off autorun commands (/d) and '!' expansion
// (/v:off). With /s the shell removes the outer pair of quotes; inside the inner ones only the
// characters that SurvivesBatchShell refuses have a meaning.
std::wstring BatchCommandLine(const std::wstring& path, const std::vector<std::string>& arguments) {
  std::wstring line = L"cmd.exe /d /v:off /s /c \"\"" + path + L"\"";
  for (std::size_t i = 1; i < arguments.size(); ++i)
    line += L" " + Wide(Quoted(arguments[i], false));
  return line + L"\"";
}

std::wstring ShellPath() {
  std::wstring directory(MAX_PATH, L'\0');
  directory.resize(::GetSystemDirectoryW(directory.data(), MAX_PATH));
  return directory + L"\\cmd.exe";
}

// A pipe with a second end that a child process inherits; empty on failure.
std::array<Handle, 2> MakePipe() {
  SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE reader = nullptr;
  HANDLE writer = nullptr;
  if (::CreatePipe(&reader, &writer, &inherited, 0) == 0) return {};
  std::array<Handle, 2> ends{Handle(reader), Handle(writer)};
  ::SetHandleInformation(reader, HANDLE_FLAG_INHERIT, 0);
  return ends;
}

// Starts a program and returns its handle without waiting for it; empty on failure.
Handle StartProgram(const std::vector<std::string>& arguments, HANDLE output,
                    std::string& failure) {
  const std::wstring path = FindProgramFile(arguments.front());
  const bool is_batch = IsBatchFile(path);
  if (path.empty()) {
    failure = "No such file or directory";
    return {};
  }
  if (is_batch &&
      !(SurvivesBatchShell(Utf8(path)) && std::ranges::all_of(arguments, &SurvivesBatchShell))) {
    failure = "a batch file cannot be given text with % or \" in it";
    return {};
  }
  const Handle input = OpenForChild(L"NUL", GENERIC_READ, OPEN_EXISTING);
  const PROCESS_INFORMATION started =
      StartProcess(is_batch ? ShellPath() : path,
                   is_batch ? BatchCommandLine(path, arguments) : CommandLine(arguments),
                   input.get(), output, 0, {});
  if (started.hProcess == nullptr) {
    failure = std::system_category().message(static_cast<int>(::GetLastError()));
    return {};
  }
  ::CloseHandle(started.hThread);
  return Handle(started.hProcess);
}

// Makes the console show bytes as UTF-8 while this object lives, and restores the user's setting at
// the end, also when Ctrl-C ends this program (not when it is killed or aborts). Leaves a console
// that already shows UTF-8 alone: if our parent set that, we must not undo its restore.
class Utf8Console {
 public:
  Utf8Console() noexcept {
    const UINT present = ::GetConsoleOutputCP();
    if (present == 0 || present == CP_UTF8) return;
    former = present;
    ::SetConsoleCtrlHandler(&GiveBackBeforeTheEnd, TRUE);
    ::SetConsoleOutputCP(CP_UTF8);
  }
  ~Utf8Console() { GiveBack(); }
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;

 private:
  static void GiveBack() noexcept {
    if (const UINT code_page = former.exchange(0)) ::SetConsoleOutputCP(code_page);
  }
  // The handlers called after this one decide whether the program ends. Those of NoteStopRequests
  // are called before it and stop the request there.
  static BOOL WINAPI GiveBackBeforeTheEnd(DWORD /*event*/) {
    GiveBack();
    return FALSE;
  }

  static inline std::atomic<UINT> former = 0;  // 0: nothing to restore
};

}  // namespace

const char kPathSeparator = '\\';
const bool kFileNamesIgnoreCase = true;
const std::string_view kSearchPathSeparator = ";";
const std::string_view kProgramEnding = ".exe";

int CallMain(int argc, const char* const* argv, int (*body)(int, const char* const*)) {
  const std::vector<std::string> arguments = Utf8Arguments(argc, argv);
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  pointers.push_back(nullptr);
  for (std::FILE* const stream : {stdin, stdout, stderr})
    static_cast<void>(::_setmode(::_fileno(stream), _O_BINARY));
  const Utf8Console console;
  ConnectStandardStreams();
  IgnoreWriteSignals();
  return body(static_cast<int>(arguments.size()), pointers.data());
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const std::wstring wide_name = Wide(name);
  ::SetLastError(ERROR_SUCCESS);
  const DWORD size = ::GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
  if (size == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  std::wstring value(size, L'\0');
  value.resize(::GetEnvironmentVariableW(wide_name.c_str(), value.data(), size));
  return Utf8(value);
}

bool SetEnvironment(const std::string& name, const std::string& value) noexcept {
  return ::SetEnvironmentVariableW(Wide(name).c_str(), Wide(value).c_str()) != 0;
}

// The shell expands a variable name between two '%' even inside quotes, unless a '^' outside the
// quotes breaks the name.
std::string QuotedForShell(std::string_view text) {
  return Quoted(text, std::ranges::count(text, '%') > 1);
}

// The system itself refuses a directory.
File File::Open(const std::string& path, std::string_view mode) {
  File file;
  file.m_path = path;
  const FileMode how = ModeOf(mode);
  HANDLE const handle = ::CreateFileW(SystemPath(path).c_str(), how.m_access, how.m_share, nullptr,
                                      how.m_disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) file.m_descriptor = DescriptorFor(handle);
  return file;
}

std::size_t File::Read(char* bytes, std::size_t size) {
  const auto block = static_cast<unsigned>(std::min(size, kMaxBlockBytes));
  const int count = IsOpen() ? ::_read(m_descriptor, bytes, block) : -1;
  if (count < 0) throw "Cannot read " + m_path;
  return static_cast<std::size_t>(count);
}

bool File::Write(std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const auto block = static_cast<unsigned>(std::min(bytes.size(), kMaxBlockBytes));
    const int count = IsOpen() ? ::_write(m_descriptor, bytes.data(), block) : -1;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool File::Seek(std::int64_t offset_bytes) noexcept {
  return IsOpen() && offset_bytes >= 0 &&
         ::_lseeki64(m_descriptor, offset_bytes, SEEK_SET) == offset_bytes;
}

std::int64_t File::SizeBytes() const noexcept {
  struct ::_stat64 status {};
  const bool has_size =
      IsOpen() && ::_fstat64(m_descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
  return has_size ? status.st_size : 0;
}

std::optional<FileIdentity> File::Identity() const noexcept {
  HANDLE const file = HandleOf(m_descriptor);
  if (!IsOpen() || ::GetFileType(file) != FILE_TYPE_DISK) return std::nullopt;
  return IdentityOf(file);
}

bool File::Sync() noexcept {
  if (!SyncsFiles() || !IsOpen()) return true;
  HANDLE const file = HandleOf(m_descriptor);
  if (::GetFileType(file) != FILE_TYPE_DISK || ::FlushFileBuffers(file) != 0) return true;
  const DWORD error = ::GetLastError();
  return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
}

std::optional<FileIdentity> IdentityAt(const std::string& path) {
  HANDLE const file = OpenBesideOthers(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING);
  if (file == INVALID_HANDLE_VALUE) return std::nullopt;
  const Handle owner(file);
  if (::GetFileType(file) != FILE_TYPE_DISK) return std::nullopt;
  return IdentityOf(file);
}

std::optional<FileStamp> StampAt(const std::string& path) {
  constexpr std::int64_t kFrom1601To1970 = 116'444'736'000'000'000;  // in units of 100 ns
  WIN32_FILE_ATTRIBUTE_DATA found{};
  if (::GetFileAttributesExW(SystemPath(path).c_str(), GetFileExInfoStandard, &found) == 0 ||
      (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
    return std::nullopt;
  const auto joined = [](DWORD high, DWORD low) {
    return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
  };
  return FileStamp{
      joined(found.nFileSizeHigh, found.nFileSizeLow),
      (joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime) -
       kFrom1601To1970) *
          100};
}

FileState StateAt(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(SystemPath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = ::GetLastError();
    const bool is_absent = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
                           error == ERROR_INVALID_NAME || error == ERROR_BAD_NETPATH;
    return is_absent ? FileState::kAbsent : FileState::kUnreadable;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileState::kDirectory;
  return File::Open(path, "r").IsOpen() ? FileState::kReadable : FileState::kUnreadable;
}

bool IsNamedPipe(const std::string& /*path*/) noexcept { return false; }

// Names are stored with the bytes here, and a directory cannot be flushed by its user.
bool SyncDirectory(const std::string& /*path*/) noexcept { return true; }

bool File::Close() noexcept {
  if (!IsOpen()) return true;
  return ::_close(std::exchange(m_descriptor, -1)) == 0;
}

std::optional<FileLock> FileLock::TryTake(const std::string& path) {
  HANDLE const file = OpenBesideOthers(path, GENERIC_READ | FILE_APPEND_DATA, OPEN_ALWAYS);
  if (file == INVALID_HANDLE_VALUE) return FileLock();
  Handle owner(file);
  if (::GetFileType(file) != FILE_TYPE_DISK) return FileLock();
  const DWORD reason = TryLock(file);
  // Another holder may have renamed or deleted it.
  if (reason == ERROR_SUCCESS && (!IdentityOf(file) || IdentityAt(path) != IdentityOf(file)))
    return std::nullopt;
  FileLock lock;
  lock.m_is_held_elsewhere = reason == ERROR_LOCK_VIOLATION || reason == ERROR_IO_PENDING;
  if (reason == ERROR_SUCCESS) lock.m_file.m_descriptor = DescriptorFor(owner.release());
  return lock;
}

bool IsDirectory(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(SystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::optional<std::vector<std::string>> ListDirectoryNames(const std::string& path) {
  if (!IsDirectory(path)) return std::nullopt;
  WIN32_FIND_DATAW entry{};
  HANDLE const first = ::FindFirstFileW(SystemPath(path + "\\*").c_str(), &entry);
  std::vector<std::string> names;
  if (first == INVALID_HANDLE_VALUE) {
    if (::GetLastError() != ERROR_FILE_NOT_FOUND) return std::nullopt;
    return names;  // an empty drive's root
  }
  const Search search(first);
  do {
    names.push_back(Utf8(entry.cFileName));
  } while (::FindNextFileW(search.get(), &entry) != 0);
  if (::GetLastError() != ERROR_NO_MORE_FILES) return std::nullopt;
  return names;
}

std::string AbsolutePath(const std::string& path) { return Utf8(FullPath(SystemPath(path))); }

// Makes the parts one by one after the drive or the host; creating a share fails harmlessly.
bool MakeDirectoryTree(const std::string& path) {
  if (IsDirectory(path)) return true;
  const std::wstring full = WithoutLengthLimit(Wide(path));
  const std::size_t root = full.find(L'\\', kLongPrefix.size());
  for (std::size_t at = full.find(L'\\', root + 1); at != std::wstring::npos;
       at = full.find(L'\\', at + 1))
    MakeOneDirectory(full.substr(0, at));
  MakeOneDirectory(full);
  return IsDirectory(path);
}

// A new directory inherits the rights of its parent, which for the temporary folder are the user's.
bool MakeNewDirectory(const std::string& path) noexcept {
  return ::CreateDirectoryW(SystemPath(path).c_str(), nullptr) != 0;
}

bool DeleteFileAt(const std::string& path) noexcept {
  return ::DeleteFileW(SystemPath(path).c_str()) != 0;
}

// std::filesystem does not support long paths.
bool DeleteDirectoryTree(const std::string& path) {
  const std::wstring directory = SystemPath(path);
  const DWORD attributes = ::GetFileAttributesW(directory.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return true;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    for (const std::string& name : ListDirectoryNames(path).value_or(std::vector<std::string>())) {
      if (name == "." || name == "..") continue;
      const std::string entry = path + '\\' + name;
      if (!DeleteFileAt(entry)) static_cast<void>(DeleteDirectoryTree(entry));
    }
  }
  return ::RemoveDirectoryW(directory.c_str()) != 0;
}

bool RenameFileAt(const std::string& from, const std::string& to) noexcept {
  return ::MoveFileExW(SystemPath(from).c_str(), SystemPath(to).c_str(),
                       MOVEFILE_REPLACE_EXISTING) != 0;
}

std::string ExecutableDirectory() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  while ((length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) ==
         path.size())
    path.resize(2 * path.size());
  path.resize(length);
  return Utf8(path.substr(0, std::min(path.find_last_of(L'\\'), path.size())));
}

LocalTime CurrentLocalTime() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wDayOfWeek};
}

bool StandardErrorIsTerminal() noexcept {
  DWORD mode = 0;
  return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

// The shell removes one pair of quotes when the line begins with a quote and contains more.
ChildProcess ChildProcess::Start(const std::string& command_line) {
  ChildProcess child;
  child.m_pipe = ::_wpopen((L"\"" + Wide(command_line) + L"\"").c_str(), L"rb");
  return child;
}

// It stays in the console's group, so a Ctrl-C reaches it too.
ChildProcess ChildProcess::Start(const std::vector<std::string>& arguments) {
  ChildProcess child;
  std::array<Handle, 2> ends = MakePipe();
  Handle process = StartProgram(arguments, ends[1].get(), child.m_failure);
  if (!process) return child;
  child.m_pipe = ::_fdopen(DescriptorFor(ends[0].release()), "rb");
  child.m_process = reinterpret_cast<std::intptr_t>(process.release());
  return child;
}

int ChildProcess::Wait() noexcept {
  if (m_pipe == nullptr) return 0;
  if (m_process == 0) return ::_pclose(std::exchange(m_pipe, nullptr));
  std::fclose(std::exchange(m_pipe, nullptr));
  const Handle process(reinterpret_cast<HANDLE>(std::exchange(m_process, 0)));
  DWORD status = 1;
  ::WaitForSingleObject(process.get(), INFINITE);
  ::GetExitCodeProcess(process.get(), &status);
  return static_cast<int>(status);
}

// The C library reserves the three descriptors, connected or not.
void ConnectStandardStreams() noexcept {}

struct BackgroundProcess::State {
  Handle m_job;  // of the process and its children; closing it ends them all
  Handle m_process;
  DWORD m_group = 0;  // the process group, for console events
};

namespace {

constexpr UINT kForcedStatus = 1;
constexpr DWORD kLookMs = 50;  // when there are more processes than one wait can take

std::atomic<bool> stop_requested = false;

// Signalled once per request.
HANDLE StopEvent() noexcept {
  static HANDLE const event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  return event;
}

// After a closed console or a logoff the system ends the process when this handler returns, or
// after some seconds. So this handler waits, to let the process end on its own.
BOOL WINAPI NoteStop(DWORD event) {
  stop_requested = true;
  ::SetEvent(StopEvent());
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return TRUE;
}

// A job that ends its processes when it is closed, even by the end of this process.
Handle MakeJob() {
  Handle job(::CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  const bool is_set = job && ::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation,
                                                       &limits, sizeof limits) != 0;
  return is_set ? std::move(job) : Handle();
}

}  // namespace

BackgroundProcess::BackgroundProcess() noexcept = default;
BackgroundProcess::BackgroundProcess(BackgroundProcess&& other) noexcept = default;

BackgroundProcess::~BackgroundProcess() {
  if (!IsRunning()) return;
  End(Ending::kForced);
  ::WaitForSingleObject(m_state->m_process.get(), INFINITE);
}

// A process in its own process group does not see Ctrl-C.
BackgroundProcess BackgroundProcess::Start(const std::vector<std::string>& arguments,
                                           const std::string& output_path,
                                           const std::string& working_directory) {
  const Handle input = OpenForChild(L"NUL", GENERIC_READ, OPEN_EXISTING);
  const Handle output = OpenForChild(SystemPath(output_path), GENERIC_WRITE, CREATE_ALWAYS);
  Handle job = MakeJob();
  if (!input || !output || !job) return {};
  // Starts suspended: it must start no child before it is in its job.
  const PROCESS_INFORMATION started =
      StartProcess(SystemPath(arguments.front()), CommandLine(arguments), input.get(), output.get(),
                   CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP, working_directory);
  if (started.hProcess == nullptr) return {};
  const Handle thread(started.hThread);
  Handle owner(started.hProcess);
  if (::AssignProcessToJobObject(job.get(), owner.get()) == 0) {
    ::TerminateProcess(owner.get(), kForcedStatus);
    return {};
  }
  ::ResumeThread(thread.get());
  BackgroundProcess process;
  process.m_state =
      std::make_unique<State>(State{std::move(job), std::move(owner), started.dwProcessId});
  return process;
}

std::optional<int> BackgroundProcess::Poll() noexcept {
  if (!IsRunning() || ::WaitForSingleObject(m_state->m_process.get(), 0) == WAIT_TIMEOUT)
    return std::nullopt;
  DWORD status = kForcedStatus;
  ::GetExitCodeProcess(m_state->m_process.get(), &status);
  m_state.reset();
  return static_cast<int>(status);
}

// Only a process on our console can be asked.
void BackgroundProcess::End(Ending ending) noexcept {
  if (!IsRunning()) return;
  const bool is_asked = ending == Ending::kAsked &&
                        ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, m_state->m_group) != 0;
  if (!is_asked) ::TerminateJobObject(m_state->m_job.get(), kForcedStatus);
}

void BackgroundProcess::WaitForAny(std::span<const BackgroundProcess> processes,
                                   int timeout_ms) noexcept {
  auto timeout = static_cast<DWORD>(timeout_ms);
  std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> handles{StopEvent()};
  DWORD count = 1;
  for (const BackgroundProcess& process : processes) {
    if (!process.IsRunning()) continue;
    if (count == handles.size())
      timeout = std::min(timeout, kLookMs);
    else
      handles[count++] = process.m_state->m_process.get();
  }
  if (::WaitForMultipleObjects(count, handles.data(), FALSE, timeout) == WAIT_FAILED)
    ::Sleep(timeout);
}

// A process that was started with Ctrl-C ignored keeps ignoring it.
void NoteStopRequests() noexcept {
  StopEvent();
  ::SetConsoleCtrlHandler(&NoteStop, TRUE);
}

bool StopRequested() noexcept { return stop_requested; }

StopRequestsNoted::~StopRequestsNoted() {
  ::SetConsoleCtrlHandler(&NoteStop, FALSE);
  if (stop_requested) ::ExitProcess(STATUS_CONTROL_C_EXIT);
}

// Windows has no such signals: a failed write returns an error.
void IgnoreWriteSignals() noexcept {}

}  // namespace tarvek
