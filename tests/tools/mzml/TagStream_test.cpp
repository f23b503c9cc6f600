#include "mzml/TagStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The tags of a file with this content; whole: they and the texts before them, joined.
std::vector<std::string> TagsOf(const std::string& content, std::string& whole) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a.mzML", content);
  TagStream stream(directory / "a.mzML");
  std::vector<std::string> names;
  while (stream.Next()) {
    names.emplace_back(stream.Present().Text());
    whole.append(stream.Before()).append(stream.Present().Text());
  }
  whole.append(stream.Before());
  return names;
}

std::string MessageOf(const std::string& content) {
  return test::MessageOf([&] {
    std::string whole;
    TagsOf(content, whole);
  });
}

TEST(TagStream, GivesTagsAndPassesOverComments) {
  const std::string content =
      "<?xml version=\"1.0\"?>\n<a b='>' c=\"'/>\"><!-- <x> -- > --><d/>text</a>\n<!--end-->\n";
  std::string whole;
  EXPECT_THAT(TagsOf(content, whole), ElementsAre("<a b='>' c=\"'/>\">", "<d/>", "</a>"));
  EXPECT_EQ(whole, content);
}

// Wherever a block of the reader ends, nothing is lost or seen twice.
TEST(TagStream, GivesTheSameWhereverABlockEnds) {
  const std::string middle = "<a b=\">\"><!-- <x> --></a><?p <y> ?>";
  constexpr std::size_t kBlock = std::size_t{1} << 18;
  for (std::size_t cut = 0; cut <= middle.size() + 3; ++cut) {
    const std::string fill(kBlock - 3 - cut, 'A');
    const std::string content = "<r>" + fill + middle + "</r>";
    std::string whole;
    EXPECT_THAT(TagsOf(content, whole), ElementsAre("<r>", "<a b=\">\">", "</a>", "</r>")) << cut;
    EXPECT_TRUE(whole == content) << cut;
  }
}

TEST(TagStream, SaysWhatIsWrongAndWhere) {
  EXPECT_THAT(MessageOf("<a><b></a></b>"),
              HasSubstr("a.mzML: byte 6: </a> closes no open element"));
  EXPECT_THAT(MessageOf("<a></a><b/>"), HasSubstr("a second root element"));
  EXPECT_THAT(MessageOf("<a><b>"), HasSubstr("the file ends before its root element does"));
  EXPECT_THAT(MessageOf(""), HasSubstr("the file ends before its root element does"));
  EXPECT_THAT(MessageOf("<a x=\"</a>"), HasSubstr("the file ends inside a tag"));
  EXPECT_THAT(MessageOf("<a><!-- </a>"), HasSubstr("the file ends inside a comment"));
  EXPECT_THAT(MessageOf("<a><?p </a>"), HasSubstr("inside a processing instruction"));
  EXPECT_THAT(MessageOf("<!DOCTYPE a><a/>"), HasSubstr("byte 0: a document type or CDATA"));
  EXPECT_THAT(MessageOf("<a><![CDATA[<b>]]></a>"), HasSubstr("byte 3: a document type or CDATA"));
}

TEST(TagStream, RefusesWhatIsTooLargeForAnInstrumentFile) {
  constexpr std::size_t kMegabyte = std::size_t{1} << 20;
  const auto fill = [](std::size_t bytes) { return std::string(bytes, 'A'); };
  EXPECT_THAT(MessageOf("<a x=\"" + fill(2 * kMegabyte) + "\"/>"),
              HasSubstr("a tag of more than 1 MB"));
  EXPECT_THAT(MessageOf("<a>" + fill(34 * kMegabyte) + "</a>"),
              HasSubstr("more than 32 MB between two tags"));
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<a>";
  EXPECT_THAT(MessageOf(deep), HasSubstr("elements are nested too deep"));
  EXPECT_EQ(MessageOf("<a x=\"" + fill(kMegabyte / 2) + "\">" + fill(30 * kMegabyte) + "</a>"),
            "(nothing was thrown)");
}

TEST(Tag, GivesAttributesAsTheyAreWritten) {
  const Tag tag("<a id = 'x&amp;\"y'\n  xid=\"2\" empty=''/>");
  EXPECT_EQ(tag.Name(), "a");
  EXPECT_TRUE(tag.IsEmpty());
  EXPECT_EQ(tag.Attribute("id"), "x&amp;\"y");
  EXPECT_EQ(tag.Attribute("xid"), "2");
  EXPECT_EQ(tag.Attribute("empty"), "");
  EXPECT_EQ(tag.Attribute("d"), std::nullopt);
  EXPECT_EQ(Unescaped("a&lt;b&amp;lt;&quot;&apos;&gt;&other;"), "a<b&lt;\"'>&other;");
}

}  // namespace
}  // namespace tarvek::tools
