// The log under limits that only a POSIX system sets.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Logger.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::ReadFile;

// In a separate process with a file-size limit of 0: every write to the log fails.
TEST(Logger, IgnoresALogFileThatCannotGrow) {
  const test::TemporaryDirectory directory;
  Logger logger;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    IgnoreWriteSignals();
    const rlimit limit{0, 0};
    int status = ::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? 0 : 1;
    try {
      CaptureConsole([&] {
        logger.SetLogDirectory(directory.Path());
        logger.Message(kInfo, "lost");
      });
    } catch (...) {
      status = 2;
    }
    ::_exit(status);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(ReadFile(directory / kLogFileName), "");
}

}  // namespace
}  // namespace tarvek
