// The engines in Debian read the output of "tarvek-tools mgf" and find the same spectra as in
// tarvek's own MGF. A test is skipped, with a message, when its engine is not installed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ProcessRunner.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using test::ProcessRequest;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

/// The path of a program; empty when none is installed.
std::string ProgramNamed(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');)
    if (std::filesystem::exists(folder + "/" + name)) return folder + "/" + name;
  return {};
}

std::vector<std::string> CellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream stream(line);
  for (std::string cell; std::getline(stream, cell, '\t');) cells.push_back(cell);
  return cells;
}

/// "scan.charge.index", whatever the run's name is.
std::string PlaceInRun(const std::string& title) {
  std::smatch parts;
  if (!std::regex_match(title, parts, std::regex(R"(.*\.(\d+)\.\d+\.(\d+)\.(\d+)\.dta.*)")))
    return "a title of another form: " + title;
  return parts.str(1) + "." + parts.str(2) + "." + parts.str(3);
}

/// A simulated run with dots in its name, its copy without dots, and the proteins of its peptides.
class MgfEnginesTest : public testing::Test {
 protected:
  void PrepareRuns() {
    Run(test::TestedProgram(TARVEK_TOOLS_PROGRAM),
        {"simulate", "--seed", "5", "--ms2", "150", "plain"});
    for (const char* ending : {".ms1", ".ms2"})
      WriteFile(m_directory / (std::string("a.dotted.run") + ending),
                ReadFile(m_directory / (std::string("plain") + ending)));
    for (const char* run : {"plain.ms1", "a.dotted.run.ms1"})
      Run(test::TestedProgram(TARVEK_PROGRAM),
          {"-D", run, "-O", "found", "-p", "0", "-I", TARVEK_SOURCE_DIR "/data/IPV.txt"});
    ReadTruth();
    WriteFile(m_directory / "proteins.fasta", Proteins());
  }

  /// The rewritten MGF of the dotted run, relative to the directory.
  std::string Rewrite(const std::string& engine, std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments{"mgf",   "--engine", engine,
                                       "--out", engine,     "found/a.dotted.run_HCDFT.mgf"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Run(test::TestedProgram(TARVEK_TOOLS_PROGRAM), arguments);
    return engine + "/a_dotted_run_HCDFT.mgf";
  }

  [[nodiscard]] test::ProcessResult Execute(const std::string& program,
                                            const std::vector<std::string>& arguments) const {
    ProcessRequest request;
    request.m_program = program;
    request.m_arguments = arguments;
    request.m_working_directory = m_directory.Path();
    return test::RunProcess(request);
  }
  void Run(const std::string& program, const std::vector<std::string>& arguments) const {
    const test::ProcessResult result = Execute(program, arguments);
    ASSERT_EQ(result.m_exit_status, 0) << program << "\n" << result.m_out << result.m_err;
  }

  /// Most scans must give a peptide that is really in them.
  void ExpectTruePeptides(const std::map<int, std::set<std::string>>& found) const {
    int with_truth = 0;
    for (const auto& [scan, peptides] : found) {
      const auto truth = m_truth.find(scan);
      if (truth == m_truth.end()) continue;
      bool is_true = false;
      for (const std::string& peptide : peptides) is_true |= truth->second.contains(peptide);
      with_truth += is_true ? 1 : 0;
    }
    EXPECT_GT(found.size(), 120u) << "of 150 scans";
    EXPECT_GT(with_truth, 0.8 * static_cast<double>(found.size()));
  }

  TemporaryDirectory m_directory;

 private:
  void ReadTruth() {
    std::istringstream lines(ReadFile(m_directory / "plain.truth.tsv"));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
      const std::vector<std::string> cells = CellsOf(line);
      m_truth[std::stoi(cells.at(0))].insert(cells.at(5));
    }
  }

  /// Ten peptides for each protein, each ending where trypsin cuts.
  [[nodiscard]] std::string Proteins() const {
    std::set<std::string> peptides;
    for (const auto& [scan, of_scan] : m_truth) peptides.insert(of_scan.begin(), of_scan.end());
    std::string text;
    int count = 0;
    for (const std::string& peptide : peptides) {
      if (count % 10 == 0) text += (count > 0 ? "\n>P" : ">P") + std::to_string(count / 10) + "\n";
      text += peptide;
      ++count;
    }
    return text + "\n";
  }

  std::map<int, std::set<std::string>> m_truth;  // scan to peptides
};

class CometTest : public MgfEnginesTest {
 protected:
  void SetUp() override {
    m_program = ProgramNamed("comet-ms");
    if (m_program.empty()) GTEST_SKIP() << "needs comet-ms, the Debian package of that name";
    PrepareRuns();
    Run(m_program, {"-p"});
    WriteFile(m_directory / "comet.params", Settings(ReadFile(m_directory / "comet.params.new")));
  }

  /// All files that were written for mgf: run.mgf, run_2.mgf, ...
  [[nodiscard]] std::vector<std::string> FilesOf(const std::string& mgf) const {
    std::vector<std::string> files{mgf};
    const std::string base = mgf.substr(0, mgf.size() - 4);
    for (int number = 2;; ++number) {
      const std::string further = base + "_" + std::to_string(number) + ".mgf";
      if (!std::filesystem::exists(m_directory / further)) return files;
      files.push_back(further);
    }
  }

  /// "scan charge peptide" of every match in mgf and the files that belong to it.
  std::multiset<std::string> Search(const std::string& mgf) const {
    std::multiset<std::string> matches;
    for (const std::string& file : FilesOf(mgf)) matches.merge(SearchFile(file));
    return matches;
  }

  std::multiset<std::string> SearchFile(const std::string& mgf) const {
    Run(m_program, {"-Pcomet.params", "-Nmatches", mgf});
    std::multiset<std::string> matches;
    std::istringstream lines(ReadFile(m_directory / "matches.txt"));
    std::string line;
    std::getline(lines, line);
    std::getline(lines, line);
    while (std::getline(lines, line)) {
      const std::vector<std::string> cells = CellsOf(line);
      matches.insert(cells.at(0) + " " + cells.at(2) + " " + cells.at(11));
    }
    return matches;
  }

  std::string m_program;

 private:
  static std::string Settings(std::string text) {
    const std::map<std::string, std::string> settings{{"database_name", "proteins.fasta"},
                                                      {"decoy_search", "0"},
                                                      {"num_threads", "1"},
                                                      {"peptide_mass_tolerance", "20.0"},
                                                      {"peptide_mass_units", "2"},
                                                      {"fragment_bin_tol", "0.02"},
                                                      {"fragment_bin_offset", "0.0"},
                                                      {"output_pepxmlfile", "0"},
                                                      {"output_txtfile", "1"},
                                                      {"num_output_lines", "1"}};
    for (const auto& [key, value] : settings) {
      const std::string changed = std::regex_replace(text, std::regex("\n" + key + " *=[^\n]*"),
                                                     "\n" + key + " = " + value);
      EXPECT_NE(changed, text) << "comet-ms has no parameter " << key;
      text = changed;
    }
    return text;
  }
};

TEST_F(CometTest, FindsTheSameSpectraUnderTheirScanNumbers) {
  const std::multiset<std::string> rewritten = Search(Rewrite("comet"));
  EXPECT_EQ(rewritten, Search("found/plain_HCDFT.mgf"));
  std::map<int, std::set<std::string>> found;
  for (const std::string& match : rewritten)
    found[std::stoi(match)].insert(match.substr(match.rfind(' ') + 1));
  ExpectTruePeptides(found);
}

/// Every piece of text between a mark and an end.
std::multiset<std::string> Behind(const std::string& text, const std::string& mark, char end) {
  std::multiset<std::string> found;
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
    at += mark.size();
    found.insert(text.substr(at, text.find(end, at) - at));
  }
  return found;
}

TEST_F(CometTest, GivesEachBlockAnIdOfItsOwnInPinAndPepXml) {
  const std::vector<std::string> files = FilesOf(Rewrite("comet"));
  ASSERT_GT(files.size(), 1u) << "the run has no scan with two precursors of one charge";
  std::string parameters = ReadFile(m_directory / "comet.params");
  for (const char* output : {"output_pepxmlfile", "output_percolatorfile"})
    parameters =
        std::regex_replace(parameters, std::regex("\n" + std::string(output) + " *=[^\n]*"),
                           "\n" + std::string(output) + " = 1");
  WriteFile(m_directory / "comet.params", parameters);
  std::vector<std::string> arguments{"-Pcomet.params"};
  arguments.insert(arguments.end(), files.begin(), files.end());
  Run(m_program, arguments);
  std::multiset<std::string> of_pin;
  std::multiset<std::string> of_pepxml;
  for (const std::string& file : files) {
    const std::string base = m_directory / file.substr(0, file.size() - 4);
    std::istringstream rows(ReadFile(base + ".pin"));
    std::string row;
    for (std::getline(rows, row); std::getline(rows, row);) of_pin.insert(CellsOf(row).front());
    of_pepxml.merge(Behind(ReadFile(base + ".pep.xml"), "<spectrum_query spectrum=\"", '"'));
  }
  EXPECT_GT(of_pin.size(), 200u);
  EXPECT_EQ(std::set<std::string>(of_pin.begin(), of_pin.end()).size(), of_pin.size());
  EXPECT_GT(of_pepxml.size(), 200u);
  EXPECT_EQ(std::set<std::string>(of_pepxml.begin(), of_pepxml.end()).size(), of_pepxml.size());
}

// One search, two files of each part: the same counts, and rows with unique names.
TEST_F(CometTest, PsmsCountsTheSameInTxtAndPin) {
  const std::vector<std::string> files = FilesOf(Rewrite("comet"));
  std::string parameters = ReadFile(m_directory / "comet.params");
  for (const char* switched_on : {"decoy_search", "output_percolatorfile"})
    parameters =
        std::regex_replace(parameters, std::regex("\n" + std::string(switched_on) + " *=[^\n]*"),
                           "\n" + std::string(switched_on) + " = 1");
  WriteFile(m_directory / "comet.params", parameters);
  std::vector<std::string> arguments{"-Pcomet.params"};
  arguments.insert(arguments.end(), files.begin(), files.end());
  Run(m_program, arguments);
  std::map<std::string, nlohmann::json> counts;
  for (const char* ending : {".txt", ".pin"}) {
    std::vector<std::string> words{"psms", "--json", "--out", "psms.tsv", "--precursors", "comet"};
    words.emplace_back("--");
    for (const std::string& file : files) words.push_back(file.substr(0, file.size() - 4) + ending);
    const test::ProcessResult result = Execute(test::TestedProgram(TARVEK_TOOLS_PROGRAM), words);
    ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
    counts[ending] = nlohmann::json::parse(result.m_out);
    std::istringstream rows(ReadFile(m_directory / "psms.tsv"));
    std::set<std::string> ids;
    std::map<int, std::set<std::string>> found;
    std::string row;
    std::size_t count = 0;
    for (std::getline(rows, row); std::getline(rows, row); ++count) {
      const std::vector<std::string> cells = CellsOf(row);
      ids.insert(cells.at(0));
      found[std::stoi(cells.at(2))].insert(cells.at(19));
      EXPECT_NE(cells.at(7), "") << "a match without its determined precursor: " << row;
    }
    EXPECT_EQ(ids.size(), count);
    EXPECT_EQ(counts[ending]["matches"], count);
    EXPECT_EQ(counts[ending]["scans"], found.size());
    EXPECT_GT(count, found.size()) << "no scan has two peptides";
    ExpectTruePeptides(found);
  }
  for (const char* name : {"spectra", "scans", "matches", "peptides", "proteins"})
    EXPECT_EQ(counts[".txt"][name], counts[".pin"][name]) << name;
}

TEST_F(CometTest, LosesTheScanNumbersOfADottedNameThatWasNotRewritten) {
  EXPECT_NE(Search("found/a.dotted.run_HCDFT.mgf"), Search("found/plain_HCDFT.mgf"));
}

TEST_F(CometTest, FindsAtMostOneMatchForEachScanOfTheBestPrecursors) {
  const std::multiset<std::string> all = Search(Rewrite("comet"));
  const std::multiset<std::string> best = Search(Rewrite("comet", {"--top", "1"}));
  std::set<int> scans;
  for (const std::string& match : best) {
    EXPECT_TRUE(all.contains(match)) << match;
    EXPECT_TRUE(scans.insert(std::stoi(match)).second) << match;
  }
  EXPECT_GT(scans.size(), 100u);
}

// So the profile says that it does not.
TEST_F(CometTest, DoesNotReadACompressedFile) {
  const std::string packed = Rewrite("comet", {"--gzip"}) + ".gz";
  ASSERT_TRUE(std::filesystem::exists(m_directory / packed));
  EXPECT_EQ(Execute(m_program, {"-Pcomet.params", "-Nmatches", packed}).m_exit_status, 1);
}

class XTandemTest : public MgfEnginesTest {
 protected:
  struct Match {
    std::string m_title;
    std::string m_peptide;
  };

  void SetUp() override {
    m_program = ProgramNamed("tandem");
    if (m_program.empty()) GTEST_SKIP() << "needs tandem, of the Debian package tandem-mass";
    PrepareRuns();
    WriteFile(m_directory / "taxonomy.xml",
              "<?xml version=\"1.0\"?>\n<bioml label=\"x! taxon-to-file matching list\">\n"
              "<taxon label=\"run\"><file format=\"peptide\" URL=\"proteins.fasta\" /></taxon>\n"
              "</bioml>\n");
  }

  /// Number of the spectrum to its best match.
  std::map<int, Match> Search(const std::string& mgf) const {
    WriteFile(m_directory / "input.xml", Settings(mgf));
    Run(m_program, {"input.xml"});
    std::map<int, Match> matches;
    std::istringstream lines(ReadFile(m_directory / "matches.xml"));
    std::smatch parts;
    int id = 0;
    for (std::string line; std::getline(lines, line);) {
      if (std::regex_search(line, parts, std::regex(R"re(<group id="(\d+)" .*type="model")re"))) {
        id = std::stoi(parts.str(1));
      } else if (std::regex_search(line, parts, std::regex(R"re(<domain .*seq="([A-Z]+)")re"))) {
        if (matches[id].m_peptide.empty()) matches[id].m_peptide = parts.str(1);
      } else if (std::regex_search(line, parts,
                                   std::regex(R"re(label="Description">([^<]*)<)re"))) {
        matches[id].m_title = parts.str(1);
      }
    }
    return matches;
  }

  static std::string Settings(const std::string& mgf) {
    const std::map<std::string, std::string> settings{
        {"list path, taxonomy information", "taxonomy.xml"},
        {"protein, taxon", "run"},
        {"protein, cleavage site", "[RK]|{P}"},
        {"residue, modification mass", "57.021464@C"},
        {"spectrum, path", mgf},
        {"spectrum, fragment monoisotopic mass error", "0.02"},
        {"spectrum, fragment monoisotopic mass error units", "Daltons"},
        {"spectrum, parent monoisotopic mass error plus", "20"},
        {"spectrum, parent monoisotopic mass error minus", "20"},
        {"spectrum, parent monoisotopic mass error units", "ppm"},
        {"spectrum, parent monoisotopic mass isotope error", "no"},
        {"spectrum, threads", "1"},
        {"output, path", "matches.xml"},
        {"output, path hashing", "no"},
        {"output, results", "all"},
        {"output, spectra", "yes"},
        {"output, proteins", "yes"}};
    std::string text = "<?xml version=\"1.0\"?>\n<bioml>\n";
    for (const auto& [label, value] : settings)
      text.append("<note type=\"input\" label=\"" + label).append("\">" + value + "</note>\n");
    return text + "</bioml>\n";
  }

  std::string m_program;
};

TEST_F(XTandemTest, FindsTheSameSpectraUnderThePlacesOfTheMap) {
  const std::map<int, Match> plain = Search("found/plain_HCDFT.mgf");
  const std::map<int, Match> rewritten = Search(Rewrite("xtandem"));
  ASSERT_EQ(rewritten.size(), plain.size());
  std::map<int, std::string> places;  // of the map, as "scan.charge.index"
  std::istringstream lines(ReadFile(m_directory / "xtandem/a_dotted_run_HCDFT.ids.tsv"));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    const std::vector<std::string> cells = CellsOf(line);
    places[std::stoi(cells.at(1))] = cells.at(4) + "." + cells.at(6) + "." + cells.at(5);
  }
  std::map<int, std::set<std::string>> found;
  for (const auto& [id, match] : rewritten) {
    const std::string place = PlaceInRun(match.m_title);
    EXPECT_EQ(place, places[id]);
    EXPECT_EQ(place, PlaceInRun(plain.at(id).m_title));
    EXPECT_EQ(match.m_peptide, plain.at(id).m_peptide) << place;
    EXPECT_TRUE(match.m_title.starts_with("a_dotted_run.")) << match.m_title;
    found[std::stoi(place)].insert(match.m_peptide);
  }
  ExpectTruePeptides(found);
}

// So the profile says that it does not.
TEST_F(XTandemTest, DoesNotReadACompressedFile) {
  const std::string packed = Rewrite("xtandem", {"--gzip"}) + ".gz";
  ASSERT_TRUE(std::filesystem::exists(m_directory / packed));
  WriteFile(m_directory / "input.xml", Settings(packed));
  const test::ProcessResult result = Execute(m_program, {"input.xml"});
  EXPECT_FALSE(std::filesystem::exists(m_directory / "matches.xml")) << result.m_out;
}

}  // namespace
}  // namespace tarvek::tools
