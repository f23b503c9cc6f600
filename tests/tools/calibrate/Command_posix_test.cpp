// "tarvek-tools calibrate" and "run --calibrate" as a user runs them.
#include "calibrate/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "FileUtils.h"
#include "MgfReader.h"
#include "MgfWriter.h"
#include "PfReader.h"
#include "PfWriter.h"
#include "PrecursorCsvWriter.h"
#include "PrecursorTableReader.h"
#include "ProcessRunner.h"
#include "RunRecord.h"
#include "SyntheticRun.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ProcessResult;
using test::ReadFile;
using test::SyntheticScan;
using test::TemporaryDirectory;
using test::WriteFile;
using testing::HasSubstr;

constexpr double kSurveyPpm = -6.0;
constexpr double kFragmentPpm = 3.0;
constexpr double kNearPpm = 0.5;

double Ppm(double a, double b) { return (a / b - 1.0) * 1e6; }

MS2Spectrum Ms2Of(const SyntheticScan& scan) {
  MS2Spectrum spectrum;
  spectrum.m_scan_no = scan.m_scan_no;
  spectrum.m_rt = scan.m_rt_s;
  spectrum.m_activation_type = scan.m_activation;
  spectrum.m_instrument_type = scan.m_analyser;
  spectrum.m_peaks = scan.m_peaks;
  spectrum.m_precursors = scan.m_precursors;
  spectrum.m_orig_precursors = scan.m_precursors;
  return spectrum;
}

/// The outputs of a finished run "a", by the writers of tarvek. m_true: those of a run without
/// bias.
class CalibrateCommandTest : public testing::Test {
 protected:
  void WriteRun(double survey_ppm, double fragment_ppm, const std::string& analyser = "FT") {
    m_scans =
        test::SyntheticRun(71).Scans(300, 1000.0, test::ConstantBias(survey_ppm, fragment_ppm));
    for (SyntheticScan& scan : m_scans) scan.m_analyser = analyser;
    test::CaptureConsole([this] { WriteOutputs(); });
    RunRecord record;
    record.m_settings["isolation_width"] = "2.000000";
    record.m_counts["ms2_exported"] = 300;
    WriteRunRecord(Path("a.tarvek"), record);
  }

  void WriteOutputs() {
    const std::string kind = "a_HCD" + m_scans.front().m_analyser;
    MgfWriter mgf(Path(kind + ".mgf"), "w+", "a");
    PfWriter pf2(Path(kind + ".pf2"), "wb+", "a");
    PfWriter pf1(Path("a.pf1"), "wb+", "a");
    PrecursorCsvWriter table(Path("a.csv"), "w+");
    for (const SyntheticScan& scan : m_scans) {
      const MS2Spectrum spectrum = Ms2Of(scan);
      mgf.WriteMs2(spectrum);
      pf2.WriteMs2(spectrum);
      table.WriteRow(spectrum);
    }
    MS1Spectrum survey;
    survey.m_scan_no = 1;
    survey.m_rt = 12.5;
    survey.m_peaks = {{500.0, 10.0}, {700.0, 20.0}};
    pf1.WriteMs1(survey);
    pf1.Close();
    pf2.Close();
    mgf.Close();
    table.Complete();
  }

  [[nodiscard]] std::string Path(const std::string& name) const { return m_directory / name; }

  ProcessResult Calibrate(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "calibrate");
    return test::RunProcess(test::ToolsRequest(std::move(arguments), m_directory.Path()));
  }

  [[nodiscard]] std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(m_directory.Path()))
      if (entry.is_regular_file())
        files[entry.path().filename().string()] = ReadFile(entry.path().string());
    return files;
  }

  TemporaryDirectory m_directory;
  std::vector<SyntheticScan> m_scans;
};

TEST_F(CalibrateCommandTest, TellsTheBiasAndLeavesTheFiles) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  const auto before = Files();
  const ProcessResult text = Calibrate({"a.csv"});
  EXPECT_EQ(text.m_exit_status, 0) << text.m_err;
  EXPECT_THAT(text.m_out, HasSubstr("tolerance for a search after the correction"));
  const auto json = nlohmann::json::parse(Calibrate({"a", "--json"}).m_out).at(0);
  EXPECT_EQ(json.at("applied"), false);
  EXPECT_EQ(json.at("calibration").at("correction"), "on");
  EXPECT_NEAR(json.at("calibration").at("surveys").at("ppm").get<double>(), kSurveyPpm, kNearPpm);
  EXPECT_NEAR(json.at("calibration").at("fragments").at("ppm").get<double>(), kFragmentPpm,
              kNearPpm);
  EXPECT_EQ(Files(), before);
}

TEST_F(CalibrateCommandTest, CorrectsEveryOutput) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  const auto before = Files();
  const ProcessResult result = Calibrate({"a.csv", "--apply"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("corrected"));
  const auto after = Files();
  EXPECT_EQ(after.size(), before.size()) << "no temporary file is left";
  EXPECT_EQ(after.at("a_HCDFT.pf2idx"), before.at("a_HCDFT.pf2idx"));
  EXPECT_EQ(after.at("a.pf1idx"), before.at("a.pf1idx"));

  PrecursorTableReader table(Path("a.csv"));
  PfReader pf2(Path("a_HCDFT.pf2"));
  MgfReader mgf(Path("a_HCDFT.mgf"), "r");
  PrecursorRow row;
  MS2Spectrum from_pf;
  MS2Spectrum from_mgf;
  for (const SyntheticScan& scan : m_scans) {
    ASSERT_TRUE(table.Next(row));
    ASSERT_TRUE(pf2.ReadMs2(from_pf));
    ASSERT_TRUE(mgf.ReadNext(from_mgf));
    const Precursor& was = scan.m_precursors.front();
    ASSERT_EQ(from_pf.m_scan_no, scan.m_scan_no);
    ASSERT_NEAR(Ppm(was.m_mz, from_pf.m_precursors.front().m_mz), kSurveyPpm, kNearPpm);
    ASSERT_EQ(from_pf.m_precursors.front().m_charge, was.m_charge);
    ASSERT_NEAR(row.m_determined.front().m_mz, from_pf.m_precursors.front().m_mz, 1.1e-6);
    ASSERT_NEAR(row.m_declared.m_mz, was.m_mz, 1e-6) << "as the input declared it";
    ASSERT_NEAR(from_mgf.m_precursors.front().m_mz, from_pf.m_precursors.front().m_mz, 1.1e-6);
    ASSERT_EQ(from_pf.m_peaks.size(), scan.m_peaks.size());
    for (std::size_t i = 0; i < scan.m_peaks.size(); ++i) {
      ASSERT_NEAR(Ppm(scan.m_peaks[i].m_mz, from_pf.m_peaks[i].m_mz), kFragmentPpm, 0.8);
      ASSERT_EQ(from_pf.m_peaks[i].m_intensity, scan.m_peaks[i].m_intensity);
      ASSERT_NEAR(from_mgf.m_peaks[i].m_mz, from_pf.m_peaks[i].m_mz, 1.1e-5);
    }
  }
  EXPECT_FALSE(table.Next(row));
  MS1Spectrum survey;
  PfReader pf1(Path("a.pf1"));
  ASSERT_TRUE(pf1.ReadMs1(survey));
  EXPECT_EQ(survey.m_rt, 12.5);
  EXPECT_NEAR(Ppm(500.0, survey.m_peaks.front().m_mz), kSurveyPpm, kNearPpm);
  EXPECT_EQ(survey.m_peaks.back().m_intensity, 20.0);
}

TEST_F(CalibrateCommandTest, LeavesNoBiasBehind) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  ASSERT_EQ(Calibrate({"a.csv", "--apply"}).m_exit_status, 0);
  // A record without the correction, so that it is estimated again.
  WriteRunRecord(Path("a.tarvek"), RunRecord());
  const auto json = nlohmann::json::parse(Calibrate({"a", "--json"}).m_out).at(0);
  EXPECT_NEAR(json.at("calibration").at("surveys").at("ppm").get<double>(), 0.0, 0.2);
  EXPECT_NEAR(json.at("calibration").at("fragments").at("ppm").get<double>(), 0.0, 0.3);
}

TEST_F(CalibrateCommandTest, CorrectsOnce) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  ASSERT_EQ(Calibrate({"a.csv", "--apply"}).m_exit_status, 0);
  const auto once = Files();
  const ProcessResult again = Calibrate({"a.csv", "--apply"});
  EXPECT_EQ(again.m_exit_status, 0) << again.m_err;
  EXPECT_THAT(again.m_out, HasSubstr("calibrated before, nothing done"));
  EXPECT_EQ(Files(), once);
  EXPECT_EQ(ReadRunRecord(Path("a.tarvek")).m_settings.at("calibrated"), "1");
  EXPECT_EQ(ReadRunRecord(Path("a.tarvek")).m_settings.at("isolation_width"), "2.000000");
}

TEST_F(CalibrateCommandTest, NotesInTheRecordAloneThatIonTrapsTellNothing) {
  WriteRun(kSurveyPpm, kFragmentPpm, "ITMS");
  auto before = Files();
  const ProcessResult result = Calibrate({"a.csv", "--apply"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("no correction: all fragment spectra are of ion traps"));
  auto after = Files();
  EXPECT_EQ(ReadRunRecord(Path("a.tarvek")).m_calibration.at("off"),
            "all fragment spectra are of ion traps");
  before.erase("a.tarvek");
  after.erase("a.tarvek");
  EXPECT_EQ(after, before);
}

TEST_F(CalibrateCommandTest, CorrectsTheSameWithoutMgf) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  fs::remove(Path("a_HCDFT.mgf"));
  ASSERT_EQ(Calibrate({"a.csv", "--apply"}).m_exit_status, 0);
  PfReader pf2(Path("a_HCDFT.pf2"));
  MS2Spectrum scan;
  ASSERT_TRUE(pf2.ReadMs2(scan));
  EXPECT_NEAR(Ppm(m_scans.front().m_precursors.front().m_mz, scan.m_precursors.front().m_mz),
              kSurveyPpm, kNearPpm);
}

TEST_F(CalibrateCommandTest, LeavesAllAsItWasWhenAFileCannotBeWritten) {
  for (const char* name : {"a_HCDFT.mgf", "a_HCDFT.pf2", "a.pf1", "a.tarvek"}) {
    SCOPED_TRACE(name);
    WriteRun(kSurveyPpm, kFragmentPpm);
    const auto before = Files();
    fs::create_directory(Path(name) + "_unfinished");
    const ProcessResult result = Calibrate({"a.csv", "--apply"});
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr(name));
    EXPECT_EQ(Files(), before);
    fs::remove(Path(name) + "_unfinished");
  }
}

TEST_F(CalibrateCommandTest, LeavesAllAsItWasWhenAFileIsCutOff) {
  for (const char* name : {"a_HCDFT.mgf", "a_HCDFT.pf2", "a.pf1", "a.csv"}) {
    SCOPED_TRACE(name);
    WriteRun(kSurveyPpm, kFragmentPpm);
    fs::resize_file(Path(name), fs::file_size(Path(name)) - 9);
    const auto before = Files();
    const ProcessResult result = Calibrate({"a.csv", "--apply"});
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr(name));
    EXPECT_EQ(Files(), before);
  }
}

std::map<std::string, std::string> WithoutTemporary(std::map<std::string, std::string> files) {
  std::erase_if(files, [](const auto& file) { return file.first.ends_with("_unfinished"); });
  return files;
}

// A table with its final name means that the files next to it belong together.
TEST_F(CalibrateCommandTest, LeavesAllOrNothingOrAnUnfinishedRunWhenItIsKilled) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  const auto before = Files();
  ASSERT_EQ(Calibrate({"a.csv", "--apply"}).m_exit_status, 0);
  const auto after = Files();
  std::map<std::string, int> ends;
  for (int i = 0; i < 60; ++i) {
    SCOPED_TRACE(i);
    for (const auto& [name, content] : Files()) fs::remove(Path(name));
    for (const auto& [name, content] : before) WriteFile(Path(name), content);
    test::ProcessRequest request =
        test::ToolsRequest({"calibrate", "a.csv", "--apply"}, m_directory.Path());
    request.m_kill_after = std::chrono::milliseconds(2 + 3 * i);
    test::RunProcess(request);
    const auto files = WithoutTemporary(Files());
    if (files.contains("a.csv")) {
      ++ends[files == before ? "before" : "after"];
      ASSERT_TRUE(files == before || files == after);
    } else {
      ++ends["unfinished"];
      EXPECT_TRUE(FileExists(Path("a.csv_unfinished")));
    }
  }
  EXPECT_GT(ends["before"], 0);
}

TEST_F(CalibrateCommandTest, RefusesWhatIsNoFinishedRun) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  fs::rename(Path("a.csv"), Path("a.csv_unfinished"));
  ProcessResult result = Calibrate({"a.csv", "--apply"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("the run did not finish"));
  fs::rename(Path("a.csv_unfinished"), Path("a.csv"));
  fs::remove(Path("a.tarvek"));
  result = Calibrate({"a.csv", "--apply"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr("a.tarvek is not there"));
}

TEST_F(CalibrateCommandTest, TakesTheRunsOfAFolder) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  const auto json = nlohmann::json::parse(Calibrate({".", "--json"}).m_out);
  EXPECT_EQ(json.size(), 1u);
  fs::create_directory(Path("empty"));
  EXPECT_THAT(Calibrate({"empty"}).m_err, HasSubstr("No finished run"));
}

TEST_F(CalibrateCommandTest, IsSeenInTheReport) {
  WriteRun(kSurveyPpm, kFragmentPpm);
  ASSERT_EQ(Calibrate({"a.csv", "--apply"}).m_exit_status, 0);
  const ProcessResult result =
      test::RunProcess(test::ToolsRequest({"report", "a.csv"}, m_directory.Path()));
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  const auto json = nlohmann::json::parse(ReadFile(Path("a.report.json")));
  EXPECT_EQ(json.at("calibration").at("correction"), "on");
  EXPECT_EQ(json.at("kept_as_declared"), 300) << "the declared ones were kept, and both corrected";
  EXPECT_THAT(ReadFile(Path("a.report.html")), HasSubstr("corrected by the run"));
}

class RunCalibrateTest : public testing::Test {
 protected:
  ProcessResult Tools(std::vector<std::string> arguments) const {
    return test::RunProcess(test::ToolsRequest(std::move(arguments), m_directory.Path()));
  }
  ProcessResult Run(std::vector<std::string> more) const {
    std::vector<std::string> words{
        "run", "in",  "--isotope-table", TARVEK_SOURCE_DIR "/data/IPV.txt",
        "-o",  "out", "--format",        "ms1"};
    words.insert(words.end(), more.begin(), more.end());
    return Tools(std::move(words));
  }
  void Simulate() const {
    fs::create_directory(m_directory / "in");
    ASSERT_EQ(Tools({"simulate", "--seed", "1", "--ms2", "200", "--format", "text", "in/r1"})
                  .m_exit_status,
              0);
  }
  TemporaryDirectory m_directory;
};

TEST_F(RunCalibrateTest, CalibratesEachInputOnce) {
  Simulate();
  const ProcessResult first = Run({"--calibrate"});
  ASSERT_EQ(first.m_exit_status, 0) << first.m_err;
  const RunRecord record = ReadRunRecord(m_directory / "out/r1.tarvek");
  EXPECT_EQ(record.m_settings.at("calibrated"), "1");
  EXPECT_TRUE(record.m_calibration.contains("surveys"));
  EXPECT_TRUE(FileExists(m_directory / "out/batch_logs/r1/calibration.txt"));
  const std::string table = ReadFile(m_directory / "out/r1.csv");
  const ProcessResult again = Run({"--calibrate"});
  EXPECT_EQ(again.m_exit_status, 0);
  EXPECT_THAT(again.m_out, HasSubstr("1 finished before"));
  EXPECT_EQ(ReadFile(m_directory / "out/r1.csv"), table);
}

// As a run that was interrupted between tarvek and its calibration.
TEST_F(RunCalibrateTest, GoesOnWithTheCalibrationOfAFinishedRun) {
  Simulate();
  ASSERT_EQ(Run({"--calibrate"}).m_exit_status, 0);
  const std::string table = ReadFile(m_directory / "out/r1.csv");
  ASSERT_EQ(Run({"--again"}).m_exit_status, 0);
  EXPECT_NE(ReadFile(m_directory / "out/r1.csv"), table);
  const ProcessResult result = Run({"--calibrate"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_EQ(ReadFile(m_directory / "out/r1.csv"), table);
  EXPECT_EQ(ReadRunRecord(m_directory / "out/r1.tarvek").m_settings.at("calibrated"), "1");
}

TEST_F(RunCalibrateTest, RefusesRunsOfOtherSettings) {
  Simulate();
  ASSERT_EQ(Run({}).m_exit_status, 0);
  const ProcessResult with = Run({"--calibrate", "--width", "3"});
  EXPECT_EQ(with.m_exit_status, 1);
  EXPECT_THAT(with.m_err, HasSubstr("isolation_width 2.000000, now 3.000000"));
  ASSERT_EQ(Run({"--calibrate"}).m_exit_status, 0);
  const ProcessResult without = Run({});
  EXPECT_EQ(without.m_exit_status, 1);
  EXPECT_THAT(without.m_err, HasSubstr("calibrated 1, now not set"));
  EXPECT_EQ(Run({"--again"}).m_exit_status, 0);
  EXPECT_FALSE(ReadRunRecord(m_directory / "out/r1.tarvek").m_settings.contains("calibrated"));
}

}  // namespace
}  // namespace tarvek::tools
