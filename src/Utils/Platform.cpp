// The code that all systems share.
#include "Platform.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

namespace tarvek {
namespace {

constexpr std::size_t kMaxPieceBytes = 2047;  // of a line of a child's output
constexpr int kMaxLockTries = 100;

std::string Padded(int value, char pad) {
  return (value < 10 ? std::string(1, pad) : std::string()) + std::to_string(value);
}

}  // namespace

File::File(File&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1)), m_path(std::move(other.m_path)) {}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    static_cast<void>(Close());
    m_descriptor = std::exchange(other.m_descriptor, -1);
    m_path = std::move(other.m_path);
  }
  return *this;
}

File::~File() { static_cast<void>(Close()); }

bool SyncsFiles() {
  const std::string value = EnvironmentVariable(kNoSyncVariable).value_or("");
  return value.empty() || value == "0";
}

// Between opening and locking, the holder before us may have moved the file to its final name, and
// we would hold that one. Then the path is tried again, but not for ever: there are file systems
// that never say that two names are of one file.
FileLock FileLock::Take(const std::string& path) {
  for (int i = 0; i < kMaxLockTries; ++i)
    if (std::optional<FileLock> lock = TryTake(path)) return std::move(*lock);
  return {};
}

std::string AsctimeText(const LocalTime& time) {
  static constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed",
                                                       "Thu", "Fri", "Sat"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  return std::string(kDays.at(static_cast<std::size_t>(time.m_weekday))) + ' ' +
         kMonths.at(static_cast<std::size_t>(time.m_month - 1)) + ' ' + Padded(time.m_day, ' ') +
         ' ' + Padded(time.m_hour, '0') + ':' + Padded(time.m_minute, '0') + ':' +
         Padded(time.m_second, '0') + ' ' + std::to_string(time.m_year) + '\n';
}

std::int64_t MonotonicMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : m_pipe(std::exchange(other.m_pipe, nullptr)),
      m_process(std::exchange(other.m_process, 0)),
      m_failure(std::move(other.m_failure)) {}

ChildProcess::~ChildProcess() { static_cast<void>(Wait()); }

// Byte by byte, because fgets does not say where a line with a NUL byte ends.
bool ChildProcess::ReadLine(std::string& line) {
  line.clear();
  while (line.size() < kMaxPieceBytes) {
    errno = 0;
    const int c = std::getc(m_pipe);
    if (c != EOF) {
      line.push_back(static_cast<char>(c));
      if (c == '\n') return true;
    } else if (std::ferror(m_pipe) != 0 && errno == EINTR) {
      std::clearerr(m_pipe);
    } else {
      break;
    }
  }
  return !line.empty();
}

bool ChildProcess::AtEnd() const noexcept { return std::feof(m_pipe) != 0; }

}  // namespace tarvek
