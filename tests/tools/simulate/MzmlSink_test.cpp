#include "simulate/MzmlSink.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "TestSupport.h"
#include "simulate/Acquisition.h"
#include "simulate/FileSink.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::MessageOf;
using test::ReadFile;
using test::TemporaryDirectory;
using test::WriteFile;

SimulateOptions ShortRun() {
  SimulateOptions options;
  options.m_ms2_scans = 60;
  options.m_ion_trap_share = 0.3;
  options.m_methods = {{"HCD", "FTMS"}, {"CID", "ITMS"}};
  return options;
}

std::string MzmlOf(const SimulateOptions& options) {
  const TemporaryDirectory directory;
  MzmlSink sink(directory / "run", options);
  SimulateRun(options, sink);
  return ReadFile(directory / "run.mzML");
}

/// The run that most tests use.
const std::string& ShortMzml() {
  static const std::string text = MzmlOf(ShortRun());
  return text;
}

/// The text between the first start at or after from and the next end; "" without them.
std::string Between(std::string_view text, std::string_view start, std::string_view end,
                    std::size_t from = 0) {
  const std::size_t first = text.find(start, from);
  if (first == std::string_view::npos) return "";
  const std::size_t begin = first + start.size();
  const std::size_t last = text.find(end, begin);
  return last == std::string_view::npos ? "" : std::string(text.substr(begin, last - begin));
}

std::string TermValue(std::string_view text, const std::string& accession) {
  const std::size_t term = text.find("accession=\"" + accession + "\"");
  return term == std::string_view::npos ? "(none)" : Between(text, "value=\"", "\"", term);
}

bool HasTerm(std::string_view text, const std::string& accession) {
  return text.find("accession=\"" + accession + "\"") != std::string_view::npos;
}

std::vector<std::string> SpectraOf(std::string_view mzml) {
  std::vector<std::string> spectra;
  constexpr std::string_view kEnd = "</spectrum>";
  for (std::size_t at = mzml.find("<spectrum "); at != std::string_view::npos;
       at = mzml.find("<spectrum ", at)) {
    const std::size_t end = mzml.find(kEnd, at) + kEnd.size();
    spectra.emplace_back(mzml.substr(at, end - at));
    at = end;
  }
  return spectra;
}

std::string FromBase64(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned bits = 0;
  int count = 0;
  for (const char digit : text.substr(0, text.find('='))) {
    const std::size_t value = kDigits.find(digit);
    EXPECT_NE(value, std::string_view::npos);
    bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFu;
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count & 0xFFu);
  }
  return bytes;
}

/// The numbers of array number index of a spectrum; Bits as wide as Real.
template <class Real, class Bits>
std::vector<Real> ArrayOf(const std::string& spectrum, int index) {
  std::size_t at = 0;
  for (int i = 0; i < index; ++i) at = spectrum.find("</binary>", at) + 1;
  const std::string packed = FromBase64(Between(spectrum, "<binary>", "</binary>", at));
  std::vector<unsigned char> bytes(1 << 20);
  auto size = static_cast<uLongf>(bytes.size());
  EXPECT_EQ(uncompress(bytes.data(), &size, reinterpret_cast<const Bytef*>(packed.data()),
                       static_cast<uLong>(packed.size())),
            Z_OK);
  std::vector<Real> values;
  for (std::size_t i = 0; i + sizeof(Bits) <= size; i += sizeof(Bits)) {
    Bits bits = 0;
    for (std::size_t k = sizeof(Bits); k-- > 0;) bits = static_cast<Bits>(bits << 8 | bytes[i + k]);
    values.push_back(std::bit_cast<Real>(bits));
  }
  return values;
}

/// The first mistake of nesting or quoting, "" when there is none. Knows elements, attributes in
/// double quotes and the declaration: the files hold only these.
std::string NestingMistake(std::string_view xml) {
  std::vector<std::string> open;
  for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
    const std::size_t end = xml.find('>', at);
    if (end == std::string_view::npos) return "unfinished tag";
    std::string_view tag = xml.substr(at + 1, end - at - 1);
    if (tag.find('<') != std::string_view::npos) return "tag in a tag: " + std::string(tag);
    if (tag.starts_with('?')) continue;
    if (std::ranges::count(tag, '"') % 2 != 0) return "open quote: " + std::string(tag);
    if (tag.starts_with('/')) {
      if (open.empty() || open.back() != tag.substr(1)) return "stray " + std::string(tag);
      open.pop_back();
    } else if (!tag.ends_with('/')) {
      open.emplace_back(tag.substr(0, tag.find(' ')));
    }
  }
  return open.empty() ? "" : "never closed: " + open.back();
}

TEST(MzmlSink, WritesElementsThatAreProperlyNested) { EXPECT_EQ(NestingMistake(ShortMzml()), ""); }
TEST(MzmlSink, IsAcceptedByXmllint) {
  if (std::system("xmllint --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "needs xmllint";
  const TemporaryDirectory directory;
  WriteFile(directory / "run.mzML", ShortMzml());
  EXPECT_EQ(std::system(("xmllint --noout --huge '" + directory / "run.mzML" + "'").c_str()), 0);
}

TEST(MzmlSink, StatesTheNumberOfSpectra) {
  const std::size_t list = ShortMzml().find("<spectrumList");
  EXPECT_EQ(Between(ShortMzml(), "count=\"", "\"", list),
            std::to_string(SpectraOf(ShortMzml()).size()));
}
TEST(MzmlSink, CountsSpectraFromZero) {
  std::size_t index = 0;
  for (const std::string& spectrum : SpectraOf(ShortMzml()))
    EXPECT_EQ(Between(spectrum, "index=\"", "\""), std::to_string(index++));
}
TEST(MzmlSink, IndexesTheFirstByteOfEverySpectrumByItsId) {
  const std::string& mzml = ShortMzml();
  std::size_t entries = 0;
  for (std::size_t at = mzml.find("<offset "); at != std::string::npos;
       at = mzml.find("<offset ", at + 1)) {
    const std::size_t offset = std::stoul(Between(mzml, ">", "<", at));
    EXPECT_EQ(mzml.substr(offset, 10), "<spectrum ");
    EXPECT_EQ(Between(mzml, " id=\"", "\"", offset), Between(mzml, "idRef=\"", "\"", at));
    ++entries;
  }
  EXPECT_EQ(entries, SpectraOf(mzml).size());
}
TEST(MzmlSink, StatesWhereTheIndexStarts) {
  const std::string offset = Between(ShortMzml(), "<indexListOffset>", "<");
  EXPECT_EQ(ShortMzml().substr(std::stoul(offset), 11), "<indexList ");
}
TEST(MzmlSink, TheSameSeedWritesTheSameBytes) { EXPECT_TRUE(MzmlOf(ShortRun()) == ShortMzml()); }

/// Keeps the records of a run.
class KeepingSink final : public RunSink {
 public:
  void TakeSurvey(const MS1Spectrum& scan) override { Keep(scan); }
  void TakeFragments(const MS2Spectrum& scan, std::span<const TruthRow>) override {
    Keep(scan);
    m_fragments.push_back(scan);
  }
  void Complete() override {}

  std::vector<std::vector<Peak>> m_peaks;
  std::vector<double> m_seconds;
  std::vector<MS2Spectrum> m_fragments;

 private:
  template <class Spectrum>
  void Keep(const Spectrum& scan) {
    m_peaks.push_back(scan.m_peaks);
    m_seconds.push_back(scan.m_rt);
  }
};

TEST(MzmlSink, HoldsTheExactMzAndSinglePrecisionIntensities) {
  KeepingSink run;
  SimulateRun(ShortRun(), run);
  const std::vector<std::string> spectra = SpectraOf(ShortMzml());
  ASSERT_EQ(spectra.size(), run.m_peaks.size());
  for (std::size_t i = 0; i < spectra.size(); ++i) {
    const auto mz = ArrayOf<double, std::uint64_t>(spectra[i], 0);
    const auto intensity = ArrayOf<float, std::uint32_t>(spectra[i], 1);
    const std::vector<Peak>& peaks = run.m_peaks[i];
    EXPECT_EQ(Between(spectra[i], "defaultArrayLength=\"", "\""), std::to_string(peaks.size()));
    ASSERT_EQ(mz.size(), peaks.size());
    ASSERT_EQ(intensity.size(), peaks.size());
    for (std::size_t k = 0; k < peaks.size(); ++k) {
      ASSERT_EQ(mz[k], peaks[k].m_mz);
      ASSERT_EQ(intensity[k], static_cast<float>(peaks[k].m_intensity));
    }
  }
}
TEST(MzmlSink, StatesScanTimesInMinutes) {
  KeepingSink run;
  SimulateRun(ShortRun(), run);
  const std::vector<std::string> spectra = SpectraOf(ShortMzml());
  ASSERT_EQ(spectra.size(), run.m_seconds.size());
  for (std::size_t i = 0; i < spectra.size(); ++i)
    EXPECT_NEAR(std::stod(TermValue(spectra[i], "MS:1000016")) * 60.0, run.m_seconds[i], 1e-9);
}
TEST(MzmlSink, StatesTheLengthOfEncodedArrays) {
  for (const std::string& spectrum : SpectraOf(ShortMzml()))
    EXPECT_EQ(Between(spectrum, "encodedLength=\"", "\""),
              std::to_string(Between(spectrum, "<binary>", "<").size()));
}

MS2Spectrum Fragments(const std::string& activation, const Precursor& declared) {
  MS2Spectrum scan;
  scan.m_scan_no = 8;
  scan.m_precursor_scan = 7;
  scan.m_activation_center = 650.3212;
  scan.m_rt = 90.0;
  scan.m_ion_injection_time = 12.75;
  scan.m_activation_type = activation;
  scan.m_instrument_type = "ITMS";
  scan.m_orig_precursors = {declared};
  scan.m_peaks = {{175.1189524, 20431.57}};
  return scan;
}

/// The spectrum that a sink writes for one fragment scan.
std::string SpectrumOf(const MS2Spectrum& scan, bool is_negative = false) {
  const TemporaryDirectory directory;
  SimulateOptions options;
  options.m_is_negative = is_negative;
  options.m_isolation_width_mz = 3.0;
  MzmlSink sink(directory / "run", options);
  sink.TakeFragments(scan, {});
  sink.Complete();
  return SpectraOf(ReadFile(directory / "run.mzML")).at(0);
}

TEST(MzmlSink, WritesWhatTheInstrumentSaysOfAFragmentScan) {
  const std::string spectrum = SpectrumOf(Fragments("HCD", {650.25, 3}));
  EXPECT_EQ(Between(spectrum, " id=\"", "\""), "controllerType=0 controllerNumber=1 scan=8");
  EXPECT_EQ(Between(spectrum, "spectrumRef=\"", "\""),
            "controllerType=0 controllerNumber=1 scan=7");
  EXPECT_EQ(Between(spectrum, "instrumentConfigurationRef=\"", "\""), "ITMS");
  EXPECT_EQ(TermValue(spectrum, "MS:1000511"), "2");
  EXPECT_TRUE(HasTerm(spectrum, "MS:1000580"));
  EXPECT_TRUE(HasTerm(spectrum, "MS:1000127"));
  EXPECT_TRUE(HasTerm(spectrum, "MS:1000130"));
  EXPECT_EQ(TermValue(spectrum, "MS:1000016"), "1.5");
  EXPECT_EQ(TermValue(spectrum, "MS:1000927"), "12.75");
  EXPECT_EQ(TermValue(spectrum, "MS:1000512"), "ITMS + c NSI d Full ms2 650.3212@hcd");
  EXPECT_EQ(TermValue(spectrum, "MS:1000827"), "650.3212");
  EXPECT_EQ(TermValue(spectrum, "MS:1000828"), "1.5");
  EXPECT_EQ(TermValue(spectrum, "MS:1000829"), "1.5");
  EXPECT_EQ(TermValue(spectrum, "MS:1000744"), "650.25");
  EXPECT_EQ(TermValue(spectrum, "MS:1000041"), "3");
}
TEST(MzmlSink, WritesTheRangeOfASurvey) {
  const std::string survey = SpectraOf(ShortMzml()).at(0);
  EXPECT_EQ(TermValue(survey, "MS:1000511"), "1");
  EXPECT_TRUE(HasTerm(survey, "MS:1000579"));
  EXPECT_EQ(TermValue(survey, "MS:1000501"), "350");
  EXPECT_EQ(TermValue(survey, "MS:1000500"), "1500");
}
TEST(MzmlSink, StatesNoChargeWhenItIsUnknown) {
  EXPECT_FALSE(HasTerm(SpectrumOf(Fragments("HCD", {650.25, 0})), "MS:1000041"));
}
TEST(MzmlSink, TellsNegativeIonsByThePolarityAndStatesTheirChargeWithoutSign) {
  const std::string spectrum = SpectrumOf(Fragments("HCD", {650.25, -2}), true);
  EXPECT_TRUE(HasTerm(spectrum, "MS:1000129"));
  EXPECT_FALSE(HasTerm(spectrum, "MS:1000130"));
  EXPECT_EQ(TermValue(spectrum, "MS:1000041"), "2");
  EXPECT_EQ(TermValue(spectrum, "MS:1000512").substr(0, 6), "ITMS -");
}

struct ActivationTerms {
  std::string m_type;
  std::vector<std::string> m_accessions;
};
class MzmlActivations : public testing::TestWithParam<ActivationTerms> {};

TEST_P(MzmlActivations, HaveTheTermsOfTheVocabulary) {
  const std::string activation = Between(SpectrumOf(Fragments(GetParam().m_type, {650.25, 2})),
                                         "<activation>", "</activation>");
  std::vector<std::string> accessions;
  for (std::size_t at = activation.find("accession="); at != std::string::npos;
       at = activation.find("accession=", at + 1))
    accessions.push_back(Between(activation, "\"", "\"", at));
  EXPECT_EQ(accessions, GetParam().m_accessions);
}
INSTANTIATE_TEST_SUITE_P(Types, MzmlActivations,
                         testing::Values(ActivationTerms{"CID", {"MS:1000133"}},
                                         ActivationTerms{"HCD", {"MS:1000422"}},
                                         ActivationTerms{"ETD", {"MS:1000598"}},
                                         ActivationTerms{"ETCID", {"MS:1000598", "MS:1002679"}},
                                         ActivationTerms{"ETHCD", {"MS:1000598", "MS:1002678"}}));

TEST(MzmlSink, ComesWithTheTruthOfTheText) {
  const TemporaryDirectory directory;
  MzmlSink mzml(directory / "mzml", ShortRun());
  SimulateRun(ShortRun(), mzml);
  const auto text = MakeTextSink(directory / "text");
  SimulateRun(ShortRun(), *text);
  EXPECT_TRUE(ReadFile(directory / "mzml.truth.tsv") == ReadFile(directory / "text.truth.tsv"));
}
TEST(MzmlSink, LeavesNoFileBesideTheSpectraAndTheTruth) {
  const TemporaryDirectory directory;
  MzmlSink sink(directory / "run", ShortRun());
  SimulateRun(ShortRun(), sink);
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(directory.Path())) ++files;
  EXPECT_EQ(files, 2u);
  EXPECT_TRUE(fs::exists(directory / "run.mzML"));
  EXPECT_TRUE(fs::exists(directory / "run.truth.tsv"));
}
TEST(MzmlSink, ARunThatDoesNotEndLeavesNothingBehind) {
  const TemporaryDirectory directory;
  { const MzmlSink sink(directory / "run", ShortRun()); }
  EXPECT_TRUE(fs::is_empty(directory.Path()));
}

class MzmlSinkOnAFullDisk : public testing::TestWithParam<const char*> {};

TEST_P(MzmlSinkOnAFullDisk, IsAnErrorThatLeavesFormerFilesAlone) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const TemporaryDirectory directory;
  for (const char* name : {"run.mzML", "run.truth.tsv"}) WriteFile(directory / name, "old");
  const std::string full = directory / GetParam() + "_unfinished";
  fs::create_symlink("/dev/full", full);
  EXPECT_EQ(MessageOf([&] {
              MzmlSink sink(directory / "run", ShortRun());
              SimulateRun(ShortRun(), sink);
            }),
            "Cannot write " + full);
  for (const char* name : {"run.mzML", "run.truth.tsv"})
    EXPECT_EQ(ReadFile(directory / name), "old");
}
INSTANTIATE_TEST_SUITE_P(Files, MzmlSinkOnAFullDisk,
                         testing::Values("run.mzML", "run.mzML.index", "run.truth.tsv"));

}  // namespace
}  // namespace tarvek::tools
