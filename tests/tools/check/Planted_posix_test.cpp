// Defects planted into a good run, and the finding of tarvek-tools check for each.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "BinaryPair.h"
#include "CheckTestSupport.h"
#include "TestSupport.h"

namespace tarvek::tools::test {
namespace {

using tarvek::test::PutInt32;
using tarvek::test::ReadFile;
using tarvek::test::TemporaryDirectory;
using tarvek::test::WriteFile;
using testing::TestWithParam;

/// A copy of the good run to damage: text/run.ms1 and .ms2, mzml/run.mzML, msb/run.mzml.msb and
/// .mscsv, and the outputs out/run.* of the text.
class Spoiler {
 public:
  explicit Spoiler(std::string folder) : m_folder(std::move(folder)) {}

  [[nodiscard]] std::string Path(const std::string& name) const { return m_folder + "/" + name; }

  void Remove(const std::string& name) const { std::filesystem::remove(Path(name)); }
  void Rename(const std::string& from, const std::string& to) const {
    std::filesystem::rename(Path(from), Path(to));
  }
  void Write(const std::string& name, const std::string& content) const {
    WriteFile(Path(name), content);
  }
  void Append(const std::string& name, const std::string& bytes) const {
    Write(name, ReadFile(Path(name)) + bytes);
  }
  void CutBytes(const std::string& name, std::size_t count) const {
    const std::string content = ReadFile(Path(name));
    Write(name, content.substr(0, content.size() - count));
  }
  void PutInt32At(const std::string& name, std::size_t offset, std::int32_t value) const {
    std::string content = ReadFile(Path(name));
    std::string bytes;
    PutInt32(bytes, value);
    Write(name, content.replace(offset, bytes.size(), bytes));
  }
  /// Replaces the first occurrence, or all; there must be one.
  void Replace(const std::string& name, const std::string& from, const std::string& to,
               bool all = true) const {
    std::string content = ReadFile(Path(name));
    std::size_t at = content.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    for (; at != std::string::npos; at = content.find(from, at + to.size())) {
      content.replace(at, from.size(), to);
      if (!all) break;
    }
    Write(name, content);
  }
  /// Keeps the lines for which keep is true.
  void FilterLines(const std::string& name,
                   const std::function<bool(const std::string&)>& keep) const {
    std::ifstream in(Path(name));
    std::string kept;
    for (std::string line; std::getline(in, line);)
      if (keep(line)) kept += line + "\n";
    in.close();
    Write(name, kept);
  }
  void DropLines(const std::string& name, const std::string& start) const {
    FilterLines(name, [&](const std::string& line) { return !line.starts_with(start); });
  }

 private:
  std::string m_folder;
};

struct Planted {
  std::string m_what;
  std::string m_checked;   // below the folder
  std::string m_expected;  // severity and code
  std::function<void(const Spoiler&)> m_spoil;
};

void PrintTo(const Planted& planted, std::ostream* out) { *out << planted.m_what; }

constexpr const char* kMs1 = "text/run.ms1";
constexpr const char* kMs2 = "text/run.ms2";
constexpr const char* kMzml = "mzml/run.mzML";
constexpr const char* kPf1 = "out/run.pf1";
constexpr const char* kPf2 = "out/run_HCDFT.pf2";
constexpr const char* kMgf = "out/run_HCDFT.mgf";
constexpr const char* kCsv = "out/run.csv";

std::string ProfileScan() {
  std::string text = "S\t100000\t100000\nI\tRetTime\t4000.0\nI\tInstrumentType\tFTMS\n";
  for (int i = 0; i < 400; ++i)
    text += std::to_string(500.0 + 0.002 * i) + " " + std::to_string(100 + i % 20) + ".0\n";
  return text;
}

const std::vector<Planted>& AllPlanted() {
  static const std::vector<Planted> planted = {
      // inputs: text
      {"ms2 missing", "text", "defect missing-half", [](auto& run) { run.Remove(kMs2); }},
      {"ms1 missing", "text", "defect missing-half", [](auto& run) { run.Remove(kMs1); }},
      {"ms2 of another converter", "text", "defect foreign-text",
       [](auto& run) {
         for (const char* key :
              {"RetTime", "InstrumentType", "ActivationType", "ActivationCenter", "PrecursorScan"})
           run.DropLines(kMs2, std::string("I\t") + key);
         run.Replace(kMs2, "\nZ\t", "\nI\tRTime\t12.5\nZ\t");
       }},
      {"no activation type", "text", "defect missing-attributes",
       [](auto& run) { run.DropLines(kMs2, "I\tActivationType"); }},
      {"no activation type: nothing would come out", "text", "defect nothing-processed",
       [](auto& run) { run.DropLines(kMs2, "I\tActivationType"); }},
      {"unknown activation word in one scan of two", "text", "warning ms2-left-out",
       [](auto& run) {
         bool take = false;
         run.FilterLines(kMs2, [&](const std::string& line) {
           return !line.starts_with("I\tActivationType") || (take = !take);
         });
       }},
      {"unknown analyser word", "text", "defect nothing-processed",
       [](auto& run) { run.Replace(kMs2, "InstrumentType\tFTMS", "InstrumentType\tTOFMS"); }},
      {"surveys of the ion trap", "text", "warning no-high-resolution-ms1",
       [](auto& run) { run.Replace(kMs1, "InstrumentType\tFTMS", "InstrumentType\tITMS"); }},
      {"precursor scans that are not there", "text", "warning no-precursor-scan",
       [](auto& run) { run.Replace(kMs2, "PrecursorScan\t", "PrecursorScan\t9"); }},
      {"no declared precursors", "text", "defect nothing-processed",
       [](auto& run) { run.DropLines(kMs2, "Z\t"); }},
      {"no activation centre", "text", "warning no-centre",
       [](auto& run) { run.DropLines(kMs2, "I\tActivationCenter"); }},
      {"retention times in minutes", "text", "warning retention-time",
       [](auto& run) { run.Replace(kMs1, "I\tRetTime\t", "I\tRetTime\t0.0000"); }},
      {"decimal commas", "text", "defect decimal-comma",
       [](auto& run) { run.Replace(kMs1, ".", ","); }},
      {"peaks separated by tabs", "text", "defect peak-separator",
       [](auto& run) { run.Replace(kMs1, " ", "\t"); }},
      {"no peaks in MS2", "text", "defect nothing-processed",
       [](auto& run) {
         run.FilterLines(kMs2, [](const std::string& line) {
           return line.empty() || line.front() < '0' || line.front() > '9';
         });
       }},
      {"profile data in text", "text", "defect profile",
       [](auto& run) { run.Write(kMs1, ProfileScan()); }},
      {"text cut off inside a line", "text", "warning cut-off",
       [](auto& run) { run.CutBytes(kMs2, 3); }},
      {"run name with dots", "text", "warning dotted-name",
       [](auto& run) {
         run.Rename(kMs1, "text/run.2.ms1");
         run.Rename(kMs2, "text/run.2.ms2");
       }},
      // inputs: binary, mzML, MGF
      {"binary pair cut off", "msb", "defect unreadable",
       [](auto& run) { run.CutBytes("msb/run.mzml.msb", 5); }},
      {"scan table without its last row", "msb", "defect unreadable",
       [](auto& run) {
         const std::string table = ReadFile(run.Path("msb/run.mzml.mscsv"));
         run.Write("msb/run.mzml.mscsv", table.substr(0, table.rfind('\n', table.size() - 2) + 1));
       }},
      {"scan table with another peak count", "msb", "defect unreadable",
       [](auto& run) { run.PutInt32At("msb/run.mzml.msb", 4, 3); }},
      {"mzML truncated", "mzml", "defect truncated", [](auto& run) { run.CutBytes(kMzml, 20000); }},
      {"mzML without MS1", "mzml", "warning no-ms1",
       [](auto& run) { run.Replace(kMzml, "name=\"ms level\" value=\"1\"", "value=\"3\""); }},
      {"mzML without MS2", "mzml", "defect no-ms2",
       [](auto& run) { run.Replace(kMzml, "name=\"ms level\" value=\"2\"", "value=\"3\""); }},
      {"mzML of several FAIMS voltages", "mzml", "warning faims",
       [](auto& run) {
         const std::string level =
             "<cvParam cvRef=\"MS\" accession=\"MS:1000511\" name=\"ms level\" value=\"1\"/>";
         const std::string volts = "<cvParam cvRef=\"MS\" accession=\"MS:1001581\" value=";
         run.Replace(kMzml, level, level + volts + "\"-60\"/>");
         run.Replace(kMzml, "\"-60\"/>", "\"-40\"/>", false);
       }},
      {"mzML of a wider window", "mzml", "warning isolation-width",
       [](auto& run) {
         run.Replace(kMzml, "name=\"isolation window lower offset\" value=\"1\"",
                     "name=\"isolation window lower offset\" value=\"2\"");
       }},
      {"mzML of both polarities", "mzml", "warning polarity",
       [](auto& run) { run.Replace(kMzml, "MS:1000130", "MS:1000129", false); }},
      {"mzML that declares more spectra", "mzml", "warning spectrum-count",
       [](auto& run) {
         run.Replace(kMzml, "<spectrumList defaultDataProcessingRef=\"simulation\" count=\"",
                     "<spectrumList defaultDataProcessingRef=\"simulation\" count=\"9");
       }},
      {"MGF with a dotted run name", "mgf", "warning dotted-name",
       [](auto& run) {
         std::filesystem::create_directory(run.Path("mgf"));
         run.Write("mgf/x.mgf",
                   "BEGIN IONS\nTITLE=a.b.7.7.2.0.dta\nPEPMASS=500\n200.5 10\nEND IONS\n");
       }},
      {"marker without spectra", "text", "defect marker",
       [](auto& run) { run.Write("text/other.morvex", ""); }},
      // outputs
      {"PF2 cut off", "out", "defect pf-truncated", [](auto& run) { run.CutBytes(kPf2, 1); }},
      {"PF1 with a wrong count", "out", "defect pf-count",
       [](auto& run) { run.PutInt32At(kPf1, 0, 4); }},
      {"PF2 never closed", "out", "defect pf-count", [](auto& run) { run.PutInt32At(kPf2, 0, 0); }},
      {"PF2 with bytes behind its last record", "out", "defect pf-truncated",
       [](auto& run) { run.Append(kPf2, "abc"); }},
      {"PF index with an entry too few", "out", "defect pf-index-count",
       [](auto& run) { run.CutBytes("out/run.pf1idx", 8); }},
      {"PF index with a wrong offset", "out", "defect pf-index-entry",
       [](auto& run) { run.PutInt32At("out/run_HCDFT.pf2idx", 12, 1); }},
      {"PF index missing", "out", "defect pf-index-missing",
       [](auto& run) { run.Remove("out/run.pf1idx"); }},
      {"PF2 missing beside its index", "out", "defect pf-data-missing",
       [](auto& run) { run.Remove(kPf2); }},
      {"PF2 and index missing", "out", "defect missing-output",
       [](auto& run) {
         run.Remove(kPf2);
         run.Remove("out/run_HCDFT.pf2idx");
       }},
      {"PF2 of a kind that the table does not have", "out", "defect stale",
       [](auto& run) {
         std::filesystem::copy_file(run.Path(kPf2), run.Path("out/run_CIDIT.pf2"));
         std::filesystem::copy_file(run.Path("out/run_HCDFT.pf2idx"),
                                    run.Path("out/run_CIDIT.pf2idx"));
       }},
      {"PF1 under another name", "out", "warning renamed",
       [](auto& run) { run.Replace(kPf1, "run", "ruN", false); }},
      {"END IONS missing inside", "out", "defect mgf-end",
       [](auto& run) { run.Replace(kMgf, "END IONS\n", "", false); }},
      {"MGF cut off", "out", "defect mgf-end", [](auto& run) { run.CutBytes(kMgf, 100); }},
      {"MGF with a block too few", "out", "defect disagree",
       [](auto& run) {
         const std::string text = ReadFile(run.Path(kMgf));
         run.Write(kMgf, text.substr(text.find("END IONS\n") + 9));
       }},
      {"MGF of another charge", "out", "defect disagree",
       [](auto& run) { run.Replace(kMgf, "CHARGE=2+", "CHARGE=3+", false); }},
      {"MGF without titles", "out", "defect mgf-title",
       [](auto& run) { run.DropLines(kMgf, "TITLE="); }},
      {"table cut off", "out", "defect csv-row", [](auto& run) { run.CutBytes(kCsv, 4); }},
      {"table without one row", "out", "defect disagree",
       [](auto& run) {
         const std::string table = ReadFile(run.Path(kCsv));
         run.Write(kCsv, table.substr(0, table.rfind('\n', table.size() - 2) + 1));
       }},
      {"table with a scan twice", "out", "defect csv-repeated",
       [](auto& run) {
         const std::string table = ReadFile(run.Path(kCsv));
         run.Append(kCsv, table.substr(table.rfind('\n', table.size() - 2) + 1));
       }},
      {"table of another program", "out", "defect csv-header",
       [](auto& run) { run.Write(kCsv, "a,b,c\n1,2,3\n"); }},
      {"table missing", "out", "defect no-table", [](auto& run) { run.Remove(kCsv); }},
      {"run that was stopped", "out", "defect unfinished",
       [](auto& run) { run.Rename(kCsv, "out/run.csv_unfinished"); }},
      {"run that was stopped at once", "out", "defect unfinished",
       [](auto& run) {
         run.Remove(kCsv);
         run.Write("out/run.csv_unfinished", "");
       }},
      {"record that was not finished", "out/run", "defect unfinished",
       [](auto& run) { run.Write("out/run.tarvek_unfinished", ""); }},
      {"record that cannot be read", "out/run", "defect record",
       [](auto& run) { run.Write("out/run.tarvek", "count\tms2_read\tmany\n"); }},
      {"record of other counts", "out", "defect record-disagrees",
       [](auto& run) { run.Write("out/run.tarvek", "count\tms2_exported\t1000000\n"); }},
      {"record of other precursors", "out", "defect record-disagrees",
       [](auto& run) { run.Write("out/run.tarvek", "count\tprecursors\t1\n"); }},
      {"record that many scans were left out", "out", "warning ms2-left-out",
       [](auto& run) {
         run.Write("out/run.tarvek", "count\tms2_read\t100\nleft_out\tno peaks\t6\n");
       }},
      {"record alone", "out", "defect no-table",
       [](auto& run) { run.Write("out/another.tarvek", "count\tms2_read\t100\n"); }},
      {"leftover of the extractor", "out", "defect unfinished",
       [](auto& run) { run.Write("out/next.ms1_unfinished", "H\n"); }},
      {"BEGIN IONS missing", "out", "defect mgf-begin",
       [](auto& run) { run.Replace(kMgf, "BEGIN IONS\n", "", false); }},
      {"more BEGIN IONS than END IONS", "out", "defect mgf-balance",
       [](auto& run) { run.Append(kMgf, "BEGIN IONS\n"); }},
      {"blocks without peaks", "out", "defect mgf-peaks",
       [](auto& run) {
         run.FilterLines(kMgf, [](const std::string& line) {
           return line.empty() || line.front() < '0' || line.front() > '9';
         });
       }},
      {"blocks without mass", "out", "defect mgf-pepmass",
       [](auto& run) { run.DropLines(kMgf, "PEPMASS="); }},
      {"PF index cut inside an entry", "out", "defect pf-index-size",
       [](auto& run) { run.CutBytes("out/run.pf1idx", 3); }},
      {"PF2 in the place of PF1", "out", "defect pf1-shape",
       [](auto& run) {
         run.Write(kPf1, ReadFile(run.Path(kPf2)));
         run.Write("out/run.pf1idx", ReadFile(run.Path("out/run_HCDFT.pf2idx")));
       }},
      {"a table without rows", "out", "warning empty-run",
       [](auto& run) {
         const std::string table = ReadFile(run.Path(kCsv));
         run.Write(kCsv, table.substr(0, table.find('\n') + 1));
       }},
      {"a table alone", "alone", "note table-alone",
       [](auto& run) {
         std::filesystem::create_directory(run.Path("alone"));
         run.Rename(kCsv, "alone/run.csv");
       }},
      {"scans out of order", "text", "warning scan-order",
       [](auto& run) {
         run.Append(kMs1, "S\t1\t1\nI\tRetTime\t9000\nI\tInstrumentType\tFTMS\n500.5 10.0\n");
       }},
      {"a survey of the ion trap", "text", "note low-resolution-ms1",
       [](auto& run) { run.Replace(kMs1, "InstrumentType\tFTMS", "InstrumentType\tITMS", false); }},
      {"charges not declared", "text", "note no-charge",
       [](auto& run) { run.Replace(kMs2, "Z\t2\t", "Z\t0\t"); }},
      {"a raw file", "text", "note vendor-file",
       [](auto& run) { run.Write("text/other.raw", ""); }},
      {"a file that cannot be read", "out/loop.mzML", "defect unreadable",
       [](auto& run) { std::filesystem::create_symlink("loop.mzML", run.Path("out/loop.mzML")); }},
      {"a gzipped text", "text", "defect other-content",
       [](auto& run) { run.Write(kMs1, "\x1F\x8B\x08"); }},
      {"swapped halves", "text", "defect other-content",
       [](auto& run) {
         run.Rename(kMs1, "text/swap");
         run.Rename(kMs2, kMs1);
         run.Rename("text/swap", kMs2);
       }},
      {"nothing there", "nowhere", "defect nothing-here", [](auto&) {}},
      {"a file of another kind", "out/log.txt", "defect unknown-format",
       [](auto& run) { run.Write("out/log.txt", "x"); }},
  };
  return planted;
}

/// The good run, made once.
const std::string& GoodRunFolder() {
  static const TemporaryDirectory directory;
  static const std::string folder = [] {
    for (const char* name : {"text", "mzml", "msb", "out"})
      std::filesystem::create_directory(directory / name);
    Simulate({"--ms2", "60", "--seed", "21"}, directory / "text/run");
    Simulate({"--ms2", "60", "--seed", "21", "--format", "mzml"}, directory / "mzml/run");
    Simulate({"--ms2", "60", "--seed", "21", "--format", "msb"}, directory / "msb/run.mzml");
    Process(directory / "text/run.ms1", directory / "out");
    return directory.Path();
  }();
  return folder;
}

bool IsSentence(const std::string& text) { return text.ends_with('.') || text.ends_with('!'); }

class CheckPlanted : public TestWithParam<Planted> {
 protected:
  CheckPlanted() {
    std::filesystem::copy(GoodRunFolder(), m_directory / "run",
                          std::filesystem::copy_options::recursive);
  }
  TemporaryDirectory m_directory;
};

TEST_P(CheckPlanted, IsFound) {
  const Spoiler run(m_directory / "run");
  GetParam().m_spoil(run);
  const CheckResult result = Check({run.Path(GetParam().m_checked)});
  const std::vector<std::string> findings = result.Findings();
  EXPECT_TRUE(std::ranges::find(findings, GetParam().m_expected) != findings.end())
      << result.m_report.dump(1);
  EXPECT_EQ(result.m_status, result.m_report.at("defects") > 0 ? 1 : 0);
  EXPECT_EQ(result.m_err, "");
  for (const auto& finding : result.m_report.at("findings")) {
    EXPECT_TRUE(IsSentence(finding.at("meaning"))) << finding;
    EXPECT_TRUE(IsSentence(finding.at("advice"))) << finding;
  }
}

INSTANTIATE_TEST_SUITE_P(Defects, CheckPlanted, testing::ValuesIn(AllPlanted()));

TEST(CheckPlantedRun, IsGoodBeforeAnythingIsPlanted) {
  const std::string& folder = GoodRunFolder();
  const CheckResult result =
      Check({folder + "/text", folder + "/mzml", folder + "/msb", folder + "/out"});
  EXPECT_EQ(result.m_status, 0);
  EXPECT_EQ(result.Findings(false), std::vector<std::string>()) << result.m_report.dump(1);
}

std::string CountText(const std::string& file, const std::string& line_start) {
  std::istringstream lines(ReadFile(GoodRunFolder() + "/" + file));
  int count = 0;
  for (std::string line; std::getline(lines, line);) count += line.starts_with(line_start) ? 1 : 0;
  return std::to_string(count);
}

TEST(CheckPlantedRun, TheTextForPeopleCountsWhatIsInTheFiles) {
  const bool has_record = std::filesystem::exists(GoodRunFolder() + "/out/run.tarvek");
  EXPECT_EQ(CheckedText({GoodRunFolder() + "/out"}),
            GoodRunFolder() + "/out/run (outputs): " + CountText(kCsv, "HCD, ") +
                " exported MS2 scans, " + CountText(kMgf, "BEGIN IONS") + " MGF blocks, " +
                CountText(kMs1, "S\t") + " surveys in PF1" +
                (has_record ? ", " + CountText(kMs2, "S\t") + " MS2 scans read" : "") +
                "\n"
                "0 defects, 0 warnings, 0 notes\n");
}

TEST(CheckPlantedRun, AnIsotopeTableThatCannotBeReadIsADefect) {
  const TemporaryDirectory directory;
  WriteFile(directory / "IPV.txt", "1.0 0.5 x 0 0\n");
  const std::string input = GoodRunFolder() + "/text";
  for (const char* name : {"IPV.txt", "none.txt"}) {
    const CheckResult result = Check({input, "-I", directory / name});
    EXPECT_EQ(result.m_status, 1);
    EXPECT_EQ(result.Findings(false), std::vector<std::string>{"defect isotope-table"}) << name;
  }
}

}  // namespace
}  // namespace tarvek::tools::test
