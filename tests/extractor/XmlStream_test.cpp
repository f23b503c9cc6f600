#include "XmlStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "ExtractorTestSupport.h"
#include "XmlRecorder.h"

namespace tarvek::extractor {
namespace {

namespace fs = std::filesystem;
using test::EventsOf;
using test::XmlRecorder;

/// A file that is read again and again.
class XmlStreamTest : public testing::Test {
 protected:
  // A new file, since some file systems write an overwritten one to disk at once.
  void Write(std::string_view xml) const {
    fs::remove(m_path);
    test::WriteFile(m_path, xml);
  }

  // The events of the file, without "PATH: " in its error.
  std::string Events(const XmlReading& reading, const XmlRecorder& recorder = XmlRecorder()) const {
    std::string events = EventsOf(m_path, reading, recorder);
    if (const std::size_t at = events.find(m_path + ": "); at != std::string::npos)
      events.erase(at, m_path.size() + 2);
    return events;
  }

  std::string Read(std::string_view xml, const XmlReading& reading = {},
                   const XmlRecorder& recorder = XmlRecorder()) const {
    Write(xml);
    return Events(reading, recorder);
  }

  // As ExpectEvents, without expat.
  void ExpectScanned(std::string_view xml, const std::string& expected) const {
    ExpectEvents(xml, expected);
    EXPECT_FALSE(test::ReadRecorded(m_path).m_is_by_expat) << xml;
  }

  // As ExpectEvents, with the help of expat.
  void ExpectHandedOver(std::string_view xml, const std::string& expected) const {
    ExpectEvents(xml, expected);
    EXPECT_TRUE(test::ReadRecorded(m_path).m_is_by_expat) << xml;
  }

  // Reads in blocks of many sizes, and by expat alone.
  void ExpectEvents(std::string_view xml, const std::string& expected) const {
    Write(xml);
    EXPECT_EQ(Events({.m_by_expat_alone = true}), expected);
    EXPECT_EQ(Events({}), expected);
    for (std::size_t size = 1; size < 40; ++size)
      EXPECT_EQ(Events({.m_block_bytes = size}), expected) << "blocks of " << size;
  }

  const test::TemporaryDirectory m_directory;
  const std::string m_path = m_directory / "run.xml";
};

std::string Open(const std::string& name, const std::string& attributes = {}) {
  return "\n<" + name + attributes + "\n>";
}
std::string Attribute(const std::string& name, const std::string& value) {
  return "\n  " + name + "=" + value;
}
std::string Close(const std::string& name) { return "\n</" + name + "\n>"; }
std::string InRoot(const std::string& events) { return Open("a") + events + Close("a"); }

TEST_F(XmlStreamTest, TakesTagsAttributesAndText) {
  ExpectScanned(
      "<a>one<b c='1' d.e-f_g:h = \"2\"\n\ti=''/>two<k >three</k\n></a>\n",
      InRoot("one" +
             Open("b", Attribute("c", "1") + Attribute("d.e-f_g:h", "2") + Attribute("i", "")) +
             Close("b") + "two" + Open("k") + "three" + Close("k")));
}

TEST_F(XmlStreamTest, TakesByteOrderMarkDeclarationAndComments) {
  for (const char* const head :
       {"", "\xEF\xBB\xBF", "<?xml version=\"1.0\"?>", "<?xml version='1.0' encoding='utf-8'?>\n",
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>",
        "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><!-- <b> & ]]> -->",
        " \r\n<!----><!--- -->\n"})
    ExpectScanned(std::string(head) + "<a>x<!-- > - y -->z</a> <!-- end --> ", InRoot("xz"));
}

TEST_F(XmlStreamTest, ResolvesReferences) {
  ExpectScanned(
      "<a "
      "b='&lt;&gt;&amp;&quot;&apos;&#65;&#x4a;&#9;&#10;&#x20;'>&lt;&amp;lt;&#xe9;&#8364;&#x1F600;</"
      "a>",
      Open("a", Attribute("b", "<>&\"'AJ\t\n ")) + "<&lt;\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80" +
          Close("a"));
}

TEST_F(XmlStreamTest, NormalisesLineEndsAndBlanksOfValues) {
  ExpectScanned("<a b='1\t2\n3\r4\r\n5\n\r6'>1\t2\n3\r4\r\n5\n\r6\r\r\n</a>\r\n\r\n",
                Open("a", Attribute("b", "1 2 3 4 5  6")) + "1\t2\n3\n4\n5\n\n6\n\n" + Close("a"));
  ExpectHandedOver("<a/>\r", InRoot(""));
}

TEST_F(XmlStreamTest, TakesSquareBracketsThatEndNothing) {
  ExpectScanned("<a b=']]>'>] ]] ]]] ]&gt; ]]a>]</a>",
                Open("a", Attribute("b", "]]>")) + "] ]] ]]] ]> ]]a>]" + Close("a"));
}

TEST_F(XmlStreamTest, TakesTheOtherQuoteInAValue) {
  ExpectScanned(
      "<a b='\"' c=\"'>/\" d='x\"&amp;\"y'/>",
      Open("a", Attribute("b", "\"") + Attribute("c", "'>/") + Attribute("d", "x\"&\"y")) +
          Close("a"));
}

TEST_F(XmlStreamTest, TakesWhatIsNotAsciiInItsEncoding) {
  const std::string text = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xC2\x80";
  ExpectScanned("<a b='" + text + "'>x" + text + "y<!--" + text + "--></a>",
                Open("a", Attribute("b", text)) + "x" + text + "y" + Close("a"));
  ExpectScanned(
      "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a "
      "b='\xE9\xFF'>x\xE9\xE9\x80y<!--\xE9--></a>",
      Open("a", Attribute("b", "\xC3\xA9\xC3\xBF")) + "x\xC3\xA9\xC3\xA9\xC2\x80y" + Close("a"));
}

TEST_F(XmlStreamTest, HandsOverWhatIsOdd) {
  for (const char* const odd : {"<![CDATA[<x>&]]]>", "<?pi x?>&lt;x>&amp;]"})
    ExpectHandedOver("<a>1<b>2" + std::string(odd) + "3</b><c d='4'/>5</a>",
                     InRoot("1" + Open("b") + "2<x>&]3" + Close("b") +
                            Open("c", Attribute("d", "4")) + Close("c") + "5"));
  ExpectHandedOver("<?pi?><a>1</a>", InRoot("1"));
  ExpectHandedOver("<a>1</a>\r\n<?pi?>", InRoot("1"));
  ExpectHandedOver("<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>1\x80</a>",
                   InRoot("1\xEF\xBF\xBD"));
  ExpectHandedOver("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9<?pi?>\xE9</a>",
                   InRoot("\xC3\xA9\xC3\xA9"));
  ExpectHandedOver("<a><\xC3\xA9>1</\xC3\xA9></a>",
                   InRoot(Open("\xC3\xA9") + "1" + Close("\xC3\xA9")));
}

TEST_F(XmlStreamTest, NamesThePlaceOfAMistake) {
  const std::string bad = "\nerror: line 3, byte ";
  const std::string malformed = ": not well-formed XML: ";
  ExpectEvents("<a>\r\n<b\n>&x;</b></a>",
               Open("a") + "\n" + Open("b") + bad + "9" + malformed + "undefined entity");
  ExpectEvents("<a>\r\n<b\n></c></a>",
               Open("a") + "\n" + Open("b") + bad + "11" + malformed + "mismatched tag");
  ExpectEvents("<a>\n\n<b c='<'/></a>",
               Open("a") + bad + "11" + malformed + "not well-formed (invalid token)");
  ExpectEvents("<a>\n\n]]></a>",
               Open("a") + bad + "7" + malformed + "not well-formed (invalid token)");
  ExpectEvents("<a>\n\n\x01</a>",
               Open("a") + bad + "5" + malformed + "not well-formed (invalid token)");
  ExpectEvents("<a>\n\n\xC3</a>",
               Open("a") + bad + "5" + malformed + "not well-formed (invalid token)");
  ExpectEvents("<a>\n</a>\nx",
               InRoot("\n") + bad + "9" + malformed + "junk after document element");
  ExpectEvents(
      "<a>\n\n",
      Open("a") + "\nerror: truncated, line 3, byte 5: the file is truncated: no element found");
  ExpectEvents(
      "<a>\n\n<b c='",
      Open("a") + "\nerror: truncated, line 3, byte 5: the file is truncated: unclosed token");
  ExpectEvents("", "\nerror: truncated, line 1, byte 0: the file is truncated: no element found");
}

// In the first block one of the two is blanked.
TEST_F(XmlStreamTest, NamesThePlaceOfARepeatedAttributeBehindTheFirstBlock) {
  for (const bool by_expat : {false, true})
    for (std::size_t size = 1; size < 14; ++size)
      EXPECT_EQ(Read("<a>\n\n<b c='1' c='2'/></a>", {by_expat, size}),
                Open("a") + "\nerror: line 3, byte 14: not well-formed XML: duplicate attribute");
}

TEST_F(XmlStreamTest, NamesThePlaceWhereTheHandlerThrew) {
  const std::string xml = "<a>\n<b c='1'\n/>\r\n<d>x</d></a>";
  const std::array<const char*, 6> places = {"line 1, byte 3",  "line 3, byte 15",
                                             "line 3, byte 15", "line 4, byte 20",
                                             "line 4, byte 25", "line 4, byte 29"};
  for (int i = 0; i < 6; ++i)
    for (const bool by_expat : {false, true})
      EXPECT_THAT(Read(xml, {.m_by_expat_alone = by_expat}, XmlRecorder(i)),
                  testing::EndsWith("\nerror: " + std::string(places[static_cast<std::size_t>(i)]) +
                                    ": thrown by the handler"));
}

TEST_F(XmlStreamTest, ReadsRealRunsAsExpatDoes) {
  if (!fs::exists(TARVEK_SHARED_FOLDER "/data")) GTEST_SKIP() << "no real runs beside the project";
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(TARVEK_SHARED_FOLDER "/data")) {
    const std::string path = entry.path().string();
    if (!path.ends_with(".mzML.gz") && !path.ends_with(".mzXML.gz")) continue;
    ++files;
    const XmlRecorder recorder = test::ReadRecorded(path);
    EXPECT_TRUE(recorder.Events() == EventsOf(path, {.m_by_expat_alone = true})) << path;
    EXPECT_FALSE(recorder.m_is_by_expat) << path;
  }
  EXPECT_GT(files, 0);
}

TEST_F(XmlStreamTest, RefusesAHugeToken) {
  const std::string filling(std::size_t{9} << 20, 'x');
  const std::array<std::pair<std::string, const char*>, 5> files = {
      {{"<a>\n<b c='" + filling + "'/></a>", "line 2, byte 4"},
       {"<a>\n<!--" + filling + "--></a>", "line 2, byte 4"},
       {"<a>\n<?pi " + filling + "?></a>", "line 2, byte 4"},
       {"\n<!--" + filling + "--><a/>", "line 2, byte 1"},
       {"<a/>\n<!--" + filling + "-->", "line 2, byte 5"}}};
  for (const auto& [xml, place] : files)
    for (const bool by_expat : {false, true})
      EXPECT_THAT(Read(xml, {.m_by_expat_alone = by_expat}),
                  testing::EndsWith("\nerror: " + std::string(place) +
                                    ": a tag or comment of more than 8 MB, which cannot be"));
}

TEST_F(XmlStreamTest, RefusesADocumentType) {
  for (const bool by_expat : {false, true})
    EXPECT_EQ(Read("<!-- x -->\n<!DOCTYPE a><a/>", {.m_by_expat_alone = by_expat}),
              "\nerror: line 2, byte 22: has a document type declaration (DOCTYPE), which is not "
              "supported");
}

TEST_F(XmlStreamTest, TakesALargeToken) {
  const std::string filling(std::size_t{7} << 20, 'x');
  const std::string xml = "<a><b c='" + filling + "'/><!--" + filling + "--></a>";
  EXPECT_TRUE(Read(xml) == InRoot(Open("b", Attribute("c", filling)) + Close("b")));
}

constexpr std::array<std::string_view, 12> kSpecimens = {
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mzML xmlns=\"http://x.y/z\" id='r'>\r\n  "
    "<cvParam "
    "accession=\"MS:1000511\" name=\"ms level\" value=\"1\"/>\n  "
    "<binary>QUJD+/=\n</binary>\n</mzML>\n",
    "\xEF\xBB\xBF<?xml version='1.0' standalone='yes'?><a><b "
    "c=\"&lt;&#65;\t\n\r\n\">&amp;&#x41;</b></a>",
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a b='\xE9'>\xE9\r\xFF<c/>]]</a><!-- \xE9 "
    "-->\n",
    "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a><!-- - --><b>1</b ><b></b>]] ></a>\n",
    "<a>\xC3\xA9<b "
    "c='\xE2\x82\xAC\xF0\x9F\x98\x80'>\xED\x9F\xBF\xEF\xBF\xBD</b><!--\xC3\xA9--></a>",
    "<a><![CDATA[<b>&]]]]><c d='1'>x</c>\n<?pi y?>\n<e/></a>",
    "<!DOCTYPE a [<!ELEMENT a ANY>]><a>1<b c='2' d='3' e='4'/></a>",
    "<?xml version=\"1.0\"?><!-- x --><?pi?><a b='1'>\r\n\r\r\n</a>\r\n<!-- y -->\r<?pi?>",
    "<x:a xmlns:x='u'><x:b "
    "x:c='1'>abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz&gt;</x:b></x:a>",
    "<a b = '1'\n c\t=\t\"2\" ><d e='>' f=\"'\" g='\"'></d\n></a >",
    "<a><a><a>1</a>2</a>3<a/>4<a>]]]</a></a>",
    "<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\x80</a>",
};

constexpr std::array<std::string_view, 34> kInsertions = {"<",
                                                          ">",
                                                          "&",
                                                          "\"",
                                                          "'",
                                                          "]]>",
                                                          "]",
                                                          "/",
                                                          "=",
                                                          " ",
                                                          "\r",
                                                          "\n",
                                                          "\t",
                                                          "\r\n",
                                                          "-",
                                                          "--",
                                                          "<!--",
                                                          "-->",
                                                          "<![CDATA[",
                                                          "<?",
                                                          "?>",
                                                          "&lt;",
                                                          "&#1;",
                                                          "&#65;",
                                                          "\x01",
                                                          std::string_view("\0", 1),
                                                          "\x7F",
                                                          "\x80",
                                                          "\xC3\xA9",
                                                          "\xE9",
                                                          "\xEF\xBF\xBF",
                                                          "\xED\xA0\x80",
                                                          "<b c='1' c='1'/>",
                                                          "</a>"};

std::string Mutated(std::mt19937& random) {
  std::string text(kSpecimens[random() % kSpecimens.size()]);
  for (unsigned changes = random() % 4; changes > 0; --changes) {
    const std::size_t at = random() % (text.size() + 1);
    switch (random() % 5) {
      case 0:
        if (at < text.size()) text[at] = static_cast<char>(random() % 256);
        break;
      case 1:
        text.erase(at, 1 + random() % 4);
        break;
      case 2:
        text.resize(at);
        break;
      default:
        text.insert(at, kInsertions[random() % kInsertions.size()]);
    }
  }
  return text;
}

// How many files the next test reads; TARVEK_XML_MUTATIONS overrides it.
int MutationCount() {
  const char* const wanted = std::getenv("TARVEK_XML_MUTATIONS");
  return wanted == nullptr ? 10000 : std::atoi(wanted);
}

TEST_F(XmlStreamTest, ReadsMutatedFilesAsExpatDoes) {
  constexpr unsigned kSeed = 20261122;
  std::mt19937 random(kSeed);
  for (int round = 0; round < MutationCount(); ++round) {
    const std::string text = Mutated(random);
    const std::size_t block = random() % 3 == 0 ? 1 << 16 : 2 + random() % 63;
    const int throws_at = random() % 4 == 0 ? static_cast<int>(random() % 6) : 1000;
    Write(text);
    const test::ReadBothWays both(m_path, text, block, XmlRecorder(throws_at));
    ASSERT_EQ(both.m_events, both.m_by_expat)
        << "seed " << kSeed << ", round " << round << ", blocks of " << block << ":\n"
        << text;
  }
}

}  // namespace
}  // namespace tarvek::extractor
