// The program that tests of child processes start; its first argument is its task.
#if __has_include(<process.h>)  // one call with a name for each system
#include <process.h>
#else
#include <unistd.h>
#endif

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "ChildText.h"
#include "Platform.h"

namespace {

#if __has_include(<process.h>)
int OwnNumber() { return _getpid(); }
#else
int OwnNumber() { return getpid(); }
#endif

int PrintArguments(int count, const char* const* arguments) {
  for (int i = 2; i < count; ++i) std::printf("%s|", arguments[i]);
  return 0;
}

int PrintOnBothOutputs() {
  std::puts("out");
  std::fflush(stdout);
  std::fputs("err\n", stderr);
  return 0;
}

int PrintFile(const char* path) {
  tarvek::File file = tarvek::File::Open(path, "r");
  char bytes[100];
  std::fwrite(bytes, 1, file.IsOpen() ? file.Read(bytes, sizeof bytes) : 0, stdout);
  return 0;
}

int PrintVariable(const char* name) {
  std::fputs(tarvek::EnvironmentVariable(name).value_or("(none)").c_str(), stdout);
  return 0;
}

/// Prints the number of this process and does not end by itself.
int Wait() {
  std::printf("%d\n", OwnNumber());
  std::fflush(stdout);
  while (true) std::this_thread::sleep_for(std::chrono::seconds(1));
}

/// Starts one that waits, then waits too.
int WaitWithAnother() {
  tarvek::ChildProcess other = tarvek::ChildProcess::Start(
      tarvek::QuotedForShell(tarvek::test::BackgroundChild()) + " wait");
  std::string number;
  other.ReadLine(number);
  std::fputs(number.c_str(), stdout);
  return Wait();
}

int Run(int count, const char* const* arguments) {
  const std::string_view task = count < 2 ? "" : arguments[1];
  if (task == "arguments") return PrintArguments(count, arguments);
  if (task == "outputs") return PrintOnBothOutputs();
  if (task == "input") return std::getchar() == EOF ? 0 : 1;
  if (task == "file") return PrintFile(arguments[2]);
  if (task == "variable") return PrintVariable(arguments[2]);
  if (task == "status") return std::atoi(arguments[2]);
  if (task == "deaf") tarvek::NoteStopRequests();
  return task == "parent" ? WaitWithAnother() : Wait();
}

}  // namespace

int main(int argc, char** argv) { return tarvek::CallMain(argc, argv, &Run); }
