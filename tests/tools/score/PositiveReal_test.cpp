#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "features/Command.h"
#include "report/Command.h"
#include "score/Command.h"

namespace tarvek::tools {
namespace {

struct Refusal {
  void (*m_add)(CLI::App&);
  std::vector<std::string> m_arguments;  // the last one first, as App::parse takes a vector
  std::string m_message;
};
class PositiveRealOption : public testing::TestWithParam<Refusal> {};

// gtest prints the parameter of a test that fails.
void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.m_message; }

TEST_P(PositiveRealOption, RefusesWhatIsNoSize) {
  CLI::App app;
  GetParam().m_add(app);
  std::vector<std::string> arguments = GetParam().m_arguments;
  EXPECT_EQ(test::MessageOf([&] { app.parse(arguments); }), GetParam().m_message);
}

INSTANTIATE_TEST_SUITE_P(
    OfTheCommands, PositiveRealOption,
    testing::Values(Refusal{AddReportCommand,
                            {"run", "nan", "--tol", "report"},
                            "--tol: must be a number above 0, not nan"},
                    Refusal{AddReportCommand,
                            {"run", "nan", "-W", "report"},
                            "--isolation-width: must be a number above 0, not nan"},
                    Refusal{AddReportCommand,
                            {"run", "inf", "-W", "report"},
                            "--isolation-width: must be a number above 0, not inf"},
                    Refusal{AddReportCommand,
                            {"run", "0", "-W", "report"},
                            "--isolation-width: must be a number above 0, not 0"},
                    Refusal{AddReportCommand,
                            {"run", "--tol=-1", "report"},
                            "--tol: must be a number above 0, not -1"},
                    Refusal{AddScoreCommand,
                            {"b", "a", "nan", "--tol", "score"},
                            "--tol: must be a number above 0, not nan"},
                    Refusal{AddFeaturesCommand,
                            {"nan", "-W", "features"},
                            "--isolation-width: must be a number above 0, not nan"},
                    Refusal{AddFeaturesCommand,
                            {"nan", "--tol", "features"},
                            "--tol: must be a number above 0, not nan"}));

}  // namespace
}  // namespace tarvek::tools
