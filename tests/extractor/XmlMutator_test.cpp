// The changes that the fuzz targets make to XML.
#include "XmlMutator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "TestSupport.h"
#include "XmlRecorder.h"

// In a fuzz target libFuzzer has it. Here it shows itself.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t, std::size_t) {
  data[0] = '!';
  return 1;
}

namespace tarvek::fuzz {
namespace {

const std::string kText =
    R"(<mzML version="1"><run id="r" note='a>b'><!-- <not> an element --><spectrum id="scan=1"><binary>AAAA</binary>)"
    R"(</spectrum><spectrum id="scan=2"/></run></mzML>)";

std::string EventsOf(const std::string& text) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "x.xml", text);
  return extractor::test::EventsOf(directory / "x.xml");
}

TEST(XmlMutator, LeavesXmlWellFormedButForRepeatedAttributes) {
  int changed = 0;
  for (std::uint32_t seed = 0; seed < 500; ++seed) {
    SCOPED_TRACE(seed);
    const std::string text = ChangedXml(kText, seed);
    if (text != kText) ++changed;
    // What is moved or unwrapped may be next to the root, or the root may go.
    const std::string events = EventsOf("<all>" + text + "</all>");
    EXPECT_TRUE(events.find("error: ") == std::string::npos ||
                events.find("duplicate attribute") != std::string::npos)
        << events << "\n"
        << text;
  }
  EXPECT_GT(changed, 450);
}

TEST(XmlMutator, MovesNestsRepeatsRemovesAndRenamesElementsAndChangesWhatIsInThem) {
  std::set<std::string> texts;
  for (std::uint32_t seed = 0; seed < 8000; ++seed) texts.insert(ChangedXml(kText, seed));
  const auto is_seen = [&](const std::string& part) {
    return std::ranges::any_of(
        texts, [&](const std::string& text) { return text.find(part) != std::string::npos; });
  };
  EXPECT_TRUE(is_seen(R"(<spectrum id="scan=2"/><spectrum id="scan=2"/>)"));  // repeated
  EXPECT_TRUE(is_seen(R"(<spectrum id="scan=1"><spectrum id="scan=2"/>)"));   // nested
  EXPECT_TRUE(is_seen(R"(an element --><spectrum id="scan=2"/></run>)"));     // removed
  EXPECT_TRUE(
      is_seen(R"(<spectrum id="scan=2"/><spectrum id="scan=1"><binary>)"));  // changed places
  EXPECT_TRUE(is_seen(R"(<run id="scan=1")"));                       // an attribute of another
  EXPECT_TRUE(is_seen(R"(<spectrum id="scan=2" id="scan=2"/>)"));    // twice
  EXPECT_TRUE(is_seen(R"(<spectrum/>)"));                            // gone
  EXPECT_TRUE(is_seen(R"(<binary></binary>)"));                      // emptied
  EXPECT_TRUE(is_seen(R"(<spectrum id="scan=1">AAAA</spectrum>)"));  // unwrapped
  EXPECT_TRUE(is_seen(R"(<run>AAAA</run>)") || is_seen(R"(<spectrum>AAAA</spectrum>)"));  // renamed
  EXPECT_TRUE(is_seen(R"(id="scan=99999999999999999999")") || is_seen(R"(id="scan=2147483648")"));
  EXPECT_TRUE(is_seen("<binary>!</binary>"));
}

TEST(XmlMutator, LeavesTextWithoutElementsToLibFuzzer) {
  std::string bytes = "no XML";
  EXPECT_EQ(ChangedXml(bytes, 3), bytes);
  for (const std::string text : {"", "<", "<a", "<>", "</a>", "<a b='", "<!", "<a></b>"}) {
    SCOPED_TRACE(text);
    for (std::uint32_t seed = 0; seed < 50; ++seed) ChangedXml(text, seed);
  }
  EXPECT_EQ(MutateXml(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size(), bytes.size(), 3),
            1u);
  EXPECT_EQ(bytes[0], '!');
}

TEST(XmlMutator, KeepsToTheLargestSize) {
  for (std::uint32_t seed = 0; seed < 2000; ++seed) {
    std::string bytes = kText;
    const std::size_t size =
        MutateXml(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size(), bytes.size(), seed);
    EXPECT_LE(size, bytes.size());
  }
}

}  // namespace
}  // namespace tarvek::fuzz
