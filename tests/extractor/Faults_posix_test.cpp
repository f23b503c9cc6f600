// Damaged input, full disks and interruptions: a message, no marker, nothing half under a final
// name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using test::Cv;
using test::ExtractionError;
using test::Fragment;
using test::Mzml;
using test::RunExtractor;
using test::Survey;
using test::TemporaryDirectory;
using test::TestScan;
using test::WriteFile;
using testing::HasSubstr;

constexpr int kCuts = 200;

std::string MzmlRun() {
  std::vector<TestScan> scans;
  for (int number = 1; number < 40; number += 2) {
    scans.push_back(Survey(number));
    scans.push_back(Fragment(number + 1));
  }
  return Mzml(scans, true);
}

std::string MzxmlRun() {
  std::vector<test::TestMzxmlScan> scans(40);
  for (std::size_t i = 0; i < scans.size(); ++i) scans[i].m_number = static_cast<int>(i) + 1;
  return test::Mzxml(scans);
}

/// The entries of a directory but for one.
std::vector<std::string> OthersThan(const std::string& name, const TemporaryDirectory& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory.Path()))
    if (entry.path().filename() != name) names.push_back(entry.path().filename().string());
  return names;
}

/// Cuts content at many places before its last '>' and expects a failure at each.
void ExpectFailureAtEveryCut(const std::string& content, const std::string& name) {
  const std::size_t end = content.rfind('>');
  for (int cut = 0; cut < kCuts; ++cut) {
    const std::size_t size = end * static_cast<std::size_t>(cut) / (kCuts - 1);
    SCOPED_TRACE(size);
    const TemporaryDirectory directory;
    WriteFile(directory / name, content.substr(0, size));
    WriteFile(directory / "run.morvex", "of an earlier run");
    const auto result = RunExtractor("xml", {"-ms", directory / name});
    EXPECT_EQ(result.m_exit_status, 1);
    EXPECT_THAT(result.m_err, HasSubstr(directory / name));
    EXPECT_THAT(OthersThan(name, directory), testing::IsEmpty());
  }
}

TEST(TruncatedInput, FailsAtEveryOffsetOfAnMzml) { ExpectFailureAtEveryCut(MzmlRun(), "run.mzML"); }

TEST(TruncatedInput, FailsAtEveryOffsetOfAnMzxml) {
  ExpectFailureAtEveryCut(MzxmlRun(), "run.mzXML");
}

TEST(TruncatedInput, FailsInsideAGzipFile) {
  const std::string packed = test::Gzipped(MzmlRun());
  for (std::size_t size = 2; size < packed.size(); size += packed.size() / 50) {
    SCOPED_TRACE(size);
    EXPECT_THAT(ExtractionError(packed.substr(0, size), "run.mzML.gz"),
                HasSubstr("run.mzML.gz: the compressed file is truncated"));
  }
}

TEST(TruncatedInput, SaysThatItIsTruncatedAndWhere) {
  const std::string xml = Mzml({Survey(1)});
  EXPECT_THAT(ExtractionError(xml.substr(0, xml.size() - 8)),
              testing::ContainsRegex("run.mzML: line [0-9]+, byte [0-9]+: the file is truncated"));
}

/// The message for a spectrum whose arrays are these.
std::string ErrorOfArrays(const std::vector<test::TestArray>& arrays, std::int64_t length = 2) {
  TestScan scan = Survey(5);
  scan.m_arrays = arrays;
  scan.m_length = length;
  return ExtractionError(Mzml({Survey(1), scan}));
}

const test::TestArray kMz = test::MzArray({400.25, 401.5});
const test::TestArray kIntensity = test::IntensityArray({10.0, 20.0});

void ExpectNamed(const std::string& error, const std::string& detail) {
  EXPECT_THAT(error, HasSubstr("run.mzML: line "));
  EXPECT_THAT(error, HasSubstr("spectrum \"scan=5\": " + detail));
}

TEST(DamagedInput, BadBase64) {
  ExpectNamed(ErrorOfArrays({{kMz.m_params, "AB%C", ""}, kIntensity}),
              "m/z array is no base64 text");
}

TEST(DamagedInput, WrongArrayLength) {
  ExpectNamed(ErrorOfArrays({kMz, kIntensity}, 3),
              "m/z array holds 2 numbers where 3 are declared");
}

TEST(DamagedInput, ArraysOfDifferentLengths) {
  test::TestArray three = test::IntensityArray({1.0, 2.0, 3.0});
  three.m_attributes = "arrayLength=\"3\"";
  ExpectNamed(ErrorOfArrays({kMz, three}), "has 2 m/z values and 3 intensities");
}

TEST(DamagedInput, MissingArrays) {
  ExpectNamed(ErrorOfArrays({kIntensity}), "has no m/z array");
  ExpectNamed(ErrorOfArrays({kMz}), "has no intensity array");
  ExpectNamed(ErrorOfArrays({}), "has no m/z array");
}

TEST(DamagedInput, NotANumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ExpectNamed(ErrorOfArrays({kMz, test::IntensityArray({1.0, nan})}),
              "intensity array holds a value that is no finite number at position 2");
}

TEST(DamagedInput, UnsupportedCompression) {
  ExpectNamed(ErrorOfArrays({{Cv(1000514) + Cv(1000523) + Cv(1003780), "", ""}, kIntensity}),
              "m/z array uses a compression that is not supported: term 1003780");
}

TEST(DamagedInput, NoArrayLength) {
  std::string xml = Mzml({Survey(5)});
  const std::string length = "defaultArrayLength=\"2\"";
  xml.replace(xml.find(length), length.size(), "");
  ExpectNamed(ExtractionError(xml), "declares no array length");
}

TEST(DamagedInput, MzxmlPeaks) {
  test::TestMzxmlScan scan;
  scan.m_number = 5;
  const auto error_of = [&](const std::string& peaks) {
    scan.m_peaks_element = peaks;
    return ExtractionError(test::Mzxml({scan}), "run.mzXML");
  };
  EXPECT_THAT(error_of("<peaks precision=\"32\">A</peaks>"),
              HasSubstr("spectrum \"scan=5\": peaks is no base64 text"));
  EXPECT_THAT(error_of("<peaks precision=\"32\">AAAAAAAAAAA=</peaks>"),
              HasSubstr("spectrum \"scan=5\": peaks holds 2 numbers where 4 are declared"));
  EXPECT_THAT(error_of("<peaks precision=\"16\"></peaks>"),
              HasSubstr("spectrum \"scan=5\": precision 16 is not supported"));
  EXPECT_THAT(error_of("<peaks compressionType=\"lzma\"></peaks>"),
              HasSubstr("compression that is not supported: lzma"));
  EXPECT_THAT(error_of("<peaks contentType=\"TOF\"></peaks>"),
              HasSubstr("peaks of content \"TOF\" are not supported"));
  EXPECT_THAT(error_of("<other/>"), HasSubstr("spectrum \"scan=5\": has no peaks element"));
}

TEST(DamagedInput, FilesOfAnotherKind) {
  EXPECT_THAT(ExtractionError("<html/>"), HasSubstr("neither mzML nor mzXML: the root element is"));
  EXPECT_THAT(ExtractionError("BEGIN IONS\n"), HasSubstr("run.mzML: line 1, byte 0: not"));
  EXPECT_THAT(ExtractionError(""), HasSubstr("the file is truncated"));
}

TEST(DamagedInput, EntitiesAreRefused) {
  EXPECT_THAT(ExtractionError("<!DOCTYPE mzML [<!ENTITY a \"aaaa\">]><mzML>&a;</mzML>"),
              HasSubstr("declares XML entities"));
}

TEST(MissingInput, IsNamedAndLosesTheMarker) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.morvex", "of an earlier run");
  const auto result = RunExtractor("xml", {directory / "run.mzML"});
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, HasSubstr(directory / "run.mzML"));
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
}

void ExpectFailureOnFullDisk(const std::string& output, const std::vector<std::string>& options) {
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", MzmlRun());
  fs::create_symlink("/dev/full", directory / (output + "_unfinished"));
  std::vector<std::string> arguments = options;
  arguments.push_back(directory / "run.mzML");
  const auto result = RunExtractor("xml", arguments);
  EXPECT_EQ(result.m_exit_status, 1) << output;
  EXPECT_THAT(result.m_err, HasSubstr("Cannot write " + (directory / output)));
  EXPECT_FALSE(fs::exists(directory / "run.morvex"));
  EXPECT_FALSE(fs::exists(directory / output));
}

TEST(FullDisk, LeavesNoMarkerAndNoOutput) {
  ExpectFailureOnFullDisk("run.ms1", {});
  ExpectFailureOnFullDisk("run.ms2", {});
  ExpectFailureOnFullDisk("run.mzml.msb", {"-msb"});
  ExpectFailureOnFullDisk("run.mzml.mscsv", {"-msb"});
  ExpectFailureOnFullDisk("run.mgf", {"-mgf"});
}

TEST(FullDisk, LeavesNoMarkerWhenOnlyTheMarkerFails) { ExpectFailureOnFullDisk("run.morvex", {}); }

/// Feeds half a run through a pipe, sends the extractor a signal, feeds the rest.
std::string StatusAfterSignal(const TemporaryDirectory& directory, const std::string& signal) {
  const std::string xml = MzmlRun();
  WriteFile(directory / "first", xml.substr(0, xml.size() / 2));
  WriteFile(directory / "rest", xml.substr(xml.size() / 2));
  tarvek::test::ProcessRequest request;
  request.m_program = "/bin/sh";
  request.m_working_directory = directory.Path();
  request.m_arguments = {"-c",
                         "mkfifo run.mzML; \"$0\" run.mzML >/dev/null & pid=$!; "
                         "{ cat first; sleep 0.2; kill -" +
                             signal +
                             " $pid; sleep 0.2; cat rest; } >run.mzML 2>/dev/null; "
                             "wait $pid; echo $?",
                         tarvek::test::TestedProgram(TARVEK_EXTRACTOR_DIRECTORY "/morvex_xml.exe")};
  return tarvek::test::RunProcess(request).m_out;
}

TEST(Interruption, RemovesWhatIsUnfinished) {
  for (const char* const signal : {"TERM", "INT"}) {
    const TemporaryDirectory directory;
    EXPECT_EQ(StatusAfterSignal(directory, signal), "1\n");
    EXPECT_THAT(OthersThan("run.mzML", directory), testing::UnorderedElementsAre("first", "rest"));
  }
}

TEST(Interruption, LeavesNothingUnderAFinalNameWhenKilled) {
  const TemporaryDirectory directory;
  EXPECT_EQ(StatusAfterSignal(directory, "KILL"), "137\n");
  for (const char* const name : {"run.ms1", "run.ms2", "run.morvex"})
    EXPECT_FALSE(fs::exists(directory / name)) << name;
}

}  // namespace
}  // namespace tarvek::extractor
