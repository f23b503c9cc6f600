#include <gtest/gtest.h>

#include <filesystem>

#include "Logger.h"
#include "TestSupport.h"
#include "UserParameters.h"

namespace tarvek {
namespace {

// A link to itself is there and cannot be opened, by the system's administrator neither.
TEST(UnreadablePath, IsDroppedAndIsNotTakenForAMissingOne) {
  const test::TemporaryDirectory directory;
  const std::string loop = directory / "loop.ms1";
  std::filesystem::create_symlink(loop, loop);
  UserParameters record;
  const test::ConsoleText console = test::CaptureConsole(
      [&] { ApplyParameterTable(record, {{"datapath", loop}}, logMessage); });
  EXPECT_TRUE(record.m_datapaths.empty());
  EXPECT_EQ(console.m_err, "[Tarvek] <WARN> - Datapath: " + loop +
                               " is not a valid datapath.\n[Tarvek] <WARN> - Cannot open input "
                               "File, Path: " +
                               loop + "\n");
}

}  // namespace
}  // namespace tarvek
