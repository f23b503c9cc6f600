// Every element of a format inside every other, on every path from the root: accepted, or refused
// with the place, and never a crash.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "ExtractorTestSupport.h"
#include "ScanRecorder.h"

namespace tarvek::extractor {
namespace {

using test::Cv;
using test::ReadingError;
using testing::HasSubstr;
using Names = std::vector<std::string>;
using Children = std::map<std::string, std::set<std::string>>;

Names Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

/// A format according to its schema.
struct Format {
  Names m_roots;
  Children m_children;
  std::set<std::string> m_leaves;
  std::string m_leaf;  // an element that may be in every other except leaves

  void Add(const std::string& parent, const std::string& children) {
    for (const std::string& child : Words(children)) {
      m_children[parent].insert(child);
      m_children[child];
    }
  }
  [[nodiscard]] bool Allows(const std::string& child, const std::string& parent) const {
    return m_children.at(parent).contains(child);
  }
};

// mzML 1.1.0 and its index; the last lines are extensions that are also accepted.
Format MzmlFormat() {
  Format format;
  format.m_roots = {"mzML", "indexedmzML"};
  format.Add("indexedmzML", "mzML indexList indexListOffset fileChecksum");
  format.Add("indexList", "index");
  format.Add("index", "offset");
  format.Add("mzML",
             "cvList fileDescription referenceableParamGroupList sampleList softwareList "
             "scanSettingsList instrumentConfigurationList dataProcessingList run");
  format.Add("cvList", "cv");
  format.Add("fileDescription", "fileContent sourceFileList contact");
  format.Add("sourceFileList", "sourceFile");
  format.Add("referenceableParamGroupList", "referenceableParamGroup");
  format.Add("sampleList", "sample");
  format.Add("softwareList", "software");
  format.Add("scanSettingsList", "scanSettings");
  format.Add("scanSettings", "sourceFileRefList targetList");
  format.Add("sourceFileRefList", "sourceFileRef");
  format.Add("targetList", "target");
  format.Add("instrumentConfigurationList", "instrumentConfiguration");
  format.Add("instrumentConfiguration", "componentList softwareRef");
  format.Add("componentList", "source analyzer detector");
  format.Add("dataProcessingList", "dataProcessing");
  format.Add("dataProcessing", "processingMethod");
  format.Add("run", "spectrumList chromatogramList");
  format.Add("spectrumList", "spectrum");
  format.Add("spectrum", "scanList precursorList productList binaryDataArrayList");
  format.Add("scanList", "scan");
  format.Add("scan", "scanWindowList");
  format.Add("scanWindowList", "scanWindow");
  format.Add("precursorList", "precursor");
  format.Add("precursor", "isolationWindow selectedIonList activation");
  format.Add("selectedIonList", "selectedIon");
  format.Add("productList", "product");
  format.Add("product", "isolationWindow");
  format.Add("binaryDataArrayList", "binaryDataArray");
  format.Add("binaryDataArray", "binary");
  format.Add("chromatogramList", "chromatogram");
  format.Add("chromatogram", "precursor product binaryDataArrayList");
  // mzML 1.0
  format.Add("spectrum", "spectrumDescription");
  format.Add("spectrumDescription", "scanList scan precursorList precursor productList");
  format.Add("run", "sourceFileRefList");
  format.Add("scanSettings", "softwareRef");
  // a list left out
  format.Add("indexedmzML", "index");
  format.Add("mzML",
             "cv referenceableParamGroup sample software scanSettings instrumentConfiguration "
             "dataProcessing");
  format.Add("fileDescription", "sourceFile");
  format.Add("scanSettings", "sourceFileRef target");
  format.Add("instrumentConfiguration", "source analyzer detector");
  format.Add("run", "sourceFileRef spectrum chromatogram");
  format.Add("spectrum", "scan precursor product binaryDataArray");
  format.Add("spectrumDescription", "product");
  format.Add("scan", "scanWindow");
  format.Add("precursor", "selectedIon");
  format.Add("chromatogram", "binaryDataArray");
  // the others are not used here
  format.Add("mzML", "indexList indexListOffset fileChecksum");
  format.Add("dataProcessing", "softwareRef");
  format.Add("processingMethod", "softwareRef");
  format.Add("chromatogram", "precursorList productList");
  format.m_leaf = "cvParam";
  const Names parameters = {"cvParam", "userParam", "referenceableParamGroupRef"};
  for (const std::string& name : parameters) format.m_children[name];
  for (const std::string& leaf :
       Words("cvParam userParam referenceableParamGroupRef cv softwareRef sourceFileRef offset "
             "indexListOffset fileChecksum binary"))
    format.m_leaves.insert(leaf);
  for (auto& [parent, children] : format.m_children)
    if (!format.m_leaves.contains(parent)) children.insert(parameters.begin(), parameters.end());
  format.m_children["referenceableParamGroup"].erase("referenceableParamGroupRef");
  return format;
}

// mzXML 3, the instrument of mzXML 1, and operator and software in more places.
Format MzxmlFormat() {
  Format format;
  format.m_roots = {"mzXML", "msRun"};
  format.Add("mzXML", "msRun index indexOffset sha1");
  format.Add("msRun",
             "parentFile instrument msInstrument operator dataProcessing separation spotting scan "
             "index indexOffset sha1 software");
  format.Add("msInstrument",
             "msManufacturer msModel msIonisation msMassAnalyzer msDetector msResolution software "
             "operator");
  format.Add("instrument", "software operator");
  format.Add("dataProcessing", "software processingOperation operator");
  format.Add("separation", "separationTechnique operator");
  format.Add("spotting", "plate robot");
  format.Add("plate", "pattern spot");
  format.Add("pattern", "orientation");
  format.Add("scan", "scan scanOrigin precursorMz maldi peaks");
  format.Add("index", "offset");
  format.m_leaf = "nameValue";
  const Names anywhere = {"nameValue", "comment"};
  for (const std::string& name : anywhere) format.m_children[name];
  for (const std::string& leaf :
       Words("nameValue comment precursorMz peaks offset indexOffset sha1"))
    format.m_leaves.insert(leaf);
  for (auto& [parent, children] : format.m_children)
    if (!format.m_leaves.contains(parent)) children.insert(anywhere.begin(), anywhere.end());
  return format;
}

/// Every path from a root to name without a repeated element.
void FindWays(const Format& format, const std::string& name, Names way, std::vector<Names>& ways) {
  if (way.back() == name) {
    ways.push_back(way);
    return;
  }
  for (const std::string& child : format.m_children.at(way.back())) {
    if (testing::Matches(testing::Contains(child))(way)) continue;
    Names longer = way;
    longer.push_back(child);
    FindWays(format, name, longer, ways);
  }
}

std::vector<Names> WaysTo(const Format& format, const std::string& name) {
  std::vector<Names> ways;
  for (const std::string& root : format.m_roots) FindWays(format, name, {root}, ways);
  return ways;
}

std::string Start(const std::string& name) {
  if (name == "cvParam") return "<cvParam accession=\"MS:1000744\" value=\"5\"";
  if (name == "scan") return "<scan num=\"1\"";
  return "<" + name + " id=\"" + name + "\" ref=\"referenceableParamGroup\"";
}

/// child inside the last of way, with the usual contents of both around it.
std::string Nested(const Format& format, const Names& way, const std::string& child) {
  std::string xml;
  for (const std::string& name : way) xml += Start(name) + ">\n";
  xml += Start(child) + ">";
  if (format.m_children.contains(child) && !format.m_leaves.contains(child))
    xml += Start(format.m_leaf) + "/>";
  xml += "</" + child + ">";
  if (!format.m_leaves.contains(way.back())) xml += Start(format.m_leaf) + "/>";
  for (auto name = way.rbegin(); name != way.rend(); ++name) xml += "</" + *name + ">";
  return xml;
}

void ExpectAllPairs(const Format& format) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "run.xml";
  int count = 0;
  for (const auto& [parent, children] : format.m_children) {
    const std::vector<Names> ways = WaysTo(format, parent);
    ASSERT_FALSE(ways.empty()) << parent;
    for (const Names& way : ways) {
      for (const auto& [child, unused] : format.m_children) {
        const std::string xml = Nested(format, way, child);
        const std::string error = tarvek::test::MessageOf([&] { test::ReadScansAt(path, xml); });
        ++count;
        if (format.Allows(child, parent)) {
          EXPECT_EQ(error, tarvek::test::kNothingThrown) << xml;
          continue;
        }
        EXPECT_THAT(error, HasSubstr("element " + child + " must not be inside " + parent)) << xml;
        EXPECT_THAT(error,
                    HasSubstr("run.xml: line " + std::to_string(way.size() + 1) + ", byte "));
      }
    }
  }
  EXPECT_GT(count, 1000);
  testing::Test::RecordProperty("pairs", count);
}

TEST(ElementPairs, OfMzmlAreTakenOrRefused) { ExpectAllPairs(MzmlFormat()); }

TEST(ElementPairs, OfMzxmlAreTakenOrRefused) { ExpectAllPairs(MzxmlFormat()); }

TEST(ElementPairs, NameTheSpectrumThatTheyAreIn) {
  const std::string start = "<mzML><run><spectrumList><spectrum id=\"scan=7\">";
  EXPECT_THAT(ReadingError(start + "<spectrum/></spectrum></spectrumList></run></mzML>"),
              HasSubstr("spectrum \"scan=7\": element spectrum must not be inside spectrum"));
  EXPECT_THAT(ReadingError("<mzXML><msRun><scan num=\"7\"><msRun/></scan></msRun></mzXML>"),
              HasSubstr("spectrum \"scan=7\": element msRun must not be inside scan"));
}

TEST(ElementPairs, NumberASpectrumWithoutAnId) {
  const std::string start = "<mzML><run><spectrumList><spectrum/><spectrum id=\"\">";
  EXPECT_THAT(ReadingError(start + "<run/></spectrum></spectrumList></run></mzML>"),
              HasSubstr("spectrum number 2, which has no id: element run must not be"));
}

TEST(ElementPairs, MayNotTurnTheFileInsideOut) {
  EXPECT_THAT(ReadingError("<mzML><indexedmzML/></mzML>"),
              HasSubstr("element indexedmzML must not be inside mzML"));
  EXPECT_THAT(ReadingError("<spectrum/>"), HasSubstr("neither mzML nor mzXML"));
}

// Inputs that once wrote through a null pointer or past the end of a list.
TEST(ElementPairs, OfDamagedFilesThatCrashed) {
  const std::string groups =
      "<mzML><referenceableParamGroupList><referenceableParamGroup id=\"a\">";
  EXPECT_THAT(ReadingError(groups + "<referenceableParamGroup id=\"b\"></referenceableParamGroup>" +
                           Cv(1000511, "1") + "</referenceableParamGroup>"),
              HasSubstr("element referenceableParamGroup must not be inside"));
  EXPECT_THAT(ReadingError(groups + "<referenceableParamGroupRef ref=\"a\"/>"),
              HasSubstr("element referenceableParamGroupRef must not be inside "
                        "referenceableParamGroup"));
  const std::string spectrum = "<mzML><run><spectrumList><spectrum id=\"scan=1\">";
  EXPECT_THAT(ReadingError(spectrum + "<referenceableParamGroup>"),
              HasSubstr("element referenceableParamGroup must not be inside spectrum"));
  EXPECT_THAT(ReadingError(spectrum + "<precursorList><precursor><precursor>"),
              HasSubstr("element precursor must not be inside precursor"));
  EXPECT_THAT(ReadingError(spectrum +
                           "<precursorList><precursor><selectedIonList><selectedIon>"
                           "<precursor></precursor>" +
                           Cv(1000744, "1")),
              HasSubstr("element precursor must not be inside selectedIon"));
}

TEST(UnknownElements, ArePassedOverWithEverythingInThem) {
  const test::TestScan scan = test::Fragment(1);
  const std::string plain = test::ExtractXml(test::Mzml({scan})).m_ms2;
  const std::string extension = "<x:extra xmlns:x=\"x\">text" + Cv(1000511, "9") +
                                "<spectrum><precursor><binary>%%</binary></precursor></spectrum>"
                                "</x:extra>";
  for (const std::string place : {"<run ", "<spectrumList ", "</spectrum>", "<scanList ", "</scan>",
                                  "<isolationWindow>", "</selectedIon>", "</activation>",
                                  "<binary>", "</binary>", "</binaryDataArray>", "</mzML>"}) {
    std::string xml = test::Mzml({scan});
    xml.insert(xml.find(place), extension);
    EXPECT_EQ(test::ExtractXml(xml).m_ms2, plain) << place;
  }
}

TEST(UnknownElements, DoNotAddTheirTextToThatAroundThem) {
  std::string xml = test::Mzml({test::Survey(1)});
  xml.insert(xml.find("</binary>"), "<note>AAAA</note>");
  EXPECT_EQ(test::ExtractXml(xml).m_ms1, test::ExtractXml(test::Mzml({test::Survey(1)})).m_ms1);
  std::string mzxml = test::Mzxml({{}});
  const std::string plain = test::ExtractXml(mzxml, {}, "run.mzXML").m_ms1;
  mzxml.insert(mzxml.find("</peaks>"), "<note>AAAA</note>");
  EXPECT_EQ(test::ExtractXml(mzxml, {}, "run.mzXML").m_ms1, plain);
}

TEST(UnknownElements, MayNotBeNestedWithoutEnd) {
  std::string deep = "<mzML>";
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  EXPECT_THAT(ReadingError(deep), HasSubstr("elements are nested too deep"));
  std::string scans = "<mzXML><msRun>";
  for (int i = 0; i < 100; ++i) scans += "<scan num=\"1\">";
  EXPECT_THAT(ReadingError(scans), HasSubstr("scans are nested too deep"));
}

}  // namespace
}  // namespace tarvek::extractor
