// A finished table that another program has open.
#include <gtest/gtest.h>

#include <filesystem>

#include "OutputSet.h"
#include "Platform.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

TEST(OldTable, ThatCannotBeDeletedStaysAndStandsAlone) {
  const test::TemporaryDirectory directory;
  UserParameters parameters = test::ParametersFor(directory);
  SetCurrentFile(parameters, "C:\\elsewhere\\run.ms1");
  test::WriteFile(directory / "run.csv", "old");
  std::string message;
  {
    const File spreadsheet = File::Open(directory / "run.csv", "a+");
    OutputClaim claim(parameters);
    message = test::MessageOf([&] { const OutputSet outputs(parameters, claim); });
  }
  EXPECT_EQ(message, "Cannot delete file: " + (directory / "run.csv"));
  EXPECT_EQ(test::ReadFile(directory / "run.csv"), "old");
  EXPECT_FALSE(std::filesystem::exists(directory / "run.csv_unfinished"));
}

}  // namespace
}  // namespace tarvek
