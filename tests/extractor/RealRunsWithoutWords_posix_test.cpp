// Real runs as poor converters would have written them: without an analyser, or with a quadrupole
// instead.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

#include "DataLookAnalyser.h"
#include "Extraction.h"
#include "ExtractorTestSupport.h"
#include "ProcessRunner.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;

using test::TemporaryDirectory;

std::vector<std::string> InstrumentFiles() {
  std::vector<std::string> paths;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(TARVEK_SHARED_FOLDER "/data", error)) {
    const std::string name = entry.path().string();
    if (name.ends_with(".mzML.gz") || name.ends_with(".mzXML.gz")) paths.push_back(name);
  }
  std::ranges::sort(paths);
  return paths;
}

struct Outputs {
  std::string m_ms1;
  std::string m_ms2;
};

std::string WithoutHeader(const std::string& path) {
  std::istringstream in(test::ReadFile(path));
  std::string text;
  for (std::string line; std::getline(in, line);)
    if (!line.starts_with("H\t")) text += line + "\n";
  return text;
}

Outputs OutputsOf(const std::string& path) {
  const TemporaryDirectory directory;
  const ExtractorOptions options =
      ParseOptions(std::vector<std::string>{"-o", directory.Path(), path});
  Marker marker(options);
  std::ostringstream report;
  Extract(options, path, marker, report);
  const std::string base = directory / options.m_base_name;
  return {WithoutHeader(base + ".ms1"), WithoutHeader(base + ".ms2")};
}

/// The copy in directory without the parts that letters name; std::nullopt when the file has none
/// of them.
std::optional<std::string> PoorCopy(const std::string& path, const std::string& letters,
                                    const TemporaryDirectory& directory) {
  const std::string copy = directory / fs::path(path).stem().string();
  tarvek::test::ProcessRequest request;
  request.m_program = TARVEK_PYTHON;
  request.m_arguments = {TARVEK_SOURCE_DIR "/tests/extractor/without_words.py", letters, path,
                         copy};
  const auto result = tarvek::test::RunProcess(request);
  EXPECT_EQ(result.m_err, "");
  if (result.m_exit_status != 0) return std::nullopt;
  return copy;
}

// Surveys of both analysers alternate in this run; only the words distinguish them.
bool MixesAnalysersInItsSurveys(const std::string& path) {
  return path.find("ltqft-small") != std::string::npos;
}

void ExpectTheSameScans(const std::string& letters) {
  const std::vector<std::string> paths = InstrumentFiles();
  if (paths.empty()) GTEST_SKIP() << "no real runs beside the project";
  int compared = 0;
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    const TemporaryDirectory directory;
    const auto copy = PoorCopy(path, letters, directory);
    if (!copy) continue;
    const Outputs whole = OutputsOf(path);
    const Outputs poor = OutputsOf(*copy);
    EXPECT_TRUE(MixesAnalysersInItsSurveys(path) || whole.m_ms1 == poor.m_ms1);
    EXPECT_EQ(test::LinesFrom(whole.m_ms1, "S"), test::LinesFrom(poor.m_ms1, "S"));
    EXPECT_TRUE(whole.m_ms2 == poor.m_ms2);
    ++compared;
  }
  EXPECT_EQ(compared, static_cast<int>(paths.size()));
}

TEST(RealRunsWithoutWords, AreTheSameWithoutFilterLinesAndAnalysers) { ExpectTheSameScans("fa"); }

TEST(RealRunsWithoutWords, AreTheSameWithAQuadrupoleForEveryAnalyser) { ExpectTheSameScans("fq"); }

TEST(RealRunsWithoutWords, AreTheSameByInstrumentModelAndPeaks) { ExpectTheSameScans("fqd"); }

TEST(RealRunsWithoutWords, AreTheSameByTheirPeaksAlone) { ExpectTheSameScans("fadm"); }

/// The peaks of the scans of a text file, by level, analyser and activation.
std::map<std::string, std::vector<std::vector<Peak>>> ScansByKind(const std::string& text) {
  std::map<std::string, std::vector<std::vector<Peak>>> scans;
  std::istringstream in(text);
  std::string kind;
  std::vector<Peak> peaks;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("S\t")) {
      if (!peaks.empty()) scans[kind].push_back(std::exchange(peaks, {}));
      kind.clear();
    } else if (line.starts_with("I\tInstrumentType") || line.starts_with("I\tActivationType")) {
      kind += line.substr(line.rfind('\t') + 1) + " ";
    } else if (line[0] >= '0' && line[0] <= '9') {
      peaks.push_back({std::stod(line), 1.0});
    }
  }
  if (!peaks.empty()) scans[kind].push_back(peaks);
  return scans;
}

// Every kind of scan of every run on its own: never wrong, and always clear except for one with 33
// peaks in its 47 scans.
TEST(RealRunsWithoutWords, AreToldRightByTheirCentroids) {
  const std::vector<std::string> paths = InstrumentFiles();
  if (paths.empty()) GTEST_SKIP() << "no real runs beside the project";
  int clear = 0;
  int unclear = 0;
  for (const std::string& path : paths) {
    const Outputs outputs = OutputsOf(path);
    for (const std::string& text : {outputs.m_ms1, outputs.m_ms2}) {
      for (const auto& [kind, spectra] : ScansByKind(text)) {
        ResolutionLook look;
        for (const std::vector<Peak>& peaks : spectra) look.Add(peaks);
        const Resolution expected =
            kind.starts_with("FTMS") ? Resolution::kHigh : Resolution::kUnit;
        const Resolution verdict = look.Verdict();
        EXPECT_TRUE(verdict == expected || verdict == Resolution::kUnclear) << path << " " << kind;
        ++(verdict == Resolution::kUnclear ? unclear : clear);
      }
    }
  }
  EXPECT_EQ(clear, 39);
  EXPECT_EQ(unclear, 1);
}

}  // namespace
}  // namespace tarvek::extractor
