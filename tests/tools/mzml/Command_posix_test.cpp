// "tarvek-tools mzml" as a user runs it, and what other programs read from its files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <zlib.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "MsTextReader.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "ProcessRunner.h"
#include "TestSupport.h"
#include "ToolsProgram.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;
using testing::HasSubstr;

constexpr const char* kTable = TARVEK_SOURCE_DIR "/data/IPV.txt";

std::string Sha1Of(const std::string& bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, EVP_sha1(), nullptr);
  std::ostringstream hex;
  hex << std::hex;
  for (unsigned int i = 0; i < size; ++i) hex << (digest[i] >> 4U) << (digest[i] & 15U);
  return hex.str();
}

/// The text between two others, from at on; at moves past it, or to npos without it.
std::string Between(const std::string& text, const std::string& start, const std::string& end,
                    std::size_t& at) {
  const std::size_t begin = text.find(start, at);
  if (begin == std::string::npos) {
    at = begin;
    return {};
  }
  const std::size_t stop = text.find(end, begin + start.size());
  at = stop + end.size();
  return text.substr(begin + start.size(), stop - begin - start.size());
}

std::string FirstBetween(const std::string& text, const std::string& start,
                         const std::string& end) {
  std::size_t at = 0;
  return Between(text, start, end, at);
}

/// A spectrum, read by searching for words.
struct PlainSpectrum {
  std::string m_id;
  std::string m_index;
  std::vector<std::pair<std::string, std::string>> m_ions;  // m/z and charge as written
  std::string m_rest;  // after the first tag, without the list of selected ions

  bool operator==(const PlainSpectrum&) const = default;
};

std::vector<PlainSpectrum> SpectraOf(const std::string& mzml) {
  std::vector<PlainSpectrum> spectra;
  std::size_t at = 0;
  while (true) {
    const std::string text = Between(mzml, "<spectrum ", "</spectrum>", at);
    if (at == std::string::npos) return spectra;
    PlainSpectrum spectrum;
    spectrum.m_id = FirstBetween(text, "id=\"", "\"");
    spectrum.m_index = FirstBetween(text, "index=\"", "\"");
    std::size_t ion = 0;
    while (true) {
      const std::string words = Between(text, "<selectedIon>", "</selectedIon>", ion);
      if (ion == std::string::npos) break;
      std::size_t charge = words.find("MS:1000041");
      spectrum.m_ions.emplace_back(
          FirstBetween(words.substr(words.find("MS:1000744")), "value=\"", "\""),
          charge == std::string::npos ? "" : FirstBetween(words.substr(charge), "value=\"", "\""));
    }
    spectrum.m_rest = text.substr(text.find('>'));
    const std::size_t list = spectrum.m_rest.find("<selectedIonList");
    if (list != std::string::npos)
      spectrum.m_rest.erase(list, spectrum.m_rest.find("</selectedIonList>") - list);
    spectra.push_back(spectrum);
  }
}

std::string FirstMzOf(const std::vector<PlainSpectrum>& spectra) {
  for (const PlainSpectrum& spectrum : spectra)
    if (!spectrum.m_ions.empty()) return spectrum.m_ions[0].first;
  return "(no ion)";
}

/// Index, count, checksum and the numbers of the spectra agree with the bytes.
void ExpectIndexed(const std::string& mzml) {
  const std::vector<PlainSpectrum> spectra = SpectraOf(mzml);
  EXPECT_THAT(FirstBetween(mzml, "<spectrumList ", ">"),
              HasSubstr("count=\"" + std::to_string(spectra.size()) + "\""));
  const std::size_t index_at = std::stoul(FirstBetween(mzml, "<indexListOffset>", "<"));
  ASSERT_TRUE(mzml.substr(index_at).starts_with("<indexList ")) << index_at;
  std::set<std::string> ids;
  std::size_t at = index_at;
  for (std::size_t i = 0; i < spectra.size(); ++i) {
    EXPECT_EQ(spectra[i].m_index, std::to_string(i));
    EXPECT_TRUE(ids.insert(spectra[i].m_id).second) << spectra[i].m_id;
    const std::string offset = Between(mzml, "<offset idRef=\"", "</offset>", at);
    EXPECT_EQ(offset.substr(0, offset.find('"')), spectra[i].m_id);
    const std::size_t place = std::stoul(offset.substr(offset.find('>') + 1));
    const std::string tag = mzml.substr(place, mzml.find('>', place) - place);
    EXPECT_TRUE(tag.starts_with("<spectrum ")) << tag;
    EXPECT_THAT(tag, HasSubstr(" id=\"" + spectra[i].m_id + "\""));
  }
  const std::string checksum_tag = "<fileChecksum>";
  const std::size_t end = mzml.find(checksum_tag) + checksum_tag.size();
  EXPECT_EQ(mzml.substr(end, mzml.find('<', end) - end), Sha1Of(mzml.substr(0, end)));
}

class MzmlCommand : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_directory = new test::TemporaryDirectory;
    fs::create_symlink(TARVEK_EXTRACTOR_DIRECTORY "/morvex_xml.exe", Path("morvex_xml.exe"));
    Simulate("r", "5");
    Determine("r.mzML", "out");
  }
  static void TearDownTestSuite() {
    delete s_directory;
    s_directory = nullptr;
  }

  static void Simulate(const std::string& name, const std::string& seed) {
    const auto result = Tools({"simulate", "--seed", seed, "--ms2", "60", "--top", "10", "--noise",
                               "2", "--format", "mzml", name});
    ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
    // OpenMS allows no value of this term.
    std::string mzml = ReadFile(Path(name + ".mzML"));
    const std::string value = "value=\"simulated\"";
    for (std::size_t at = 0; (at = mzml.find(value, at)) != std::string::npos;)
      mzml.replace(at, value.size(), "value=\"\"");
    WriteFile(Path(name + ".mzML"), mzml);
  }

  static void Determine(const std::string& input, const std::string& folder) {
    const auto run = Program(test::TestedProgram(TARVEK_PROGRAM),
                             {"-D", input, "-O", folder, "-I", kTable, "-W", "2"});
    ASSERT_EQ(run.m_exit_status, 0) << run.m_out << run.m_err;
  }

  static std::string Path(const std::string& name) { return *s_directory / name; }

  static test::ProcessResult Tools(std::vector<std::string> arguments) {
    return test::RunTools(std::move(arguments), s_directory->Path());
  }

  static test::ProcessResult Program(const std::string& program,
                                     std::vector<std::string> arguments) {
    test::ProcessRequest request;
    request.m_program = program;
    request.m_arguments = std::move(arguments);
    request.m_working_directory = s_directory->Path();
    return test::RunProcess(request);
  }

  /// Writes the file of the run "r" in a form and returns its bytes.
  static std::string Write(const std::string& name, std::vector<std::string> more) {
    more.insert(more.begin(), {"mzml", "out/r.csv", "r.mzML", "-o", name});
    const auto result = Tools(more);
    EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
    return ReadFile(Path(name));
  }

  static void Extract(const std::string& name, const std::string& folder) {
    const auto result = Program(Path("morvex_xml.exe"), {"-ms", "-o", folder, name});
    ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  }

  /// The determined precursors by scan, from the table.
  static std::map<std::string, std::vector<Precursor>> Determined() {
    std::map<std::string, std::vector<Precursor>> precursors;
    PrecursorTableReader table(Path("out/r.csv"));
    for (PrecursorRow row; table.Next(row);)
      precursors["controllerType=0 controllerNumber=1 scan=" + std::to_string(row.m_scan_no)] =
          row.m_determined;
    return precursors;
  }

  static void ExpectIon(const std::pair<std::string, std::string>& ion, const Precursor& expected) {
    EXPECT_NEAR(std::stod(ion.first), expected.m_mz, 1e-9);
    EXPECT_EQ(ion.second, std::to_string(expected.m_charge));
  }

  static test::TemporaryDirectory* s_directory;
};
test::TemporaryDirectory* MzmlCommand::s_directory = nullptr;

TEST_F(MzmlCommand, PutsAnIonForEachPrecursorAndKeepsAllElse) {
  const std::string mzml = Write("all.mzML", {"--all"});
  ExpectIndexed(mzml);
  const auto before = SpectraOf(ReadFile(Path("r.mzML")));
  const auto after = SpectraOf(mzml);
  const auto determined = Determined();
  ASSERT_EQ(after.size(), before.size());
  std::size_t several = 0;
  for (std::size_t i = 0; i < after.size(); ++i) {
    EXPECT_EQ(after[i].m_id, before[i].m_id);
    EXPECT_TRUE(after[i].m_rest == before[i].m_rest) << after[i].m_id;
    const auto found = determined.find(after[i].m_id);
    if (found == determined.end()) {
      EXPECT_EQ(after[i].m_ions, before[i].m_ions);
      continue;
    }
    ASSERT_EQ(after[i].m_ions.size(), found->second.size());
    several += found->second.size() > 1 ? 1U : 0U;
    for (std::size_t ion = 0; ion < found->second.size(); ++ion)
      ExpectIon(after[i].m_ions[ion], found->second[ion]);
  }
  EXPECT_GT(several, 5U);
  EXPECT_GT(determined.size(), 50U);
  EXPECT_FALSE(fs::exists(Path("all.mzML_unfinished")));
  EXPECT_FALSE(fs::exists(Path("all.mzML.index_unfinished")));
}

TEST_F(MzmlCommand, PutsTheBestPrecursorAlone) {
  const std::string mzml = Write("top.mzML", {"--top", "1"});
  ExpectIndexed(mzml);
  const auto determined = Determined();
  for (const PlainSpectrum& spectrum : SpectraOf(mzml)) {
    const auto found = determined.find(spectrum.m_id);
    if (found == determined.end()) continue;
    ASSERT_EQ(spectrum.m_ions.size(), 1U);
    ExpectIon(spectrum.m_ions[0], found->second[0]);
  }
}

TEST_F(MzmlCommand, MakesASpectrumForEachPrecursor) {
  const std::string mzml = Write("split.mzML", {"--split"});
  ExpectIndexed(mzml);
  const auto after = SpectraOf(mzml);
  const auto determined = Determined();
  std::size_t next = 0;
  for (const PlainSpectrum& before : SpectraOf(ReadFile(Path("r.mzML")))) {
    const auto found = determined.find(before.m_id);
    const std::size_t copies = found == determined.end() ? 1 : found->second.size();
    for (std::size_t copy = 0; copy < copies; ++copy, ++next) {
      ASSERT_LT(next, after.size());
      EXPECT_EQ(after[next].m_id,
                copy == 0 ? before.m_id : before.m_id + " precursor=" + std::to_string(copy + 1));
      EXPECT_TRUE(after[next].m_rest == before.m_rest) << after[next].m_id;
      if (found != determined.end()) ExpectIon(after[next].m_ions.at(0), found->second[copy]);
    }
  }
  EXPECT_EQ(next, after.size());
  const auto again = Tools({"mzml", "out/r", "split.mzML", "--split", "-o", "again.mzML"});
  EXPECT_EQ(again.m_exit_status, 1);
  EXPECT_THAT(again.m_err, HasSubstr("was split before"));
}

TEST_F(MzmlCommand, ReadsAPackedInput) {
  const std::string plain = Write("plain.mzML", {});
  const std::string input = ReadFile(Path("r.mzML"));
  gzFile packed = gzopen(Path("packed.mzML.gz").c_str(), "wb");
  ASSERT_EQ(gzwrite(packed, input.data(), static_cast<unsigned>(input.size())),
            static_cast<int>(input.size()));
  gzclose(packed);
  const auto result = Tools({"mzml", "out/r", "packed.mzML.gz", "-o", "unpacked.mzML"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_TRUE(ReadFile(Path("unpacked.mzML")) == plain);
}

/// The surveys and the fragment scans of an extraction, their peaks only.
struct ExtractedPeaks {
  std::vector<std::vector<std::pair<double, double>>> m_surveys;
  std::vector<std::vector<std::pair<double, double>>> m_fragments;
};

template <class Reader, class Scan>
void ReadPeaks(const std::string& path, std::vector<std::vector<std::pair<double, double>>>& all) {
  Reader reader(path, "r");
  for (Scan scan; reader.ReadNext(scan);) {
    auto& peaks = all.emplace_back();
    for (const Peak& peak : scan.m_peaks) peaks.emplace_back(peak.m_mz, peak.m_intensity);
  }
}

ExtractedPeaks PeaksOf(const std::string& base) {
  ExtractedPeaks peaks;
  test::CaptureConsole([&] {
    ReadPeaks<Ms1TextReader, MS1Spectrum>(base + ".ms1", peaks.m_surveys);
    ReadPeaks<Ms2TextReader, MS2Spectrum>(base + ".ms2", peaks.m_fragments);
  });
  return peaks;
}

TEST_F(MzmlCommand, IsExtractedToTheSamePeaks) {
  Write("all.mzML", {});
  Write("split.mzML", {"--split"});
  Extract("r.mzML", "again");
  Extract("all.mzML", "again");
  Extract("split.mzML", "again");
  EXPECT_TRUE(ReadFile(Path("again/r.ms1")) == ReadFile(Path("again/all.ms1")));
  const ExtractedPeaks before = PeaksOf(Path("again/r"));
  const ExtractedPeaks all = PeaksOf(Path("again/all"));
  const ExtractedPeaks split = PeaksOf(Path("again/split"));
  ASSERT_GT(before.m_fragments.size(), 50U);
  EXPECT_TRUE(all.m_fragments == before.m_fragments);
  EXPECT_TRUE(split.m_surveys == before.m_surveys);
  std::vector<std::vector<std::pair<double, double>>> expected;
  PrecursorTableReader table(Path("out/r.csv"));
  std::size_t next = 0;
  for (PrecursorRow row; table.Next(row); ++next)  // all fragment scans are in the table
    expected.insert(expected.end(), row.m_determined.size(), before.m_fragments.at(next));
  EXPECT_EQ(next, before.m_fragments.size());
  EXPECT_TRUE(split.m_fragments == expected);
}

// tarvek reads the determined precursors as declared ones.
TEST_F(MzmlCommand, DeclaresForTarvekWhatItDetermined) {
  Write("all.mzML", {});
  Extract("all.mzML", "declared");
  Ms2TextReader reader(Path("declared/all.ms2"), "r");
  PrecursorTableReader table(Path("out/r.csv"));
  MS2Spectrum scan;
  PrecursorRow row;
  while (table.Next(row)) {
    ASSERT_TRUE(reader.ReadNext(scan));
    EXPECT_EQ(scan.m_scan_no, row.m_scan_no);
    ASSERT_EQ(scan.m_orig_precursors.size(), row.m_determined.size());
    for (std::size_t i = 0; i < row.m_determined.size(); ++i) {
      EXPECT_NEAR(scan.m_orig_precursors[i].m_mz, row.m_determined[i].m_mz, 1e-5);
      EXPECT_EQ(scan.m_orig_precursors[i].m_charge, row.m_determined[i].m_charge);
    }
  }
}

TEST_F(MzmlCommand, IsValidForOpenMs) {
  if (!fs::exists("/usr/bin/FileInfo")) GTEST_SKIP() << "FileInfo of OpenMS is not installed";
  Write("all.mzML", {});
  Write("split.mzML", {"--split"});
  Write("top.mzML", {"--top", "1"});
  for (const char* name : {"all.mzML", "split.mzML", "top.mzML"}) {
    const auto valid = Program("/usr/bin/FileInfo", {"-in", name, "-v"});
    EXPECT_EQ(valid.m_exit_status, 0);
    EXPECT_THAT(valid.m_out, HasSubstr("Success - the file is valid!")) << name;
    EXPECT_THAT(valid.m_out, HasSubstr("Success - the file is semantically valid!")) << name;
    const auto index = Program("/usr/bin/FileInfo", {"-in", name, "-i"});
    EXPECT_THAT(index.m_out + index.m_err, HasSubstr("valid index")) << name;
  }
}

TEST_F(MzmlCommand, IsReadByMsconvert) {
  if (!fs::exists("/usr/bin/msconvert")) GTEST_SKIP() << "msconvert is not installed";
  for (const std::string form : {"--all", "--split"}) {
    Write("c.mzML", {form});
    Extract("c.mzML", "of-ours" + form);
    // msconvert names its output after the run id in the file.
    const auto result = Program("/usr/bin/msconvert",
                                {"--mzML", "c.mzML", "--outfile", "c", "-o", "converted" + form});
    ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
    Extract("converted" + form + "/c.mzML", "of-theirs" + form);
    const ExtractedPeaks ours = PeaksOf(Path("of-ours" + form + "/c"));
    const ExtractedPeaks theirs = PeaksOf(Path("of-theirs" + form + "/c"));
    EXPECT_TRUE(ours.m_surveys == theirs.m_surveys);
    EXPECT_TRUE(ours.m_fragments == theirs.m_fragments);
    const auto before = SpectraOf(ReadFile(Path("c.mzML")));
    const auto after = SpectraOf(ReadFile(Path("converted" + form + "/c.mzML")));
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
      EXPECT_EQ(after[i].m_id, before[i].m_id);
      ASSERT_EQ(after[i].m_ions.size(), before[i].m_ions.size());
      for (std::size_t ion = 0; ion < after[i].m_ions.size(); ++ion)
        EXPECT_NEAR(std::stod(after[i].m_ions[ion].first), std::stod(before[i].m_ions[ion].first),
                    1e-9);
    }
    ASSERT_EQ(
        Program("/usr/bin/msconvert", {"--text", "c.mzML", "--outfile", "c", "-o", "text" + form})
            .m_exit_status,
        0);
    EXPECT_THAT(ReadFile(Path("text" + form + "/c.txt")),
                HasSubstr("selected ion m/z, " + FirstMzOf(before).substr(0, 8)));
  }
}

TEST_F(MzmlCommand, IsCopiedByOpenMsWithTheSamePeaks) {
  if (!fs::exists("/usr/bin/FileConverter"))
    GTEST_SKIP() << "FileConverter of OpenMS is not installed";
  Write("s.mzML", {"--split"});
  const auto result = Program("/usr/bin/FileConverter", {"-in", "s.mzML", "-out", "s-copy.mzML"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_out << result.m_err;
  Extract("s.mzML", "openms");
  Extract("s-copy.mzML", "openms");
  const ExtractedPeaks ours = PeaksOf(Path("openms/s"));
  const ExtractedPeaks theirs = PeaksOf(Path("openms/s-copy"));
  EXPECT_TRUE(ours.m_surveys == theirs.m_surveys);
  EXPECT_TRUE(ours.m_fragments == theirs.m_fragments);
}

// The scans of such a run are numbered by position.
TEST_F(MzmlCommand, FindsScansWhoseIdsHoldNoNumber) {
  std::string input = ReadFile(Path("r.mzML"));
  const std::string start = "\"controllerType=0 controllerNumber=1 scan=";
  for (std::size_t at = 0; (at = input.find(start, at)) != std::string::npos;)
    input.replace(at, start.size(), "\"index=7");
  WriteFile(Path("i.mzML"), input);
  Determine("i.mzML", "by-place");
  ASSERT_TRUE(fs::exists(Path("by-place/i.nativeid.tsv")));
  const auto result = Tools({"mzml", "by-place/i.csv", "i.mzML", "-o", "i-all.mzML"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  std::map<int, std::vector<Precursor>> determined;  // by position, from 1
  PrecursorTableReader table(Path("by-place/i.csv"));
  for (PrecursorRow row; table.Next(row);) determined[row.m_scan_no] = row.m_determined;
  const auto spectra = SpectraOf(ReadFile(Path("i-all.mzML")));
  for (const auto& [position, precursors] : determined)
    ExpectIon(spectra.at(static_cast<std::size_t>(position) - 1).m_ions.at(0), precursors.at(0));
  fs::rename(Path("by-place/i.nativeid.tsv"), Path("by-place/elsewhere"));
  EXPECT_THAT(Tools({"mzml", "by-place/i.csv", "i.mzML", "-o", "i-all.mzML"}).m_err,
              HasSubstr("it is not the file of this run"));
}

TEST_F(MzmlCommand, KeepsWhatIsDeclaredWhereNothingWasDetermined) {
  const auto spectra = SpectraOf(ReadFile(Path("r.mzML")));
  PrecursorTableReader table(Path("out/r.csv"));
  std::string text = ReadFile(Path("out/r.csv"));
  const std::string header = text.substr(0, text.find('\n') + 1);
  PrecursorRow row;
  ASSERT_TRUE(table.Next(row));
  std::ostringstream kept;
  kept.precision(6);
  kept << std::fixed << "HCD, FTMS, " << row.m_scan_no << ", " << row.m_declared.m_mz << ", "
       << row.m_declared.m_charge << ", 1, 1, " << row.m_declared.m_mz << ", "
       << row.m_declared.m_charge << ", \n";
  WriteFile(Path("kept.csv"), header + kept.str());
  const auto result = Tools({"mzml", "kept", "r.mzML", "-o", "kept.mzML", "--split"});
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("; 0 precursors in 0 scans; 1 scans keep what they declare"));
  EXPECT_TRUE(SpectraOf(ReadFile(Path("kept.mzML"))) == spectra);
}

TEST_F(MzmlCommand, RefusesTheFileOfAnotherRunAndLeavesNothing) {
  Simulate("other", "6");
  const auto other = Tools({"mzml", "out/r", "other.mzML", "-o", "wrong.mzML"});
  EXPECT_EQ(other.m_exit_status, 1);
  EXPECT_THAT(other.m_err, HasSubstr("it is not the file of this run"));
  std::string input = ReadFile(Path("r.mzML"));
  WriteFile(Path("cut.mzML"), input.substr(0, input.size() / 2));
  EXPECT_THAT(Tools({"mzml", "out/r", "cut.mzML", "-o", "wrong.mzML"}).m_err,
              HasSubstr("cut.mzML: byte "));
  std::string nested = input;
  nested.insert(nested.find("</spectrum>"), "<spectrum id=\"x\"></spectrum>");
  WriteFile(Path("nested.mzML"), nested);
  EXPECT_THAT(Tools({"mzml", "out/r", "nested.mzML", "-o", "wrong.mzML"}).m_err,
              HasSubstr("a spectrum inside a spectrum"));
  const std::size_t last = input.rfind("<spectrum ");
  input.erase(last, input.find("</spectrum>", last) + 11 - last);
  WriteFile(Path("short.mzML"), input);
  EXPECT_THAT(Tools({"mzml", "out/r", "short.mzML", "-o", "wrong.mzML"}).m_err,
              HasSubstr("short.mzML holds no scan "));
  WriteFile(Path("x.mzML"), "<mzXML><msRun/></mzXML>");
  EXPECT_THAT(Tools({"mzml", "out/r", "x.mzML", "-o", "wrong.mzML"}).m_err,
              HasSubstr("x.mzML: there is no spectrumList"));
  EXPECT_THAT(Tools({"mzml", "out/r", "r.mzML", "-o", "./r.mzML"}).m_err,
              HasSubstr("The output ./r.mzML is the input"));
  EXPECT_THAT(Tools({"mzml", "out/r", "r.mzML", "-o", "a.mzML.gz"}).m_err,
              HasSubstr("would not be compressed"));
  EXPECT_FALSE(fs::exists(Path("wrong.mzML")));
  EXPECT_FALSE(fs::exists(Path("wrong.mzML_unfinished")));
  EXPECT_FALSE(fs::exists(Path("wrong.mzML.index_unfinished")));
}

TEST_F(MzmlCommand, SplitsNoSpectrumForMoreThanAHundredPrecursors) {
  PrecursorTableReader table(Path("out/r.csv"));
  PrecursorRow row;
  ASSERT_TRUE(table.Next(row));
  fs::create_directory(Path("many"));
  for (const int count : {100, 101}) {
    const std::string scan = std::to_string(row.m_scan_no);
    std::string text = std::string(kPrecursorTableHeader) + row.m_activation + ", " +
                       row.m_analyser + ", " + scan + ", " + std::to_string(row.m_declared.m_mz) +
                       ", " + std::to_string(row.m_declared.m_charge) + ", " +
                       std::to_string(count) + ", ";
    for (int i = 1; i <= count; ++i) text += std::to_string(i) + ", 500.25, 2, ";
    WriteFile(Path("many/r.csv"), text + "\n");
    const auto result = Tools({"mzml", "many/r.csv", "r.mzML", "--split", "-o", "many/split.mzML"});
    if (count == 100) {
      EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
      fs::remove(Path("many/split.mzML"));
    } else {
      EXPECT_THAT(result.m_err, HasSubstr("r.mzML: the spectrum \"controllerType=0 "
                                          "controllerNumber=1 scan=" +
                                          scan +
                                          "\" would be split for more than 100 precursors; use "
                                          "--top"));
      EXPECT_FALSE(fs::exists(Path("many/split.mzML")));
      EXPECT_EQ(Tools({"mzml", "many/r.csv", "r.mzML", "--split", "--top", "100", "-o",
                       "many/split.mzML"})
                    .m_exit_status,
                0);
    }
  }
}

TEST_F(MzmlCommand, CopiesChromatogramsAndFilesWithoutIndex) {
  std::string input = ReadFile(Path("r.mzML"));
  const std::size_t mzml_begin = input.find("<mzML ");
  const std::size_t mzml_end = input.find("</mzML>") + 7;
  std::string plain = "<?xml version=\"1.0\"?>\n" + input.substr(mzml_begin, mzml_end - mzml_begin);
  const std::string list_end = "</spectrumList>";
  const std::string chromatograms =
      "<chromatogramList count=\"2\" defaultDataProcessingRef=\"d\"><chromatogram index=\"0\" "
      "id=\"TIC\"></chromatogram><chromatogram index=\"1\" id=\"a &quot;b\"></chromatogram>"
      "</chromatogramList>";
  plain.insert(plain.find(list_end) + list_end.size(), chromatograms);
  WriteFile(Path("plain-in.mzML"), plain);
  const auto result = Tools({"mzml", "out/r", "plain-in.mzML", "-o", "with-index.mzML"});
  ASSERT_EQ(result.m_exit_status, 0) << result.m_err;
  const std::string mzml = ReadFile(Path("with-index.mzML"));
  ExpectIndexed(mzml);
  EXPECT_THAT(mzml, HasSubstr(chromatograms));
  std::size_t at = mzml.find("<index name=\"chromatogram\">");
  for (const char* id : {"TIC", "a &quot;b"}) {
    const std::string offset = Between(mzml, "<offset idRef=\"", "</offset>", at);
    EXPECT_EQ(offset.substr(0, offset.find("\">")), id);
    EXPECT_TRUE(mzml.substr(std::stoul(offset.substr(offset.find('>') + 1)))
                    .starts_with("<chromatogram index"));
  }
}

}  // namespace
}  // namespace tarvek::tools
