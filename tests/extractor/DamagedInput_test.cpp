// Damaged input: the message says where and what.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "ByteSource.h"
#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using test::Cv;
using test::ExtractionError;
using test::ExtractXml;
using test::Mzml;
using test::Survey;
using test::TestScan;
using testing::HasSubstr;

/// Cuts content at every byte before its last '>' and expects a failure at each.
void ExpectFailureAtEveryCut(const std::string& content, const std::string& name) {
  for (std::size_t size = 0; size <= content.rfind('>'); ++size) {
    SCOPED_TRACE(size);
    EXPECT_THAT(ExtractionError(content.substr(0, size), name), HasSubstr(name + ": "));
  }
}

TEST(TruncatedInput, FailsAtEveryOffsetOfAnMzml) {
  ExpectFailureAtEveryCut(test::MzmlRun(2), "run.mzML");
  ExpectFailureAtEveryCut(test::MzmlRun(2, true), "run.mzML");
}

TEST(TruncatedInput, FailsAtEveryOffsetOfAnMzxml) {
  test::TestMzxmlScan second;
  second.m_number = 2;
  ExpectFailureAtEveryCut(test::Mzxml({{}, second}), "run.mzXML");
}

TEST(TruncatedInput, FailsInsideAGzipFile) {
  const std::string packed = test::Gzipped(Mzml(std::vector<TestScan>(40, Survey(1))));
  for (std::size_t size = 2; size < packed.size(); size += packed.size() / 50) {
    SCOPED_TRACE(size);
    EXPECT_THAT(ExtractionError(packed.substr(0, size), "run.mzML.gz"),
                HasSubstr("run.mzML.gz: the compressed file is truncated"));
  }
}

TEST(TruncatedInput, SaysThatItIsTruncatedAndWhere) {
  const std::string xml = Mzml({Survey(1)});
  const std::string error = ExtractionError(xml.substr(0, xml.size() - 8));
  const std::string last_line = std::to_string(std::ranges::count(xml, '\n'));
  EXPECT_THAT(error, HasSubstr("run.mzML: line " + last_line + ", byte "));
  EXPECT_THAT(error, HasSubstr(": the file is truncated"));
}

TEST(TruncatedInput, HasATypeOfItsOwnAndDamageHasNot) {
  const std::string xml = Mzml({Survey(1)});
  const std::string packed = test::Gzipped(xml);
  EXPECT_THROW(ExtractXml(xml.substr(0, xml.size() - 8)), TruncatedFile);
  EXPECT_THROW(ExtractXml(""), TruncatedFile);
  EXPECT_THROW(ExtractXml(packed.substr(0, packed.size() / 2), {}, "run.mzML.gz"), TruncatedFile);
  for (const std::string& text : {std::string("<mzML></mzXML>"), std::string("<truncated/>")}) {
    SCOPED_TRACE(text);
    EXPECT_NO_THROW({
      try {
        ExtractXml(text);
        ADD_FAILURE() << "nothing was thrown";
      } catch (const TruncatedFile&) {
        throw;
      } catch (const std::string&) {
      }
    });
  }
}

/// The message for a spectrum with these arrays.
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

TEST(DamagedInput, DocumentTypesAreRefused) {
  EXPECT_THAT(ExtractionError("<!DOCTYPE mzML [<!ENTITY a \"aaaa\">]><mzML>&a;</mzML>"),
              HasSubstr("has a document type declaration (DOCTYPE)"));
}

}  // namespace
}  // namespace tarvek::extractor
