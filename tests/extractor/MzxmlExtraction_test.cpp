// The rules of an extraction where mzXML differs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using test::Extracted;
using test::ExtractXml;
using test::LinesFrom;
using test::Mzxml;
using test::TestMzxmlScan;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TestMzxmlScan Survey(int number) {
  TestMzxmlScan scan;
  scan.m_number = number;
  return scan;
}

TestMzxmlScan Fragment(int number, const std::string& attributes, const std::string& mz = "500.5") {
  TestMzxmlScan scan = Survey(number);
  scan.m_attributes = "msLevel=\"2\" retentionTime=\"PT0.5M\"";
  scan.m_precursor = "<precursorMz " + attributes + ">" + mz + "</precursorMz>";
  return scan;
}

TEST(MzxmlExtraction, WritesASurveyAndAFragmentScan) {
  const Extracted out =
      ExtractXml(Mzxml({Survey(7), Fragment(9,
                                            "precursorScanNum=\"7\" precursorCharge=\"2\" "
                                            "activationMethod=\"CID\" windowWideness=\"3.0\"")}));
  EXPECT_EQ(out.m_ms1,
            "S\t7\t7\nI\tRetTime\t30.0000\nI\tIonInjectionTime\t0.0000\n"
            "I\tInstrumentType\tFTMS\n400.25000 10.0\n401.50000 20.0\n");
  EXPECT_EQ(out.m_ms2,
            "S\t9\t9\t500.50000\nI\tRetTime\t30.0000\nI\tIonInjectionTime\t0.0000\n"
            "I\tInstrumentType\tFTMS\nI\tActivationType\tCID\nI\tActivationCenter\t500.50000\n"
            "I\tPrecursorScan\t7\nZ\t2\t999.99272\n400.25000 10.0\n401.50000 20.0\n");
  EXPECT_THAT(out.m_report, HasSubstr("Isolation widths (Th): 3.00 (1 scans)"));
}

TEST(MzxmlExtraction, ReadsBothPrecisionsAndZlib) {
  TestMzxmlScan scan = Survey(1);
  std::string bytes;
  for (const double number : {400.25, 10.0, 401.5, 20.0}) {
    const std::string little = test::Reals64({number});
    bytes.append(little.rbegin(), little.rend());
  }
  const std::string expected = ExtractXml(Mzxml({scan})).m_ms1;
  scan.m_peaks_element =
      "<peaks precision=\"64\" pairOrder=\"m/z-int\">" + test::EncodeBase64(bytes) + "</peaks>";
  EXPECT_EQ(ExtractXml(Mzxml({scan})).m_ms1, expected);
  scan.m_peaks_element = "<peaks precision=\"64\" compressionType=\"zlib\" compressedLen=\"0\">\n" +
                         test::EncodeBase64(test::Deflated(bytes)) + "\n</peaks>";
  EXPECT_EQ(ExtractXml(Mzxml({scan})).m_ms1, expected);
}

TEST(MzxmlExtraction, ReadsDurations) {
  const auto time_of = [](const std::string& duration) {
    TestMzxmlScan scan = Survey(1);
    scan.m_attributes = "msLevel=\"1\" retentionTime=\"" + duration + "\"";
    return LinesFrom(ExtractXml(Mzxml({scan})).m_ms1, "I\tRetTime").front();
  };
  EXPECT_EQ(time_of("PT12.5S"), "I\tRetTime\t12.5000");
  EXPECT_EQ(time_of("PT1.5M"), "I\tRetTime\t90.0000");
  EXPECT_EQ(time_of("PT1H2M3.25S"), "I\tRetTime\t3723.2500");
  EXPECT_EQ(time_of("P0DT1M"), "I\tRetTime\t60.0000");
  EXPECT_EQ(time_of("rubbish"), "I\tRetTime\t0.0000");
}

TEST(MzxmlExtraction, HandsAnOuterScanOnBeforeTheScansInsideIt) {
  TestMzxmlScan outer = Survey(1);
  outer.m_nested = {Fragment(2, "activationMethod=\"HCD\""),
                    Fragment(3, "activationMethod=\"HCD\"")};
  const Extracted out = ExtractXml(Mzxml({outer, Survey(4)}));
  EXPECT_THAT(LinesFrom(out.m_ms1, "S"), ElementsAre("S\t1\t1", "S\t4\t4"));
  EXPECT_THAT(LinesFrom(out.m_ms2, "I\tP"),
              ElementsAre("I\tPrecursorScan\t1", "I\tPrecursorScan\t1"));
}

TEST(MzxmlExtraction, ReadsTheAnalyser) {
  const auto word_of = [](const std::string& analyser) {
    const auto lines = LinesFrom(ExtractXml(Mzxml({Survey(1)}, analyser)).m_ms1, "I\tInst");
    return lines.empty() ? "left out" : lines.front().substr(17);
  };
  EXPECT_EQ(word_of("FTMS"), "FTMS");
  EXPECT_EQ(word_of("radial ejection linear ion trap"), "ITMS");
  EXPECT_EQ(word_of("ITMS"), "ITMS");
  EXPECT_EQ(word_of("TOFMS"), "FTMS");
  EXPECT_EQ(word_of("Quadrupole"), "FTMS");  // assumed, since the file does not say
}

TEST(MzxmlExtraction, BelievesTheFilterLineRatherThanTheFirstAnalyser) {
  TestMzxmlScan scan = Survey(1);
  scan.m_attributes += " filterLine=\"ITMS + c NSI Full ms\"";
  EXPECT_THAT(LinesFrom(ExtractXml(Mzxml({scan})).m_ms1, "I\tInst"),
              ElementsAre("I\tInstrumentType\tITMS"));
}

TEST(MzxmlExtraction, GivesTheActivationWords) {
  const auto word_of = [](const std::string& method) {
    const auto lines =
        LinesFrom(ExtractXml(Mzxml({Fragment(1, "activationMethod=\"" + method + "\"")})).m_ms2,
                  "I\tActivationT");
    return lines.empty() ? "left out" : lines.front().substr(17);
  };
  EXPECT_EQ(word_of("HCD"), "HCD");
  EXPECT_EQ(word_of("ETD"), "ETD");
  EXPECT_EQ(word_of("EThcD"), "ETHCD");
  EXPECT_EQ(word_of("ETciD"), "ETCID");
  EXPECT_EQ(word_of("ETD+SA"), "ETCID");
  EXPECT_EQ(word_of("ECD"), "left out");
  EXPECT_EQ(word_of(""), "HCD");  // usual for an orbitrap
}

TEST(MzxmlExtraction, WritesZerosForAnUnknownCharge) {
  EXPECT_THAT(LinesFrom(ExtractXml(Mzxml({Fragment(1, "activationMethod=\"CID\"")})).m_ms2, "Z"),
              ElementsAre("Z\t0\t0"));
}

TEST(MzxmlExtraction, ReadsFaimsAndInjectionTime) {
  TestMzxmlScan scan = Survey(1);
  scan.m_attributes += " compensationVoltage=\"-45\" ionInjectionTime=\"7.5\"";
  const Extracted out = ExtractXml(Mzxml({scan}));
  EXPECT_THAT(out.m_report, HasSubstr("FAIMS compensation voltages: -45.0\n"));
  EXPECT_THAT(LinesFrom(out.m_ms1, "I\tIon"), ElementsAre("I\tIonInjectionTime\t7.5000"));
}

TEST(MzxmlExtraction, TakesNoPeaksFromAScanThatDeclaresNone) {
  TestMzxmlScan scan = Survey(1);
  scan.m_peaks.clear();  // some writers put one pair of zeros there
  scan.m_peaks_element = "<peaks precision=\"32\">AAAAAAAAAAA=</peaks>";
  EXPECT_THAT(ExtractXml(Mzxml({scan})).m_report, HasSubstr("Left out: 1 empty"));
}

TEST(MzxmlExtraction, TakesAPrecursorBehindThePeaks) {
  const TestMzxmlScan scan = Fragment(2, "activationMethod=\"HCD\"");
  const std::string plain = Mzxml({Survey(1), scan});
  std::string late = plain;
  late.erase(late.find(scan.m_precursor), scan.m_precursor.size());
  late.insert(late.rfind("</peaks>") + 8, scan.m_precursor);
  EXPECT_EQ(ExtractXml(late).m_ms2, ExtractXml(plain).m_ms2);
  EXPECT_THAT(LinesFrom(ExtractXml(late).m_ms2, "S"), ElementsAre("S\t2\t2\t500.50000"));
}

TEST(MzxmlExtraction, SaysNothingOfACountThatIsNotDeclared) {
  std::string xml = Mzxml({Survey(1)});
  xml.replace(xml.find("scanCount=\"1\""), 13, "");
  EXPECT_THAT(ExtractXml(xml).m_report, Not(HasSubstr("declared")));
}

// In any encoding the relevant text is ASCII; other bytes are in names of files and persons.
TEST(MzxmlExtraction, ReadsEncodingsOfItsSystem) {
  const std::string xml = Mzxml({Survey(1)});
  const std::string plain = ExtractXml(xml).m_ms1;
  for (const std::string encoding : {"windows-1252", "GB2312", "Shift_JIS"}) {
    std::string other = xml;
    other.replace(other.find("ISO-8859-1"), 10, encoding);
    other.insert(other.find("<scan "), "<parentFile fileName=\"\x93\xB0\\\xFF.raw\"/>");
    EXPECT_EQ(ExtractXml(other).m_ms1, plain) << encoding;
  }
}

}  // namespace
}  // namespace tarvek::extractor
