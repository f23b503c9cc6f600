#include "HeaderRepair.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "TestSupport.h"
#include "XmlStream.h"

namespace tarvek::extractor {
namespace {

std::string Repaired(std::string text) {
  BlankRepeatedAttributes(text);
  return text;
}

TEST(HeaderRepair, BlanksWhatATagNamesASecondTime) {
  EXPECT_EQ(Repaired(R"(<dataProcessing centroided="1" centroided="0">)"),
            R"(<dataProcessing centroided="1"               >)");
  EXPECT_EQ(Repaired("<a b='1'\n   b = \"2\" c='3' b='4'/>"), "<a b='1'\n           c='3'      />");
}

TEST(HeaderRepair, LeavesTheSameNameInAnotherTag) {
  const std::string text = R"(<a b="1"><a b="1"/><c b="2"></c></a>)";
  EXPECT_EQ(Repaired(text), text);
}

TEST(HeaderRepair, LeavesValuesCommentsAndTexts) {
  const std::string text =
      R"(<?xml a="1" a="2"?><!-- <b c="1" c="2"> --><d e="c='1' c='2'> <f g=" h='x'/>)"
      R"(<![CDATA[<b c="1" c="2">]]>)";
  EXPECT_EQ(Repaired(text), text);
}

TEST(HeaderRepair, LeavesATagThatIsCutOff) {
  for (const char* const text :
       {"<a b='1' b", "<a b='1' b=", "<a b='1' b='", "<a b='1' b='2", "<a", "<", ""})
    EXPECT_EQ(Repaired(text), text);
}

TEST(HeaderRepair, KeepsLengthAndLineEndsOfAnyBytes) {
  std::mt19937 random(20261122);
  constexpr std::string_view kBytes = "<>/= \n'\"ab!-?[]";
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 60, ' ');
    for (char& c : text) c = kBytes[random() % kBytes.size()];
    const std::string repaired = Repaired(text);
    ASSERT_EQ(repaired.size(), text.size()) << text;
    for (std::size_t i = 0; i < text.size(); ++i)
      ASSERT_TRUE(repaired[i] == text[i] || (repaired[i] == ' ' && text[i] != '\n')) << text;
  }
}

TEST(HeaderRepair, AFileWithARepeatedAttributeIsRead) {
  const tarvek::test::TemporaryDirectory directory;
  const std::string path = directory / "run.mzXML";
  tarvek::test::WriteFile(path,
                          "<mzXML><msRun><dataProcessing centroided=\"1\" centroided=\"1\"/>"
                          "</msRun></mzXML>");
  class Counter final : public XmlHandler {
   public:
    void OnStart(std::string_view, const XmlAttributes& attributes) override {
      if (attributes.Get("centroided") == "1") ++m_count;
    }
    void OnEnd(std::string_view) override {}
    void OnText(std::string_view) override {}
    int m_count = 0;
  } counter;
  ReadXmlFile(path, counter, [](const ReadingState&) {});
  EXPECT_EQ(counter.m_count, 1);
}

}  // namespace
}  // namespace tarvek::extractor
