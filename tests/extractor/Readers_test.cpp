// What the readers return for instrument and spectra, before any rule.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExtractorTestSupport.h"
#include "ScanRecorder.h"

namespace tarvek::extractor {
namespace {

using test::Cv;
using test::Mzml;
using test::Mzxml;
using test::ReadingError;
using test::ReadScans;
using test::RecordedScan;
using test::Survey;
using test::TestMzxmlScan;
using test::TestPrecursor;
using test::TestScan;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  text.replace(text.find(what), what.size(), by);
  return text;
}

std::string UserParam(const std::string& name, const std::string& value) {
  return "<userParam name=\"" + name + "\" value=\"" + value + "\"/>";
}

std::string NamedCv(int accession, const std::string& name, const std::string& value = "") {
  return Replaced(Cv(accession, value), "term " + std::to_string(accession), name);
}

RecordedScan FirstOf(const std::string& xml) {
  auto scans = ReadScans(xml);
  RecordedScan scan = scans.at(0);
  if (scan.m_scan.m_configuration != nullptr) scan.m_scan.m_configuration = &scan.m_configuration;
  return scan;
}

/// The configuration IC1 with this inside it, as the reader returns it.
InstrumentConfiguration Configured(const std::string& content, const std::string& groups = "") {
  std::string xml = Mzml({Survey(1)});
  const std::size_t start = xml.find("<instrumentConfigurationList>");
  const std::string end = "</instrumentConfigurationList>";
  xml.replace(start, xml.find(end) + end.size() - start,
              groups + "<instrumentConfigurationList><instrumentConfiguration id=\"IC1\">" +
                  content + "</instrumentConfiguration></instrumentConfigurationList>");
  return FirstOf(xml).m_configuration;
}

std::string AnalyserXml(int order, int accession) {
  return "<analyzer order=\"" + std::to_string(order) + "\">" + Cv(accession) + "</analyzer>";
}

TEST(MzmlConfiguration, ListsItsAnalysersByTheirOrder) {
  const InstrumentConfiguration found =
      Configured("<componentList>" + AnalyserXml(4, 1000083) + AnalyserXml(2, 1000081) +
                 AnalyserXml(3, 1000484) + AnalyserXml(5, 1009999) + "</componentList>");
  EXPECT_THAT(found.m_analysers, ElementsAre(Analyser::kOther, Analyser::kFourier,
                                             Analyser::kIonTrap, Analyser::kUnknown));
}

// The only configuration replaces a missing one, but does not count as the scan's own.
TEST(MzmlConfiguration, ThatAScanNamesButTheFileLacksIsNotItsOwn) {
  const auto scan_naming = [](const std::string& id) {
    return ReadScans(
               "<mzML><instrumentConfigurationList><instrumentConfiguration id=\"A\">"
               "<componentList>" +
               AnalyserXml(1, 1000484) +
               "</componentList></instrumentConfiguration></instrumentConfigurationList>"
               "<run><spectrumList><spectrum><scanList><scan "
               "instrumentConfigurationRef=\"" +
               id + "\"/></scanList></spectrum></spectrumList></run></mzML>")
        .at(0)
        .m_scan;
  };
  EXPECT_TRUE(scan_naming("A").m_has_own_analyser);
  EXPECT_FALSE(scan_naming("B").m_has_own_analyser);
  EXPECT_EQ(scan_naming("B").m_analyser, Analyser::kFourier);
}

TEST(MzmlConfiguration, KnowsAnInductiveDetector) {
  const auto is_inductive = [](const std::string& params) {
    return Configured("<componentList><detector order=\"3\">" + params +
                      "</detector></componentList>")
        .m_has_inductive_detector;
  };
  EXPECT_TRUE(is_inductive(Cv(1000624)));
  EXPECT_TRUE(is_inductive(UserParam("inductive detector", "")));
  EXPECT_FALSE(is_inductive(Cv(1000253)));
  EXPECT_FALSE(is_inductive(NamedCv(1000114, "microchannel plate detector")));
}

TEST(MzmlConfiguration, KeepsTheModelAmongItsTerms) {
  const InstrumentConfiguration found = Configured(
      NamedCv(1000529, "instrument serial number", "1") + NamedCv(1000032, "customization") +
      NamedCv(1000494, "Thermo Scientific instrument model") + NamedCv(1000236, "transmission") +
      NamedCv(1001911, "Q Exactive") + NamedCv(1000449, "LTQ Orbitrap"));
  EXPECT_EQ(found.m_model_accession, 1001911);
  EXPECT_EQ(found.m_model_name, "Q Exactive");
}

TEST(MzmlConfiguration, FindsTheModelInAGroup) {
  const InstrumentConfiguration found =
      Configured("<referenceableParamGroupRef ref=\"g\"/>",
                 "<referenceableParamGroupList><referenceableParamGroup id=\"g\">" +
                     NamedCv(1000529, "instrument serial number", "1") +
                     NamedCv(1001742, "LTQ Orbitrap Velos") +
                     "</referenceableParamGroup></referenceableParamGroupList>");
  EXPECT_EQ(found.m_model_accession, 1001742);
  EXPECT_EQ(found.m_model_name, "LTQ Orbitrap Velos");
}

TEST(MzmlConfiguration, TakesAModelInWords) {
  EXPECT_EQ(Configured(NamedCv(1000031, "instrument model", "Q Exactive HF")).m_model_name,
            "Q Exactive HF");
  EXPECT_EQ(Configured(UserParam("instrument model", "Exploris")).m_model_name, "Exploris");
  EXPECT_EQ(Configured(NamedCv(1000031, "instrument model")).m_model_name, "");
  EXPECT_EQ(Configured(UserParam("instrument model", "x") + NamedCv(1001911, "y")).m_model_name,
            "y");
  EXPECT_EQ(Configured(NamedCv(1001911, "y") + UserParam("instrument model", "x")).m_model_name,
            "y");
}

TEST(MzmlConfiguration, IsTheOneThatTheScanNamesOrTheDefault) {
  TestScan trap = Survey(2);
  trap.m_scan_attributes = "instrumentConfigurationRef=\"IC2\"";
  TestScan unknown = Survey(3);
  unknown.m_scan_attributes = "instrumentConfigurationRef=\"IC9\"";
  const auto scans = ReadScans(Mzml({Survey(1), trap, unknown}));
  EXPECT_THAT(scans[0].m_configuration.m_analysers,
              ElementsAre(Analyser::kOther, Analyser::kFourier));
  EXPECT_FALSE(scans[0].m_scan.m_has_own_analyser);
  EXPECT_THAT(scans[1].m_configuration.m_analysers, ElementsAre(Analyser::kIonTrap));
  EXPECT_TRUE(scans[1].m_scan.m_has_own_analyser);
  EXPECT_EQ(scans[2].m_scan.m_configuration, nullptr);
  EXPECT_EQ(scans[2].m_scan.m_analyser, Analyser::kUnknown);
}

TEST(MzmlConfiguration, IsTheOnlyOneWhereNoneIsNamed) {
  std::string xml = Mzml({Survey(1)});
  const std::size_t second = xml.find("<instrumentConfiguration id=\"IC2\"");
  xml.erase(second, xml.find("</instrumentConfigurationList>") - second);
  xml = Replaced(xml, "defaultInstrumentConfigurationRef=\"IC1\"", "");
  EXPECT_EQ(FirstOf(xml).m_scan.m_analyser, Analyser::kFourier);
}

RecordedScan WithIon(const std::string& ion) {
  TestPrecursor precursor;
  precursor.m_ions = {ion};
  return FirstOf(Mzml({test::Fragment(1, precursor)}));
}

TEST(MzmlIon, MayBeGivenByThePlainTermForMz) {
  const auto mz_of = [](const std::string& ion) {
    return WithIon(ion).m_scan.m_precursors.at(0).m_ions.at(0).m_mz;
  };
  EXPECT_EQ(mz_of(Cv(1000040, "500.5")), 500.5);
  EXPECT_EQ(mz_of(Cv(1000040, "400.5") + Cv(1000744, "500.5")), 500.5);
  EXPECT_EQ(mz_of(Cv(1000744, "500.5") + Cv(1000040, "400.5")), 500.5);
}

TEST(MzmlIon, MayHaveAChargeWithItsSign) {
  const auto charge_of = [](const std::string& text) {
    return WithIon(Cv(1000041, text)).m_scan.m_precursors.at(0).m_ions.at(0).m_charge;
  };
  EXPECT_EQ(charge_of("3"), 3);
  EXPECT_EQ(charge_of("3+"), 3);
  EXPECT_EQ(charge_of("+3"), 3);
  EXPECT_EQ(charge_of("3.0"), 3);
  EXPECT_EQ(charge_of("-3"), -3);
  EXPECT_EQ(charge_of(""), 0);
}

TEST(MzmlScan, TakesTimesFromTheSpectrumInOldUnitsAndByOtherTerms) {
  const auto seconds_of = [](const std::string& of_spectrum, const std::string& of_scan) {
    TestScan scan = Survey(1);
    scan.m_params += of_spectrum;
    scan.m_scan_params = of_scan;
    return FirstOf(Mzml({scan})).m_scan.m_rt_seconds.value_or(-1.0);
  };
  EXPECT_EQ(seconds_of(Cv(1000016, "2", "UO:0000031"), ""), 120.0);
  EXPECT_EQ(seconds_of(Cv(1000016, "2"), Cv(1000016, "3")), 180.0);
  EXPECT_EQ(seconds_of("", Cv(1000016, "2", "MS:1000039")), 2.0);
  EXPECT_EQ(seconds_of("", Cv(1000016, "2", "MS:1000038")), 120.0);
  EXPECT_EQ(seconds_of("", Cv(1000894, "2", "UO:0000010")), 2.0);
  EXPECT_EQ(seconds_of("", Cv(1000826, "2", "UO:0000031")), 120.0);
  EXPECT_EQ(seconds_of("", Cv(1000016, "3") + Cv(1000894, "2", "UO:0000010")), 180.0);
  EXPECT_EQ(seconds_of("", Cv(1000894, "2")), -1.0);
}

TEST(MzmlScan, DeclaresNothingByNumbersThatCannotBe) {
  TestPrecursor precursor;
  precursor.m_target = "1e308";
  precursor.m_lower = "99999999999999999999";
  precursor.m_upper = "-1e308";
  precursor.m_ions = {Cv(1000744, "1e10")};
  TestScan scan = test::Fragment(1, precursor);
  scan.m_scan_params = Cv(1000016, "1e308", "UO:0000031");
  const ExtractedScan read = FirstOf(Mzml({scan})).m_scan;
  EXPECT_FALSE(read.m_rt_seconds);
  EXPECT_FALSE(IsolationWidth(read));
  EXPECT_FALSE(read.m_precursors.front().m_target_mz);
  EXPECT_EQ(read.m_precursors.front().m_ions.front().m_mz, 0.0);
}

// mzML 1.0 has its scan and precursors in a description, and no list of scans.
TEST(MzmlScan, IsReadFromMzmlOneZero) {
  std::string xml = Mzml({test::Fragment(1)});
  xml = Replaced(xml, "<scanList count=\"1\">", "<spectrumDescription>");
  xml = Replaced(xml, "</scanList>", Cv(1000127));
  xml = Replaced(xml, "</precursorList>", "</precursorList></spectrumDescription>");
  const RecordedScan found = FirstOf(xml);
  EXPECT_EQ(found.m_scan.m_rt_seconds, 30.0);
  EXPECT_EQ(found.m_scan.m_mode, PeakMode::kCentroid);
  EXPECT_EQ(found.m_scan.m_precursors.at(0).m_target_mz, 500.25);
}

TEST(MzmlScan, TakesPrecursorsOfChromatogramsForNobodys) {
  std::string xml = Mzml({test::Fragment(1)});
  const std::string chromatogram =
      "<chromatogramList><chromatogram id=\"x\" "
      "defaultArrayLength=\"1\"><precursor><isolationWindow>" +
      Cv(1000827, "900") + "</isolationWindow><selectedIonList><selectedIon>" + Cv(1000744, "900") +
      "</selectedIon></selectedIonList><activation>" + Cv(1000250) +
      "</activation></precursor><product><isolationWindow>" + Cv(1000827, "901") +
      "</isolationWindow></product><binaryDataArrayList><binaryDataArray>" + Cv(1000514) +
      "<binary>%%</binary></binaryDataArray></binaryDataArrayList></chromatogram></"
      "chromatogramList>";
  for (const std::string place : {"<spectrumList ", "</run>"}) {
    std::string with = xml;
    with.insert(with.find(place), chromatogram);
    const auto scans = ReadScans(with);
    ASSERT_EQ(scans.size(), 1u) << place;
    ASSERT_EQ(scans[0].m_scan.m_precursors.size(), 1u);
    EXPECT_EQ(scans[0].m_scan.m_precursors[0].m_target_mz, 500.25);
    EXPECT_EQ(scans[0].m_scan.m_precursors[0].m_ions.size(), 1u);
    EXPECT_EQ(scans[0].m_peaks.size(), 2u);
  }
}

TEST(MzmlScan, RefusesWhatTheConsumerOfItsPeaksShouldHaveKnown) {
  std::string xml = Mzml({test::Fragment(1)});
  const std::size_t start = xml.find("<precursorList>");
  const std::string end = "</precursorList>";
  const std::string list = xml.substr(start, xml.find(end) + end.size() - start);
  xml = Replaced(xml, list, "");
  xml.insert(xml.find("</spectrum>"), list);
  EXPECT_THAT(ReadingError(xml),
              HasSubstr("spectrum \"scan=1\": element precursor must not come after the arrays"));
}

bool HasMobility(const std::string& params) {
  TestScan scan = Survey(1);
  scan.m_arrays.push_back({params + Cv(1000523), "", "arrayLength=\"0\""});
  return FirstOf(Mzml({scan})).m_scan.m_has_mobility_array;
}

TEST(MzmlScan, KnowsArraysOfIonMobility) {
  for (const int term :
       {1002477, 1002816, 1002893, 1003006, 1003007, 1003008, 1003153, 1003154, 1003155, 1003156})
    EXPECT_TRUE(HasMobility(Cv(term))) << term;
  EXPECT_TRUE(HasMobility(NamedCv(1009999, "some new Ion Mobility Array")));
  EXPECT_TRUE(HasMobility(NamedCv(1000786, "non-standard data array", "Ion Mobility")));
  for (const int term : {1000516, 1000517, 1000595, 1002478, 1000786})
    EXPECT_FALSE(HasMobility(Cv(term))) << term;
  EXPECT_FALSE(FirstOf(Mzml({Survey(1)})).m_scan.m_has_mobility_array);
}

TEST(ArrayLengths, MayBeLeftToTheArrays) {
  const std::string xml = Replaced(Mzml({Survey(1)}), "defaultArrayLength=\"2\"", "");
  const RecordedScan found = FirstOf(xml);
  EXPECT_EQ(found.m_scan.m_peak_count, 2);
  ASSERT_EQ(found.m_peaks.size(), 2u);
  EXPECT_EQ(found.m_peaks[1].m_mz, 401.5);
  EXPECT_EQ(found.m_peaks[1].m_intensity, 20.0);
}

TEST(ArrayLengths, MustAgreeWhereTheArraysDecide) {
  TestScan scan = Survey(5);
  scan.m_arrays = {test::MzArray({400.25, 401.5, 402.5}), test::IntensityArray({10.0, 20.0})};
  const std::string xml = Replaced(Mzml({scan}), "defaultArrayLength=\"2\"", "");
  EXPECT_THAT(ReadingError(xml), HasSubstr("has 3 m/z values and 2 intensities"));
}

TEST(ArrayLengths, OfArraysCountWhereTheDefaultIsZero) {
  TestScan scan = Survey(1);
  scan.m_length = 0;
  for (test::TestArray& array : scan.m_arrays) array.m_attributes = "arrayLength=\"2\"";
  EXPECT_THAT(test::ExtractXml(Mzml({scan})).m_ms1, HasSubstr("400.25000 10.0\n"));
}

TEST(ArrayLengths, OfArraysMayBeZero) {
  TestScan scan = Survey(1);
  scan.m_arrays = {{Cv(1000514) + Cv(1000523), "", "arrayLength=\"0\""},
                   {Cv(1000515) + Cv(1000523), "", "arrayLength=\"0\""}};
  EXPECT_THAT(FirstOf(Mzml({scan})).m_peaks, IsEmpty());
  EXPECT_THAT(test::ExtractXml(Mzml({scan})).m_report, HasSubstr("Left out: 1 empty"));
}

TEST(ArrayLengths, ThatCannotBeAreErrors) {
  for (const std::string length :
       {"-1", "x", "9223372036854775807", "9223372036854775808", "99999999999999999999"}) {
    const std::string by = "defaultArrayLength=\"" + length + "\"";
    EXPECT_THAT(
        ReadingError(Replaced(Mzml({Survey(5)}), "defaultArrayLength=\"2\"", by)),
        testing::AnyOf(HasSubstr("spectrum \"scan=5\": declares an array length that cannot "
                                 "be: " +
                                 length),
                       HasSubstr("declares " + length + " numbers, which cannot be")));
    TestScan scan = Survey(5);
    scan.m_arrays[0].m_attributes = "arrayLength=\"" + length + "\"";
    EXPECT_THAT(ReadingError(Mzml({scan})), HasSubstr("cannot be")) << length;
  }
}

TEST(Arrays, MayComeInAnyOrder) {
  TestScan scan = Survey(1);
  std::swap(scan.m_arrays[0], scan.m_arrays[1]);
  scan.m_arrays.insert(scan.m_arrays.begin(), {Cv(1000516) + Cv(1000523), "%%", ""});
  EXPECT_EQ(test::ExtractXml(Mzml({scan})).m_ms1, test::ExtractXml(Mzml({Survey(1)})).m_ms1);
}

/// The msInstrument elements of a file of three scans that name the first, the second and none.
std::deque<RecordedScan> OfInstruments(const std::string& instruments) {
  std::vector<TestMzxmlScan> scans(3);
  scans[0].m_attributes += " msInstrumentID=\"1\"";
  scans[1].m_attributes += " msInstrumentID=\"2\"";
  std::string xml = Mzxml(scans);
  const std::size_t start = xml.find("<msInstrument>");
  const std::string end = "</msInstrument>";
  xml.replace(start, xml.find(end) + end.size() - start, instruments);
  return ReadScans(xml);
}

TEST(MzxmlConfiguration, IsTheOneThatTheScanNamesOrTheFirst) {
  const auto scans = OfInstruments(
      "<msInstrument msInstrumentID=\"1\"><msManufacturer value=\"Maker\"/><msModel value=\"LTQ "
      "Orbitrap XL\"/><msMassAnalyzer value=\"orbitrap\"/><msDetector value=\"inductive "
      "detector\"/>"
      "</msInstrument><msInstrument msInstrumentID=\"2\"><msManufacturer value=\"Maker\"/>"
      "<msMassAnalyzer value=\"quadrupole\"/><msMassAnalyzer value=\"unheard of\"/>"
      "<msDetector value=\"microchannel plate detector\"/></msInstrument>");
  for (const std::size_t i : {0u, 2u}) {
    EXPECT_THAT(scans[i].m_configuration.m_analysers, ElementsAre(Analyser::kFourier));
    EXPECT_EQ(scans[i].m_configuration.m_model_name, "LTQ Orbitrap XL");
    EXPECT_TRUE(scans[i].m_configuration.m_has_inductive_detector);
  }
  EXPECT_TRUE(scans[0].m_scan.m_has_own_analyser);
  EXPECT_FALSE(scans[2].m_scan.m_has_own_analyser);
  EXPECT_THAT(scans[1].m_configuration.m_analysers,
              ElementsAre(Analyser::kOther, Analyser::kUnknown));
  EXPECT_EQ(scans[1].m_scan.m_analyser, Analyser::kOther);
  EXPECT_EQ(scans[1].m_configuration.m_model_name, "Maker");
  EXPECT_FALSE(scans[1].m_configuration.m_has_inductive_detector);
}

TEST(MzxmlConfiguration, IsReadFromTheElementOfOldFiles) {
  const auto scans = OfInstruments(
      "<instrument manufacturer=\"Maker\" model=\"LCQ\" msType=\"ITMS\" detector=\"EMT\"/>");
  EXPECT_THAT(scans[0].m_configuration.m_analysers, ElementsAre(Analyser::kIonTrap));
  EXPECT_EQ(scans[0].m_configuration.m_model_name, "LCQ");
}

TEST(MzxmlConfiguration, MayBeMissing) {
  EXPECT_EQ(OfInstruments("")[0].m_scan.m_configuration, nullptr);
}

std::string WithPeakCount(const std::string& attribute) {
  return Replaced(Mzxml({TestMzxmlScan{}}), "peaksCount=\"2\"", attribute);
}

TEST(MzxmlPeaks, MayBeUncounted) {
  const RecordedScan found = FirstOf(WithPeakCount(""));
  EXPECT_EQ(found.m_scan.m_peak_count, 2);
  EXPECT_EQ(found.m_peaks.size(), 2u);
}

TEST(MzxmlPeaks, ThatAreUncountedMustBePairs) {
  TestMzxmlScan scan;
  scan.m_peaks_element = "<peaks precision=\"32\">AAAAAA==</peaks>";
  EXPECT_THAT(ReadingError(Replaced(Mzxml({scan}), "peaksCount=\"2\"", "")),
              HasSubstr("peaks holds an m/z without its intensity"));
}

TEST(MzxmlPeaks, OfACountThatCannotBeAreErrors) {
  for (const std::string count :
       {"-1", "x", "4611686018427387904", "9223372036854775807", "9223372036854775808", "10000001"})
    EXPECT_THAT(ReadingError(WithPeakCount("peaksCount=\"" + count + "\"")),
                HasSubstr("spectrum \"scan=1\": declares a peak count that cannot be: " + count));
}

TEST(MzxmlScan, MayHaveNoNumberOrOneTooLarge) {
  TestMzxmlScan scan;
  const std::string numbered = "num=\"1\"";
  EXPECT_EQ(FirstOf(Replaced(Mzxml({scan}), numbered, "")).m_scan.m_id, "");
  const auto out = test::ExtractXml(Replaced(Mzxml({scan}), numbered, "num=\"4294967298\""));
  EXPECT_THAT(test::LinesFrom(out.m_ms1, "S"), ElementsAre("S\t1\t1"));
}

}  // namespace
}  // namespace tarvek::extractor
