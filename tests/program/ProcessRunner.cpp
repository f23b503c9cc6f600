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

constexpr std::chrono::seconds kLongestRun{300};
constexpr int kExecFailed = 127;
constexpr const char* kForeignPrograms = "TARVEK_TEST_PROGRAMS";

/// A descriptor that is closed at the end of its life.
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
  if (!request.m_file_size_limit_bytes) return;
  const rlimit size{*request.m_file_size_limit_bytes, *request.m_file_size_limit_bytes};
  ::setrlimit(RLIMIT_FSIZE, &size);
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

/// Appends what there is to read; false at the end of the pipe.
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

/// Reads both pipes to their ends and sends the child a signal at deadline.
void Collect(OutputEnds& ends, pid_t child, Clock::time_point deadline, int signal,
             ProcessResult& result) {
  bool killed = false;
  while (ends.m_out.m_read.Number() >= 0 || ends.m_err.m_read.Number() >= 0) {
    std::array<pollfd, 2> polled{
        {{ends.m_out.m_read.Number(), POLLIN, 0}, {ends.m_err.m_read.Number(), POLLIN, 0}}};
    const timespec left = TimeUntil(deadline);
    const int ready = ::ppoll(polled.data(), polled.size(), killed ? nullptr : &left, nullptr);
    if (ready == 0) {
      ::kill(child, signal);
      killed = true;
    }
    if (ready <= 0) continue;
    if (polled[0].revents != 0 && !ReadSome(ends.m_out.m_read, result.m_out))
      ends.m_out.m_read.Close();
    if (polled[1].revents != 0 && !ReadSome(ends.m_err.m_read, result.m_err))
      ends.m_err.m_read.Close();
  }
}

void Reap(pid_t child, ProcessResult& result) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
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
  if (m_state->m_child < 0) return;
  Signal(SIGKILL);
  ProcessResult ignored;
  Reap(m_state->m_child, ignored);
}

int RunningProcess::Id() const { return m_state->m_child; }

void RunningProcess::Signal(int number) const { ::kill(m_state->m_child, number); }

ProcessResult RunningProcess::Wait() {
  const ProcessRequest& request = m_state->m_request;
  const pid_t child = std::exchange(m_state->m_child, -1);
  ProcessResult result;
  const auto longest = request.m_kill_after.value_or(kLongestRun);
  const int signal = request.m_kill_after ? request.m_kill_signal : SIGKILL;
  Collect(m_state->m_ends, child, m_state->m_start + longest, signal, result);
  Reap(child, result);
  if (result.m_exit_status == kExecFailed)
    throw std::runtime_error("cannot run " + request.m_program);
  if (!request.m_kill_after && result.m_signal == SIGKILL)
    throw std::runtime_error(request.m_program + " did not end in time");
  return result;
}

ProcessResult RunProcess(const ProcessRequest& request) { return RunningProcess(request).Wait(); }

}  // namespace tarvek::test
