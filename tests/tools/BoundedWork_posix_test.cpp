// Hostile tables, records, MGF and parameter files of 10 MB through tarvek-tools: 256 MB and 20 s suffice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PrecursorTable.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

using test::ProcessResult;
using test::WriteFile;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::size_t kInputBytes = 9'900'000;

class BoundedWork : public testing::Test {
 protected:
  BoundedWork() { WriteTable("HCD, FTMS, 7, -1.000000, -1, 1, 1, 500.0, 2, \n"); }

  void WriteTable(const std::string& rows) const {
    WriteFile(m_directory / "b.csv", std::string(kPrecursorTableHeader) + rows);
  }

  /// Starts with the right memory limit and fails above 20 s.
  ProcessResult Tools(std::vector<std::string> arguments) const {
    const ProcessResult result = test::RunProcess(
        InLittleMemory(test::ToolsRequest(std::move(arguments), m_directory.Path())));
    EXPECT_LT(result.m_cpu_seconds, 20.0);
    EXPECT_EQ(result.m_signal, 0);
    EXPECT_THAT(result.m_err, testing::Not(HasSubstr("memory")));
    return result;
  }

  test::TemporaryDirectory m_directory;
};

std::string Repeated(std::string_view text, std::size_t bytes) {
  std::string repeated;
  while (repeated.size() < bytes) repeated += text;
  return repeated;
}

TEST_F(BoundedWork, OfParameterFilesWithManyKeys) {
  std::string unknown = "datanum = 0\n";
  for (int i = 0; i < 19'000; ++i) unknown += std::string(500, 'k') + std::to_string(i) + "=\n";
  WriteFile(m_directory / "unknown.params", unknown);
  EXPECT_THAT(Tools({"check", "unknown.params"}).m_out, EndsWith("19001 warnings, 0 notes\n"));
  std::string paths = "datanum = 19000\n";
  for (int i = 1; i <= 19'000; ++i)
    paths += "datapath" + std::to_string(i) + " = " + std::string(480, 'x') + "\n";
  WriteFile(m_directory / "paths.params", paths);
  EXPECT_EQ(Tools({"check", "--json", "paths.params"}).m_exit_status, 1);
}

TEST_F(BoundedWork, OfWideRowsAndTables) {
  const std::string tabs(kInputBytes, '\t');
  WriteFile(m_directory / "truth.tsv", tabs + "\n");
  EXPECT_THAT(Tools({"score", "b.csv", "truth.tsv"}).m_err,
              HasSubstr("truth.tsv, line 1: more than 10000 fields."));
  for (const std::string ending : {"precursors", "nativeid"})
    WriteFile(m_directory / ("b." + ending + ".tsv"), tabs + "\n");
  EXPECT_THAT(Tools({"table", "b"}).m_err,
              HasSubstr("b.precursors.tsv, line 1: more than 10000 fields."));
  for (const std::string ending : {"precursors", "nativeid"})
    std::filesystem::remove(m_directory / ("b." + ending + ".tsv"));
  for (const std::string& row : std::vector<std::string>{
           "HCD, FTMS, 7, -1.000000, -1, 900000, " + Repeated("1, 5.5, 2, ", kInputBytes),
           std::string(kInputBytes, ',')}) {
    WriteTable(row + "\n");
    for (const char* const command : {"table", "report", "check"}) {
      const ProcessResult result = Tools({command, "b.csv"});
      EXPECT_EQ(result.m_exit_status, 1);
      EXPECT_THAT(result.m_out + result.m_err, HasSubstr("more than 6006 fields")) << command;
    }
  }
}

TEST_F(BoundedWork, OfTablesWithVeryManyPrecursors) {
  std::string rows;
  for (int scan = 1; rows.size() < kInputBytes; ++scan)
    rows += "HCD, FTMS, " + std::to_string(scan) + ", 5.0, 2, 1000, " +
            Repeated("1, 5, 2, ", 9'000) + "\n";
  WriteTable(rows);
  for (const char* const command : {"table", "report", "check"})
    EXPECT_EQ(Tools({command, "b.csv"}).m_exit_status, 0) << command;
}

TEST_F(BoundedWork, OfRecordsWithManySettings) {
  std::string record;
  for (int i = 0; record.size() < kInputBytes; ++i)
    record += "setting\tk" + std::to_string(i) + "\t\n";
  WriteFile(m_directory / "b.tarvek", record);
  EXPECT_THAT(Tools({"report", "b"}).m_err,
              HasSubstr("b.tarvek: line 10001: more than 10000 entries of one kind"));
}

TEST_F(BoundedWork, OfMgfWithBlocksOfOneScan) {
  std::string blocks;
  for (int i = 0; blocks.size() < kInputBytes; ++i)
    blocks += "BEGIN IONS\nTITLE=a.5.5.2." + std::to_string(i) +
              ".dta\nCHARGE=2+\nRTINSECONDS=1\nPEPMASS=1.0\nEND IONS\n";
  WriteFile(m_directory / "b_HCDFT.mgf", blocks);
  for (const char* const engine : {"comet", "sage"})
    EXPECT_THAT(Tools({"mgf", "--engine", engine, "--split", "1kb", "--gzip", "--out", "out",
                       "b_HCDFT.mgf"})
                    .m_err,
                HasSubstr("more than 2000 blocks of scan 5"));
  EXPECT_TRUE(std::filesystem::is_empty(m_directory / "out"));
}

}  // namespace
}  // namespace tarvek::tools
