#include "PrecursorCsvWriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "Logger.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

const std::string kHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, "
    "Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge\n";

MS2Spectrum Scan() {
  MS2Spectrum scan;
  scan.m_scan_no = 1500;
  scan.m_activation_type = "HCD";
  scan.m_instrument_type = "FTMS";
  scan.m_orig_precursors = {{650.32, 2}, {1.0, 1}};
  scan.m_precursors = {{650.321234, 2}, {433.88, 3}};
  return scan;
}

/// The rows that WriteRow adds to the table for these scans.
std::string RowsOf(const std::vector<MS2Spectrum>& scans) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    for (const MS2Spectrum& scan : scans) writer.WriteRow(scan);
    writer.Complete();
  });
  return ReadFile(directory / "run.csv").substr(kHeader.size());
}

TEST(PrecursorCsvWriter, WritesTheHeaderLine) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    writer.Complete();
  });
  EXPECT_EQ(ReadFile(directory / "run.csv"), kHeader);
}

TEST(PrecursorCsvWriter, WritesDeclaredAndDeterminedPrecursors) {
  EXPECT_EQ(RowsOf({Scan()}),
            "HCD, FTMS, 1500, 650.320000, 2, 2, 1, 650.321234, 2, 2, 433.880000, 3, \n");
}

TEST(PrecursorCsvWriter, WritesMinusOneWithoutDeclaredPrecursor) {
  MS2Spectrum scan;
  scan.m_scan_no = 7;
  scan.m_activation_type = "CID";
  scan.m_instrument_type = "ITMS";
  EXPECT_EQ(RowsOf({scan}), "CID, ITMS, 7, -1.000000, -1, 0, \n");
}

TEST(PrecursorCsvWriter, WritesMorePrecursorsThanTheHeaderNames) {
  MS2Spectrum scan = Scan();
  scan.m_precursors.assign(6, {500.0, 1});
  EXPECT_EQ(RowsOf({scan}),
            "HCD, FTMS, 1500, 650.320000, 2, 6, 1, 500.000000, 1, 2, 500.000000, 1, "
            "3, 500.000000, 1, 4, 500.000000, 1, 5, 500.000000, 1, 6, 500.000000, 1, \n");
}

TEST(PrecursorCsvWriter, KeepsTheSignsOfANegativeIon) {
  MS2Spectrum scan = Scan();
  scan.m_precursors = {{-650.321234, -2}};
  EXPECT_EQ(RowsOf({scan}), "HCD, FTMS, 1500, 650.320000, 2, 1, 1, -650.321234, -2, \n");
}

TEST(PrecursorCsvWriter, CarriesNothingFromOneRowToTheNext) {
  EXPECT_EQ(RowsOf({Scan(), Scan()}), RowsOf({Scan()}) + RowsOf({Scan()}));
}

TEST(PrecursorCsvWriter, WritesUnderATemporaryNameUntilItIsComplete) {
  const TemporaryDirectory directory;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    EXPECT_TRUE(std::filesystem::exists(directory / "run.csv_unfinished"));
    EXPECT_FALSE(std::filesystem::exists(directory / "run.csv"));
    writer.Complete();
  });
  EXPECT_FALSE(std::filesystem::exists(directory / "run.csv_unfinished"));
  EXPECT_TRUE(std::filesystem::exists(directory / "run.csv"));
}

TEST(PrecursorCsvWriter, ReplacesAnEarlierTableWhenItIsComplete) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", "an earlier and much longer table" + std::string(5000, '.'));
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    writer.Complete();
  });
  EXPECT_EQ(ReadFile(directory / "run.csv"), kHeader);
}

TEST(PrecursorCsvWriter, OverwritesTheTemporaryFileOfAnAbandonedRun) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv_unfinished", std::string(5000, '.'));
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    writer.Complete();
  });
  EXPECT_EQ(ReadFile(directory / "run.csv"), kHeader);
}

TEST(PrecursorCsvWriter, LeavesTheTemporaryFileWhenItIsAbandoned) {
  const TemporaryDirectory directory;
  const auto console = CaptureConsole([&] {
    MessageOf([&] {
      PrecursorCsvWriter writer(directory / "run.csv", "w+", logMessage);
      throw std::runtime_error("elsewhere");
    });
  });
  EXPECT_EQ(ReadFile(directory / "run.csv_unfinished"), kHeader);
  EXPECT_FALSE(std::filesystem::exists(directory / "run.csv"));
  EXPECT_EQ(console.m_out, "[Tarvek] <INFO> - Closed " + (directory / "run.csv") + "\n");
}

TEST(PrecursorCsvWriter, NamesTheFinalFileInTheLog) {
  const TemporaryDirectory directory;
  const std::string path = directory / "run.csv";
  const auto console = CaptureConsole([&] {
    PrecursorCsvWriter writer(path, "w+", logMessage);
    writer.WriteRow(Scan());
    writer.Complete();
  });
  const std::string prefix = "[Tarvek] <INFO> - ";
  EXPECT_EQ(console.m_out, prefix + "Closed " + path + "\n" + prefix + "Finished Operations on " +
                               path + "\n" + prefix + "Scan Number in " + path + ": 1\n");
}

TEST(PrecursorCsvWriter, NamesTheTemporaryFileThatCannotBeOpened) {
  EXPECT_EQ(MessageOf([] { PrecursorCsvWriter writer("/nowhere/run.csv", "w+"); }),
            "Cannot open CSV File, Path: /nowhere/run.csv_unfinished");
}

TEST(PrecursorCsvWriter, MakesNoFinalFileWhenAWriteFails) {
  const TemporaryDirectory directory;
  std::filesystem::create_symlink("/dev/full", directory / "run.csv_unfinished");
  std::string message;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    writer.WriteRow(Scan());
    message = MessageOf([&] { writer.Complete(); });
  });
  EXPECT_EQ(message, "Cannot write " + (directory / "run.csv_unfinished"));
  EXPECT_FALSE(std::filesystem::exists(directory / "run.csv"));
  EXPECT_TRUE(std::filesystem::exists(directory / "run.csv_unfinished"));
}

TEST(PrecursorCsvWriter, KeepsAnEarlierTableWhenAWriteFails) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", "earlier");
  std::filesystem::create_symlink("/dev/full", directory / "run.csv_unfinished");
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    MessageOf([&] { writer.Complete(); });
  });
  EXPECT_EQ(ReadFile(directory / "run.csv"), "earlier");
}

TEST(PrecursorCsvWriter, ReportsARenameThatFails) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory / "run.csv");
  std::string message;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    message = MessageOf([&] { writer.Complete(); });
  });
  EXPECT_EQ(message, "Cannot rename file: " + (directory / "run.csv_unfinished"));
}

/// What Complete says after change was made to the temporary table in directory.
template <class Change>
std::string MessageAfter(const TemporaryDirectory& directory, Change change) {
  std::string message;
  CaptureConsole([&] {
    PrecursorCsvWriter writer(directory / "run.csv", "w+");
    change(directory / "run.csv_unfinished");
    message = MessageOf([&] { writer.Complete(); });
  });
  return message;
}

TEST(PrecursorCsvWriter, IsNotCompleteWithoutTheFileThatItWrote) {
  const TemporaryDirectory directory;
  EXPECT_EQ(MessageAfter(directory, [](const auto& path) { std::filesystem::remove(path); }),
            "Cannot finish " + (directory / "run.csv") + ": " + (directory / "run.csv_unfinished") +
                " was removed or replaced while it was written.");
  EXPECT_FALSE(std::filesystem::exists(directory / "run.csv"));
}

TEST(PrecursorCsvWriter, GivesItsNameToNoOtherFile) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.csv", "earlier");
  WriteFile(directory / "planted", "planted");
  const std::string message = MessageAfter(
      directory, [&](const auto& path) { std::filesystem::rename(directory / "planted", path); });
  EXPECT_NE(message, test::kNothingThrown);
  EXPECT_EQ(ReadFile(directory / "run.csv"), "earlier");
  EXPECT_EQ(ReadFile(directory / "run.csv_unfinished"), "planted");
}

}  // namespace
}  // namespace tarvek
