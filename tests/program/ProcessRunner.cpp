#include "ProcessRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace tarvek::test {
namespace {

using Clock = std::chrono::steady_clock;

/// How long outputs are read after the process was killed: its children may hold them open.
constexpr std::chrono::seconds kLastWords{2};
constexpr int kExecFailed = 127;
constexpr const char* kForeignPrograms = "TARVEK_TEST_PROGRAMS";

/// A descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : m_number(number) {}
  Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_number, other.m_number);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  ~Descriptor() { Close(); }
  void Close() {
    if (m_number >= 0) ::close(std::exchange(m_number, -1));
  }
  [[nodiscard]] int Number() const { return m_number; }

 private:
  int m_number;
};

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    m_read = Descriptor(ends[0]);
    m_write = Descriptor(ends[1]);
  }
  Descriptor m_read;
  Descriptor m_write;
};

struct OutputEnds {
  Pipe m_out;
  Pipe m_err;
};

std::vector<std::string> Environment(const ProcessRequest& request) {
  std::vector<std::string> entries;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (!request.m_environment.contains(text.substr(0, text.find('=')))) entries.push_back(text);
  }
  for (const auto& [name, value] : request.m_environment) entries.push_back(name + "=" + value);
  return entries;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

void LimitChild(const ProcessRequest& request) {
  const rlimit no_core{0, 0};
  ::setrlimit(RLIMIT_CORE, &no_core);
  if (request.m_file_size_limit_bytes) {
    const rlimit size{*request.m_file_size_limit_bytes, *request.m_file_size_limit_bytes};
    ::setrlimit(RLIMIT_FSIZE, &size);
  }
  if (request.m_memory_limit_bytes) {
    const rlimit size{*request.m_memory_limit_bytes, *request.m_memory_limit_bytes};
    ::setrlimit(RLIMIT_DATA, &size);
  }
}

void ConnectChild(const ProcessRequest& request, const OutputEnds& ends) {
  ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
  const bool full = request.m_standard_output == StandardOutput::kFullDevice;
  ::dup2(full ? ::open("/dev/full", O_WRONLY) : ends.m_out.m_write.Number(), STDOUT_FILENO);
  ::dup2(ends.m_err.m_write.Number(), STDERR_FILENO);
  const bool all_closed = request.m_standard_output == StandardOutput::kAllClosed;
  if (all_closed || request.m_standard_output == StandardOutput::kClosed) ::close(STDOUT_FILENO);
  if (!all_closed) return;
  ::close(STDIN_FILENO);
  ::close(STDERR_FILENO);
}

pid_t Start(const ProcessRequest& request, const OutputEnds& ends) {
  std::vector<std::string> arguments = request.m_arguments;
  arguments.insert(arguments.begin(), request.m_program);
  std::vector<std::string> environment = Environment(request);
  const std::vector<char*> argv = Pointers(arguments);
  const std::vector<char*> envp = Pointers(environment);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("cannot fork");
  if (child > 0) return child;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    std::signal(signal, SIG_DFL);  // the test program may ignore them, as under nohup
  ConnectChild(request, ends);
  LimitChild(request);
  if (::chdir(request.m_working_directory.c_str()) == 0)
    ::execve(request.m_program.c_str(), argv.data(), envp.data());
  ::_exit(kExecFailed);
}

/// Appends the available bytes; false at the end of the pipe.
bool ReadSome(const Descriptor& end, std::string& text) {
  std::array<char, 1 << 16> block{};
  const ssize_t count = ::read(end.Number(), block.data(), block.size());
  if (count > 0) text.append(block.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

timespec TimeUntil(Clock::time_point moment) {
  const auto left = std::max(Clock::duration::zero(), moment - Clock::now());
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
  return {nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
}

struct Alarm {
  Clock::time_point m_moment;
  int m_signal;  // 0 at the last one: nothing more is read
  bool m_is_time_limit = false;
};

std::vector<Alarm> AlarmsOf(const ProcessRequest& request, Clock::time_point start) {
  std::vector<Alarm> alarms;
  if (request.m_kill_after)
    alarms.push_back({start + *request.m_kill_after, request.m_kill_signal});
  if (!request.m_kill_after || request.m_kill_signal != SIGKILL)
    alarms.push_back({start + request.m_time_limit, SIGKILL, true});
  alarms.push_back({alarms.back().m_moment + kLastWords, 0});
  return alarms;
}

/// Reads both pipes to their ends or until the last of alarms, and sends the child their signals.
/// False when the time limit was reached.
bool Collect(OutputEnds& ends, pid_t child, const std::vector<Alarm>& alarms,
             ProcessResult& result) {
  bool in_time = true;
  auto alarm = alarms.begin();
  while (ends.m_out.m_read.Number() >= 0 || ends.m_err.m_read.Number() >= 0) {
    std::array<pollfd, 2> polled{
        {{ends.m_out.m_read.Number(), POLLIN, 0}, {ends.m_err.m_read.Number(), POLLIN, 0}}};
    const timespec left = TimeUntil(alarm->m_moment);
    const int ready = ::ppoll(polled.data(), polled.size(), &left, nullptr);
    if (ready == 0) {
      if (alarm->m_signal == 0) break;
      ::kill(child, alarm->m_signal);
      in_time = in_time && !alarm->m_is_time_limit;
      ++alarm;
    }
    if (ready <= 0) continue;
    if (polled[0].revents != 0 && !ReadSome(ends.m_out.m_read, result.m_out))
      ends.m_out.m_read.Close();
    if (polled[1].revents != 0 && !ReadSome(ends.m_err.m_read, result.m_err))
      ends.m_err.m_read.Close();
  }
  return in_time;
}

void Reap(pid_t child, ProcessResult& result) {
  int status = 0;
  rusage usage{};
  while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  for (const timeval& time : {usage.ru_utime, usage.ru_stime})
    result.m_cpu_seconds +=
        static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  if (WIFEXITED(status)) result.m_exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.m_signal = WTERMSIG(status);
}

}  // namespace

bool TestsForeignPrograms() { return std::getenv(kForeignPrograms) != nullptr; }

std::string TestedProgram(const std::string& built) {
  if (!TestsForeignPrograms()) return built;
  return std::string(std::getenv(kForeignPrograms)) + built.substr(built.rfind('/'));
}

std::string TestedFolder(const std::string& built) {
  return TestsForeignPrograms() ? std::string(std::getenv(kForeignPrograms)) + "/bin" : built;
}

ProcessResult WithSlashes(ProcessResult result) {
  if (TestsForeignPrograms())
    for (std::string* const text : {&result.m_out, &result.m_err})
      std::ranges::replace(*text, '\\', '/');
  return result;
}

struct RunningProcess::State {
  explicit State(ProcessRequest request) : m_request(std::move(request)) {}

  ProcessRequest m_request;
  Clock::time_point m_start = Clock::now();
  OutputEnds m_ends;
  pid_t m_child = -1;
};

RunningProcess::RunningProcess(const ProcessRequest& request)
    : m_state(std::make_unique<State>(request)) {
  if (request.m_standard_output == StandardOutput::kClosedPipe)
    m_state->m_ends.m_out.m_read.Close();
  m_state->m_child = Start(request, m_state->m_ends);
  m_state->m_ends.m_out.m_write.Close();
  m_state->m_ends.m_err.m_write.Close();
}

RunningProcess::~RunningProcess() {
  if (m_state->m_child >= 0) Kill();
}

int RunningProcess::Id() const { return m_state->m_child; }

void RunningProcess::Signal(int number) const {
  // After Wait there is no process, and -1 would mean every process.
  if (m_state->m_child > 0) ::kill(m_state->m_child, number);
}

bool RunningProcess::Stop() const {
  Signal(SIGSTOP);
  // The signal has only been sent by then: the process runs on for a moment.
  siginfo_t info{};
  while (::waitid(P_PID, static_cast<id_t>(Id()), &info, WSTOPPED | WEXITED | WNOWAIT) < 0 &&
         errno == EINTR) {
  }
  return info.si_code == CLD_STOPPED;
}

ProcessResult RunningProcess::Kill() {
  Signal(SIGKILL);
  ProcessResult result;
  Reap(std::exchange(m_state->m_child, -1), result);
  return result;
}

ProcessResult RunningProcess::Wait() {
  const ProcessRequest& request = m_state->m_request;
  const pid_t child = std::exchange(m_state->m_child, -1);
  ProcessResult result;
  const bool in_time = Collect(m_state->m_ends, child, AlarmsOf(request, m_state->m_start), result);
  Reap(child, result);
  if (result.m_exit_status == kExecFailed)
    throw std::runtime_error("cannot run " + request.m_program);
  if (!in_time) throw std::runtime_error(request.m_program + " did not end in time");
  return result;
}

ProcessRequest InLittleMemory(ProcessRequest request) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
  constexpr bool kIsSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
  constexpr bool kIsSanitized = false;
#endif
  constexpr std::uint64_t kBytes = std::uint64_t{256} << 20;
  if (!kIsSanitized && !TestsForeignPrograms()) request.m_memory_limit_bytes = kBytes;
  return request;
}

ProcessResult RunProcess(const ProcessRequest& request) { return RunningProcess(request).Wait(); }

}  // namespace tarvek::test
