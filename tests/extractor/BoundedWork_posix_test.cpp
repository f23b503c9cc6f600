// Hostile instrument files: the time that they take follows their size, and 256 MB suffice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ExtractorTestSupport.h"
#include "RunExtractor.h"

namespace tarvek::extractor {
namespace {

using tarvek::test::ProcessRequest;
using tarvek::test::ProcessResult;
using test::Cv;
using test::Mzml;
using test::Survey;
using test::TestArray;
using test::TestScan;
using testing::HasSubstr;

constexpr std::size_t kMb = std::size_t{1} << 20;

std::string Repeated(std::string_view text, std::size_t count) {
  std::string repeated;
  repeated.reserve(text.size() * count);
  for (; count > 0; --count) repeated += text;
  return repeated;
}

class BoundedWork : public testing::Test {
 protected:
  [[nodiscard]] ProcessResult Extract(const std::string& content,
                                      const std::string& name = "run.mzML") const {
    test::WriteFile(m_directory / name, content);
    ProcessRequest request;
    request.m_program = test::ExtractorProgram("xml");
    request.m_arguments = {m_directory / name};
    return RunProcess(InLittleMemory(request));
  }

  /// The error of a file that is refused, without program and path.
  [[nodiscard]] std::string ErrorOf(const std::string& content,
                                    const std::string& name = "run.mzML") const {
    const ProcessResult result = Extract(content, name);
    EXPECT_EQ(result.m_exit_status, 1) << result.m_err;
    EXPECT_LT(result.m_cpu_seconds, 20.0);
    const std::string start = "morvex_xml.exe: " + (m_directory / name) + ": ";
    EXPECT_EQ(result.m_err.substr(0, start.size()), start);
    return result.m_err.substr(std::min(start.size(), result.m_err.size()));
  }

  [[nodiscard]] double SecondsOf(const std::string& content) const {
    return std::min(Extract(content).m_cpu_seconds, Extract(content).m_cpu_seconds);
  }

  /// Four times the work takes four times the time; where it grows with the square, sixteen times.
  template <class MakeFile>
  void ExpectLinear(MakeFile make_file, std::size_t size) const {
    constexpr double kStart = 0.02;  // of the program, and of what the clock does not see
    const double once = SecondsOf(make_file(size));
    const double four_times = SecondsOf(make_file(4 * size));
    EXPECT_LT(four_times, 8.0 * (once + kStart)) << once;
  }

  test::TemporaryDirectory m_directory;
};

std::string WithFilling(const std::string& filling) {
  std::string xml = Mzml({Survey(1)});
  return xml.insert(xml.find("<run"), filling);
}

TEST_F(BoundedWork, OfLongAttributesCommentsAndInstructionsFollowsTheirSize) {
  const std::vector<std::pair<std::string, std::string>> around = {
      {"<userParam name=\"", "\"/>"},
      {"<!--", "-->"},
      {"<?x ", "?>"},
      {"<userParam name=\"&lt;", "\"/>"}};
  for (const auto& [begin, end] : around) {
    SCOPED_TRACE(begin);
    ExpectLinear(
        [&](std::size_t size) { return WithFilling(begin + std::string(size, 'a') + end); },
        3 * kMb / 2);
  }
}

TEST_F(BoundedWork, OfManyAttributesAndElementsFollowsTheirNumber) {
  ExpectLinear(
      [](std::size_t count) {
        std::string tag = "<userParam";
        for (std::size_t i = 0; i < count; ++i) tag += " a" + std::to_string(i) + "=\"\"";
        return WithFilling(tag + "/>");
      },
      20'000);
  ExpectLinear([](std::size_t count) { return WithFilling(Repeated("<x/>", count)); }, 300'000);
}

TEST_F(BoundedWork, RefusesAPackedAttributeOf64Mb) {
  EXPECT_THAT(ErrorOf(test::Gzipped(
                          WithFilling("<userParam name=\"" + std::string(64 * kMb, 'a') + "\"/>")),
                      "run.mzML.gz"),
              HasSubstr("a tag or comment of more than 8 MB, which cannot be"));
}

TEST_F(BoundedWork, RefusesALongElementName) {
  EXPECT_THAT(ErrorOf(WithFilling("<" + std::string(5000, 'n') + "/>")),
              HasSubstr("the name of an element has more than 1000 bytes"));
}

TEST_F(BoundedWork, RefusesADocumentType) {
  const std::string head = "<?xml version=\"1.0\"?>\n<!DOCTYPE mzML ";
  for (const std::string type : {"SYSTEM \"x.dtd\">", "[<!ATTLIST cvParam value CDATA \"x\">]>",
                                 "[<!ENTITY a \"aaaa\">]>", ">"})
    EXPECT_THAT(ErrorOf(head + type + "<mzML/>"),
                HasSubstr("has a document type declaration (DOCTYPE), which is not supported"));
}

/// Spectra that each refer to one group of so many parameters.
std::string FileWithGroup(std::size_t parameters, std::size_t references) {
  const std::string group = "<referenceableParamGroupList><referenceableParamGroup id=\"g\">" +
                            Repeated(Cv(1000045, "35"), parameters) +
                            "</referenceableParamGroup></referenceableParamGroupList>";
  TestScan scan = Survey(1);
  scan.m_params += Repeated("<referenceableParamGroupRef ref=\"g\"/>", references);
  std::string xml = Mzml({scan});
  return xml.insert(xml.find("<run"), group);
}

TEST_F(BoundedWork, RefusesLargeGroupsThatAreReferredToOften) {
  EXPECT_THAT(ErrorOf(FileWithGroup(20'000, 20'000)),
              HasSubstr("spectrum \"scan=1\": refers to large groups of parameters too often"));
}

TEST_F(BoundedWork, TakesUsualGroupsHoweverOften) {
  EXPECT_EQ(Extract(FileWithGroup(20, 50'000)).m_exit_status, 0);
  EXPECT_EQ(Extract(FileWithGroup(2'000, 100)).m_exit_status, 0);
}

TEST_F(BoundedWork, RefusesMoreGroupsThanAnyFileHas) {
  EXPECT_THAT(ErrorOf(FileWithGroup(200'000, 0)),
              HasSubstr("more than 16 MB of parameter groups and instrument configurations"));
}

TEST_F(BoundedWork, RefusesArrayTextBeyondTheDeclaredCount) {
  TestScan scan = Survey(1);
  scan.m_arrays[0].m_text = std::string(64 * kMb, 'A');
  EXPECT_THAT(
      ErrorOf(test::Gzipped(Mzml({scan})), "run.mzML.gz"),
      HasSubstr("spectrum \"scan=1\": m/z array has more text than the 2 numbers declared take"));
  scan.m_arrays[0].m_text = Repeated("A \n", 16 * kMb);
  EXPECT_THAT(ErrorOf(test::Gzipped(Mzml({scan})), "run.mzML.gz"),
              HasSubstr("m/z array has more text"));
}

TEST_F(BoundedWork, RefusesAnArrayThatASmallFileCannotHold) {
  const std::size_t count = 20'000'000;
  TestScan scan = Survey(1);
  scan.m_length = static_cast<std::int64_t>(count);
  const std::string text = test::EncodeBase64(test::Deflated(std::string(8 * count, '\0')));
  scan.m_arrays = {TestArray{Cv(1000514) + Cv(1000523) + Cv(1000574), text, ""},
                   TestArray{Cv(1000515) + Cv(1000523) + Cv(1000574), text, ""}};
  EXPECT_THAT(ErrorOf(Mzml({scan})), HasSubstr("m/z array declares 20000000 numbers, more than a "
                                               "file of this size can hold"));
}

/// A packed file of so many survey scans, each of 400,000 times the same peak.
std::string ScansOfEqualPeaks(int scans, double intensity) {
  const std::size_t count = 400'000;
  const auto packed = [](double number) {
    return test::EncodeBase64(test::Deflated(test::Reals64(std::vector<double>(count, number))));
  };
  const std::string mz = packed(500.0);
  const std::string intensities = packed(intensity);
  std::vector<TestScan> made;
  for (int number = 1; number <= scans; ++number) {
    TestScan& scan = made.emplace_back(Survey(number));
    scan.m_length = static_cast<std::int64_t>(count);
    scan.m_arrays = {TestArray{Cv(1000514) + Cv(1000523) + Cv(1000574), mz, ""},
                     TestArray{Cv(1000515) + Cv(1000523) + Cv(1000574), intensities, ""}};
  }
  return test::Gzipped(Mzml(made));
}

TEST_F(BoundedWork, RefusesMoreNumbersThanAFileOfItsSizeCanHold) {
  EXPECT_THAT(ErrorOf(ScansOfEqualPeaks(60, 0.0), "run.mzML.gz"),
              HasSubstr("the arrays of the file hold more numbers than one of its size can"));
}

TEST_F(BoundedWork, RefusesMorePeaksThanAFileOfItsSizeCanHold) {
  EXPECT_EQ(Extract(ScansOfEqualPeaks(1, 1.0), "one.mzML.gz").m_exit_status, 0);
  EXPECT_THAT(
      ErrorOf(ScansOfEqualPeaks(2, 1.0), "run.mzML.gz"),
      HasSubstr("the spectra of the file hold more peaks than those of one of its size can"));
}

TEST_F(BoundedWork, TakesLargeArraysOfLargeFiles) {
  std::vector<Peak> peaks;
  std::uint32_t noise = 1;  // so that it does not pack to little
  const auto next = [&] { return noise = noise * 1664525 + 1013904223; };
  for (int i = 0; i < 600'000; ++i)
    peaks.push_back({100.0 + i * 0.001 + next() * 1e-13, 1.0 + next()});
  TestScan scan = Survey(1);
  test::SetPeaks(scan, peaks);
  EXPECT_EQ(Extract(Mzml({scan})).m_exit_status, 0);
}

TEST_F(BoundedWork, RefusesTextBeyondTheDeclaredCountInMzxml) {
  test::TestMzxmlScan scan;
  scan.m_peaks_element = "<peaks precision=\"32\">" + std::string(64 * kMb, 'A') + "</peaks>";
  EXPECT_THAT(
      ErrorOf(test::Gzipped(test::Mzxml({scan})), "run.mzXML.gz"),
      HasSubstr("spectrum \"scan=1\": has more text in one element than its numbers can take"));
  scan.m_peaks_element.clear();
  scan.m_precursor = "<precursorMz>" + std::string(5000, '1') + "</precursorMz>";
  EXPECT_THAT(ErrorOf(test::Mzxml({scan}), "run.mzXML"), HasSubstr("has more text in one element"));
}

TEST_F(BoundedWork, RefusesAFileThatUnpacksToTooMuch) {
  std::string packed = test::Gzipped(WithFilling(std::string(32 * kMb, ' ')));
  std::string filling = test::Gzipped(std::string(32 * kMb, ' '));
  for (int i = 0; i < 10; ++i) packed.insert(0, filling);
  EXPECT_THAT(ErrorOf(packed, "run.mzML.gz"),
              HasSubstr("unpacks to more than 100 times its size, which no instrument file does"));
}

TEST_F(BoundedWork, RefusesMoreElementsThanAFileOfItsSizeCanHave) {
  EXPECT_THAT(ErrorOf(test::Gzipped(WithFilling(Repeated("<a/>", 6'000'000))), "run.mzML.gz"),
              HasSubstr("the file has more elements than one of its size can"));
}

TEST_F(BoundedWork, RefusesMorePrecursorsThanAnyScanHas) {
  const std::string text = "declares more than 100 precursors, which no scan does";
  TestScan scan = test::Fragment(2);
  scan.m_precursors = std::vector<test::TestPrecursor>(101);
  EXPECT_THAT(ErrorOf(Mzml({Survey(1), scan})), HasSubstr("spectrum \"scan=2\": " + text));
  scan.m_precursors.resize(1);
  scan.m_precursors[0].m_ions = std::vector<std::string>(101, Cv(1000744, "500.5"));
  EXPECT_THAT(ErrorOf(Mzml({Survey(1), scan})), HasSubstr("spectrum \"scan=2\": " + text));
  scan.m_precursors[0].m_ions.resize(100);
  EXPECT_EQ(Extract(Mzml({Survey(1), scan})).m_exit_status, 0);
  scan.m_precursors.resize(2, scan.m_precursors[0]);
  EXPECT_THAT(ErrorOf(Mzml({Survey(1), scan})), HasSubstr(text));
}

// ------------------------------------------------------------ texts

TEST_F(BoundedWork, EscapesIdsAndNamesInErrors) {
  TestScan scan = Survey(1);
  scan.m_id = "scan=1&#10;morvex_xml.exe: forged&#9;&#x202E;";
  scan.m_arrays.pop_back();
  const ProcessResult result = Extract(Mzml({scan}), "a\n\x1b[2Jb\xFF.mzML");
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_THAT(result.m_err, testing::StartsWith("morvex_xml.exe: " + m_directory.Path() +
                                                "/a\\n\\x1b[2Jb\\xff.mzML: line "));
  EXPECT_THAT(result.m_err,
              testing::EndsWith("spectrum \"scan=1\\nmorvex_xml.exe: forged\\t\\u202e\": "
                                "has no intensity array\n"));
  EXPECT_EQ(std::ranges::count(result.m_err, '\n'), 1);
}

TEST_F(BoundedWork, EscapesNamesInItsReport) {
  TestScan scan = test::Fragment(2);
  scan.m_precursors[0].m_activation =
      "<cvParam accession=\"MS:1000134\" name=\"plasma&#10; desorption&#x9B;1m\"/>";
  const ProcessResult result = Extract(Mzml({Survey(1), scan}), "a\n\tb.mzML");
  EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
  EXPECT_THAT(result.m_out, HasSubstr("/a\\n\\tb.mzML ("));
  EXPECT_THAT(result.m_out, HasSubstr("activation without a word: plasma\\n desorption\\u009b1m"));
}

TEST_F(BoundedWork, CutsLongIdsInErrors) {
  TestScan scan = Survey(1);
  scan.m_id = std::string(5 * kMb, 'i');
  scan.m_arrays.pop_back();
  const ProcessResult result = Extract(Mzml({scan}));
  EXPECT_EQ(result.m_exit_status, 1);
  EXPECT_LT(result.m_err.size(), 2000u);
  EXPECT_THAT(result.m_err, HasSubstr("iii... (5242880 bytes)\": has no intensity array"));
}

TEST_F(BoundedWork, ListsIdsWithLineEndsInOneRowEach) {
  TestScan scan = Survey(1);
  scan.m_id = "file=1&#10;2\tscan";
  EXPECT_EQ(Extract(Mzml({scan})).m_err, "");
  EXPECT_EQ(test::ReadFile(m_directory / "run.nativeid.tsv"),
            "scan\tnativeID\n1\tfile=1\\n2 scan\n");
}

// ------------------------------------------------------------ names

TEST_F(BoundedWork, TakesNamesThatBeginAsOptionsDo) {
  for (const std::string name : {"-x.mzML", "--help.mzML", "-ms.mzXML.gz"}) {
    SCOPED_TRACE(name);
    const bool is_mzxml = name.find("XML.gz") != std::string::npos;
    test::WriteFile(m_directory / name,
                    is_mzxml ? test::Gzipped(test::Mzxml({{}})) : Mzml({Survey(1)}));
    ProcessRequest request;
    request.m_program = test::ExtractorProgram("xml");
    request.m_arguments = {"-ms", name, "-o", "out"};
    request.m_working_directory = m_directory.Path();
    const ProcessResult result = RunProcess(request);
    EXPECT_EQ(result.m_exit_status, 0) << result.m_err;
    const std::string base = name.substr(0, name.find(".mz"));
    EXPECT_NE(test::ReadFile(m_directory / "out" + "/" + base + ".ms1"), "");
  }
}

TEST_F(BoundedWork, TakesABackslashInANameForALetter) {
  for (const std::string base : {"a\\", "\\b", "c\\d"}) {
    SCOPED_TRACE(base);
    EXPECT_EQ(Extract(Mzml({Survey(1)}), base + ".mzML").m_exit_status, 0);
    EXPECT_NE(test::ReadFile(m_directory / (base + ".ms1")), "");
    EXPECT_NE(test::ReadFile(m_directory / (base + ".morvex")), "");
  }
}

}  // namespace
}  // namespace tarvek::extractor
