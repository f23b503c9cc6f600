// The progress line is for a person at a terminal and for nobody else.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "GeneratedRun.h"
#include "ProgramTest.h"

namespace tarvek::test {
namespace {

/// What the program writes when its three streams are one terminal.
std::string OutputOnATerminal(const ProcessRequest& request) {
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    std::vector<std::string> words{request.m_program};
    words.insert(words.end(), request.m_arguments.begin(), request.m_arguments.end());
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (::chdir(request.m_working_directory.c_str()) == 0) ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  std::string text;
  char block[4096];
  for (ssize_t count = 0; (count = ::read(terminal, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  int status = 0;
  ::waitpid(child, &status, 0);
  ::close(terminal);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
  return text;
}

class TerminalTest : public PairTest {
 protected:
  TerminalTest() {
    const GeneratedRun run = GenerateRun(3, 4000);
    Write("long.ms1", run.m_ms1);
    Write("long.ms2", run.m_ms2);
  }
};

TEST_F(TerminalTest, ShowsTheProgressOfALongFileAndTakesItAway) {
  const std::string text = OutputOnATerminal(Request({"-D", "long.ms1", "-O", "out"}));
  ASSERT_NE(text.find(" scans/s"), std::string::npos) << "the run was too short to show progress";
  // A message starts its own line, never after the rest of the progress line.
  const std::size_t last_progress = text.rfind(" scans/s");
  EXPECT_NE(text.find("\r[Tarvek] <INFO> - ", last_progress), std::string::npos);
}

TEST_F(TerminalTest, KeepsTheProgressOutOfThePipesAndTheLog) {
  Run({"-D", "long.ms1", "-O", "out"});
  EXPECT_EQ(m_result.m_err, "");
  EXPECT_EQ(m_result.m_out.find("scans/s"), std::string::npos);
  EXPECT_EQ(Content(std::string("out/") + kLog).find("scans/s"), std::string::npos);
}

}  // namespace
}  // namespace tarvek::test
