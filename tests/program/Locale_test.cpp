// A locale with a decimal comma must not change a byte.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ProgramTest.h"

namespace tarvek::test {
namespace {

class GermanLocale : public PairTest {
 protected:
  /// Compiles the locale if the tool for it is installed; otherwise the variables are still set,
  /// and the C library falls back on its own locale.
  GermanLocale() {
    const char* const compiler = "/usr/bin/localedef";
    if (!std::filesystem::exists(compiler)) return;
    MakeFolder("locales");
    ProcessRequest request = Request({"-i", "de_DE", "-f", "UTF-8", Path("locales/de_DE.UTF-8")});
    request.m_program = compiler;
    RunRequest(request);
  }
  const ProcessResult& RunGerman(std::vector<std::string> arguments) {
    ProcessRequest request = Request(std::move(arguments));
    request.m_environment = {{"LC_ALL", "de_DE.UTF-8"}, {"LANG", "de_DE.UTF-8"}};
    if (Exists("locales/de_DE.UTF-8")) request.m_environment["LOCPATH"] = Path("locales");
    return RunRequest(request);
  }
};

TEST_F(GermanLocale, GivesTheSameBytes) {
  EXPECT_EQ(RunGerman({"-D", "run.ms1", "-O", "out"}).m_exit_status, 0);
  EXPECT_EQ(OutputsIn(Path("out")), OutputsIn(GoldenFolder() + "/default"));
}
TEST_F(GermanLocale, ReadsTheSameNumbersFromOptions) {
  Run({"-D", "run.ms1", "-O", "plain", "-t", "0.2", "-W", "2.5"});
  RunGerman({"-D", "run.ms1", "-O", "german", "-t", "0.2", "-W", "2.5"});
  EXPECT_EQ(OutputsIn(Path("german")), OutputsIn(Path("plain")));
}
TEST_F(GermanLocale, ShowsTheSameUsage) {
  const std::string plain = Run({"--help"}).m_out;
  EXPECT_EQ(RunGerman({"--help"}).m_out, plain);
}

}  // namespace
}  // namespace tarvek::test
