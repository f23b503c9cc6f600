#include "SpectrumWriterGroup.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Logger.h"
#include "MgfWriter.h"
#include "PfWriter.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::TemporaryDirectory;

MS2Spectrum Scan(const std::string& activation, const std::string& instrument) {
  MS2Spectrum scan;
  scan.m_scan_no = 5;
  scan.m_activation_type = activation;
  scan.m_instrument_type = instrument;
  scan.m_precursors = {{500.0, 2}};
  return scan;
}

std::string Info(const std::string& text) { return "[Tarvek] <INFO> - " + text + "\n"; }

std::string FinishLog(const std::string& path, int count) {
  return Info("Closed " + path) + Info("Finished Operations on " + path) +
         Info("Scan Number in " + path + ": " + std::to_string(count));
}

TEST(SpectrumWriterGroup, InsertsTheTypesBeforeTheExtension) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
    group.Write(Scan("HCD", "FTMS"));
    group.Write(Scan("ETHCD", "FT"));
    group.Close();
  });
  EXPECT_TRUE(std::filesystem::exists(directory / "run1_HCDFTMS.mgf"));
  EXPECT_TRUE(std::filesystem::exists(directory / "run1_ETHCDFT.mgf"));
}

TEST(SpectrumWriterGroup, MakesNoFileBeforeAScanComes) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
    group.Close();
  });
  EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST(SpectrumWriterGroup, AnnouncesAFileWhenItsFirstScanComes) {
  const TemporaryDirectory directory;
  MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
  const auto console = CaptureConsole([&] {
    group.Write(Scan("HCD", "FT"));
    group.Write(Scan("HCD", "FT"));
  });
  EXPECT_EQ(console.m_out, Info("Start to process " + (directory / "run1_HCDFT.mgf")));
  CaptureConsole([&] { group.Close(); });
}

TEST(SpectrumWriterGroup, OpensAndCountsAFileForAScanWithoutPrecursors) {
  const TemporaryDirectory directory;
  MS2Spectrum scan = Scan("CID", "IT");
  scan.m_precursors.clear();
  CaptureConsole([&] {
    MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
    group.Write(scan);
    EXPECT_EQ(group.WriterFor(scan).RecordCount(), 1);
    group.Close();
  });
  EXPECT_EQ(test::ReadFile(directory / "run1_CIDIT.mgf"), "");
}

TEST(SpectrumWriterGroup, ClosesInTheOrderOfTheKeys) {
  const TemporaryDirectory directory;
  MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
  CaptureConsole([&] {
    group.Write(Scan("HCD", "FT"));
    group.Write(Scan("CID", "IT"));
    group.Write(Scan("CID", "FT"));
    group.Write(Scan("HCD", "FT"));
  });
  const auto console = CaptureConsole([&] { group.Close(); });
  EXPECT_EQ(console.m_out, FinishLog(directory / "run1_CIDFT.mgf", 1) +
                               FinishLog(directory / "run1_CIDIT.mgf", 1) +
                               FinishLog(directory / "run1_HCDFT.mgf", 2));
}

TEST(SpectrumWriterGroup, IsEmptyOnceClosed) {
  const TemporaryDirectory directory;
  MgfGroup group(directory / "run1_.mgf", "w+", "run1", {}, logMessage);
  CaptureConsole([&] {
    group.Write(Scan("HCD", "FT"));
    group.Close();
  });
  EXPECT_EQ(CaptureConsole([&] { group.Close(); }).m_out, "");
}

TEST(SpectrumWriterGroup, GivesEveryWriterTheTitle) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    MgfGroup group(directory / "run1_.mgf", "w+", "another name", {});
    group.Write(Scan("HCD", "FT"));
    group.Close();
  });
  EXPECT_NE(test::ReadFile(directory / "run1_HCDFT.mgf").find("TITLE=another name.5.5.2.0.dta\n"),
            std::string::npos);
}

TEST(SpectrumWriterGroup, SplitsBinaryFilesAndTheirIndexLikewise) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    Pf2Group group(directory / "run1_.pf2", "wb+", "run1");
    group.Write(Scan("HCD", "FTMS"));
    group.Close();
  });
  EXPECT_TRUE(std::filesystem::exists(directory / "run1_HCDFTMS.pf2"));
  EXPECT_TRUE(std::filesystem::exists(directory / "run1_HCDFTMS.pf2idx"));
}

}  // namespace
}  // namespace tarvek
