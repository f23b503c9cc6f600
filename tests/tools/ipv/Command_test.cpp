#include "ipv/Command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "ipv/AveragineTable.h"
#include "ipv/TableFile.h"

namespace tarvek::tools {
namespace {

using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

/// Parses "ipv" and these arguments, and so runs the subcommand.
void RunIpv(std::vector<std::string> arguments) {
  CLI::App app;
  AddIpvCommand(app);
  arguments.insert(arguments.begin(), "ipv");
  std::ranges::reverse(arguments);  // the order in which App::parse takes a vector
  app.parse(arguments);
}

TEST(IsotopeTableText, HasSixDecimalsBlanksBetweenNumbersAndALineFeedPerRow) {
  const std::array<IsotopeEnvelope, 2> rows{
      {{1.0, 0.5, 0.25, 0.0000004, 0.0000006}, {0.125, 1.0, 0.0, 0.0, 0.0}}};
  EXPECT_EQ(IsotopeTableText(rows),
            "1.000000 0.500000 0.250000 0.000000 0.000001\n"
            "0.125000 1.000000 0.000000 0.000000 0.000000\n");
}

TEST(IsotopeTableText, IsEmptyForNoRows) { EXPECT_EQ(IsotopeTableText({}), ""); }

TEST(IpvCommand, WritesTheCommittedTable) {
  const TemporaryDirectory directory;
  RunIpv({directory / "IPV.txt"});
  // EXPECT_TRUE, as nobody wants to read two tables of 15000 rows in a message.
  EXPECT_TRUE(ReadFile(directory / "IPV.txt") == ReadFile(TARVEK_SOURCE_DIR "/data/IPV.txt"))
      << "data/IPV.txt is not what 'tarvek-tools ipv' writes";
}

TEST(IpvCommand, WritesTheLabelledTableOfTheGivenEnrichment) {
  const TemporaryDirectory directory;
  RunIpv({"--label", "n15", "--enrichment", "0.95", directory / "IPV.txt"});
  EXPECT_TRUE(ReadFile(directory / "IPV.txt") == IsotopeTableText(ComputeIsotopeTable(0.95)));
}

TEST(IpvCommand, TheUsualEnrichmentIsNinetyNinePercent) {
  const TemporaryDirectory directory;
  RunIpv({"--label", "n15", directory / "IPV.txt"});
  EXPECT_TRUE(ReadFile(directory / "IPV.txt") == IsotopeTableText(ComputeIsotopeTable(0.99)));
}

TEST(IpvCommand, LeavesNoUnfinishedFile) {
  const TemporaryDirectory directory;
  RunIpv({directory / "IPV.txt"});
  EXPECT_FALSE(std::filesystem::exists(directory / "IPV.txt_unfinished"));
}

TEST(IpvCommand, ReplacesAnExistingFile) {
  const TemporaryDirectory directory;
  WriteFile(directory / "IPV.txt", "old");
  RunIpv({directory / "IPV.txt"});
  EXPECT_EQ(ReadFile(directory / "IPV.txt").substr(0, 9), "1.000000 ");
}

TEST(IpvCommand, AMissingDirectoryIsAnErrorThatNamesThePath) {
  const TemporaryDirectory directory;
  EXPECT_EQ(MessageOf([&] { RunIpv({directory / "none/IPV.txt"}); }),
            "Cannot open isotope table File, Path: " + directory / "none/IPV.txt_unfinished");
}

TEST(IpvCommand, AFullDiskIsAnErrorThatLeavesTheFormerFileAlone) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const TemporaryDirectory directory;
  WriteFile(directory / "IPV.txt", "old");
  std::filesystem::create_symlink("/dev/full", directory / "IPV.txt_unfinished");
  EXPECT_EQ(MessageOf([&] { RunIpv({directory / "IPV.txt"}); }),
            "Cannot write " + directory / "IPV.txt_unfinished");
  EXPECT_EQ(ReadFile(directory / "IPV.txt"), "old");
}

TEST(IpvCommand, ADirectoryInPlaceOfTheFileIsAnErrorThatLeavesNothingBehind) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory / "IPV.txt");
  EXPECT_EQ(MessageOf([&] { RunIpv({directory / "IPV.txt"}); }),
            "Cannot rename file: " + directory / "IPV.txt_unfinished");
  EXPECT_FALSE(std::filesystem::exists(directory / "IPV.txt_unfinished"));
}

TEST(IpvCommand, AnUnknownLabelIsAnErrorThatNamesIt) {
  EXPECT_EQ(MessageOf([] {
              RunIpv({"--label", "c13", "never-written"});
            }),
            "--label: c13 not in {none,n15}");
}

class RefusedEnrichment : public testing::TestWithParam<const char*> {};

TEST_P(RefusedEnrichment, IsAnErrorThatNamesOptionAndValue) {
  const std::string value = GetParam();
  EXPECT_EQ(MessageOf([&] {
              RunIpv({"--label", "n15", "--enrichment=" + value, "never-written"});
            }),
            "--enrichment: must be above 0 and at most 1, not " + value);
}

INSTANTIATE_TEST_SUITE_P(OutsideTheRange, RefusedEnrichment,
                         testing::Values("0", "-0.5", "1.000001", "99", "nan", "inf", "1e999",
                                         "much"));

TEST(IpvCommand, AnEnrichmentWithTextBehindItIsAnError) {
  EXPECT_EQ(MessageOf([] {
              RunIpv({"--label", "n15", "--enrichment", "0.99x", "never-written"});
            }),
            "Could not convert: --enrichment = 0.99x");
}

TEST(IpvCommand, AnEnrichmentWithoutALabelIsAnError) {
  EXPECT_EQ(MessageOf([] {
              RunIpv({"--enrichment", "0.99", "never-written"});
            }),
            "--enrichment: needs --label n15");
}

TEST(IpvCommand, TheFileNameIsRequired) {
  EXPECT_EQ(MessageOf([] { RunIpv({}); }), "OUT is required");
}

}  // namespace
}  // namespace tarvek::tools
