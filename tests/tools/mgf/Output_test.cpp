#include "mgf/Output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::TemporaryDirectory;
using test::WriteFile;
using testing::ElementsAre;

class MgfOutputTest : public testing::Test {
 protected:
  /// Writes one scan of one block after the other as "run".
  void Write(std::size_t scans, std::uint64_t split_bytes, bool gzip) {
    MgfOutput output(m_directory / "run", {FindMgfProfile("comet"), gzip, split_bytes});
    for (std::size_t i = 0; i < scans; ++i) {
      MgfBlock block;
      block.m_run = "run";
      block.m_scan_no = static_cast<std::int32_t>(i) + 1;
      block.m_charge = 2;
      block.m_charge_text = "2+";
      block.m_pepmass_text = "500.0";
      block.m_peaks = "100.0 1.0\n";
      output.WriteScan({&block, 1}, "run.mgf");
    }
    output.Finish();
  }

  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_directory.Path()))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }

  TemporaryDirectory m_directory;
};

TEST_F(MgfOutputTest, LeavesNoOutputOfAnotherFormBesideTheNewOne) {
  Write(3, 0, false);
  EXPECT_THAT(Names(), ElementsAre("run.ids.tsv", "run.mgf"));
  Write(3, 1, false);  // a scan stays whole: three parts
  EXPECT_THAT(Names(),
              ElementsAre("run.ids.tsv", "run_part1.mgf", "run_part2.mgf", "run_part3.mgf"));
  Write(2, 1, true);
  EXPECT_THAT(Names(), ElementsAre("run.ids.tsv", "run_part1.mgf.gz", "run_part2.mgf.gz"));
  Write(2, 0, true);
  EXPECT_THAT(Names(), ElementsAre("run.ids.tsv", "run.mgf.gz"));
  Write(2, 0, false);
  EXPECT_THAT(Names(), ElementsAre("run.ids.tsv", "run.mgf"));
}

TEST_F(MgfOutputTest, LeavesTheOutputsOfOtherRunsAlone) {
  for (const char* name : {"run_part1.mgf", "run_part1.ids.tsv", "run_2.mgf", "run_part.mgf"})
    WriteFile(m_directory / name, "");
  WriteFile(m_directory / "run_part2.mgf", "");  // no map: a part of this run
  Write(1, 0, false);
  EXPECT_THAT(Names(), ElementsAre("run.ids.tsv", "run.mgf", "run_2.mgf", "run_part.mgf",
                                   "run_part1.ids.tsv", "run_part1.mgf"));
}

}  // namespace
}  // namespace tarvek::tools
