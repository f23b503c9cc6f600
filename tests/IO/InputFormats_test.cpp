#include "InputFormats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarvek {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> Words() {
  std::vector<std::string> words;
  for (const InputFormat& format : kInputFormats) words.emplace_back(format.m_word);
  return words;
}

TEST(InputFormats, AreAllInTheListsForPeople) {
  EXPECT_THAT(kInputWords, testing::UnorderedElementsAreArray(Words()));
  for (const std::string& word : Words()) {
    EXPECT_THAT(kInputWordList, HasSubstr(word));
    EXPECT_THAT(ToLower(kInputNames), HasSubstr(word));
    EXPECT_THAT(ToLower(kKnownInputs), HasSubstr(word));
  }
}

TEST(InputFormats, HaveAnExtractorWhereTheirRoadNeedsOne) {
  for (const InputFormat& format : kInputFormats)
    EXPECT_EQ(IsInstrumentFormat(format.m_word),
              format.m_input_path == InputPath::kXml || format.m_input_path == InputPath::kVendor)
        << format.m_word;
  EXPECT_THAT(kInstrumentFormats, ElementsAre("raw", "wiff", "mzxml", "mzml"));
}

TEST(FindInputFormat, TakesWordsInLowerCase) {
  EXPECT_EQ(FindInputFormat("wiff")->m_extractor, "morvex_wiff.exe");
  EXPECT_EQ(FindInputFormat("mzml")->m_packed_ending, ".mzml.gz");
  for (const char* other : {"mzML", "", "ms2", ".raw"})
    EXPECT_EQ(FindInputFormat(other), nullptr) << other;
}

TEST(FormatOfName, IsThatOfTheEnding) {
  struct Case {
    const char* m_name;
    const char* m_word;
    std::size_t m_ending_size;
  };
  for (const Case& sample :
       {Case{"a.b.mzML.gz", "mzml", 8}, Case{"A.MZXML", "mzxml", 6}, Case{"a.raw.mzML", "mzml", 5},
        Case{"a.mgf", "mgf", 4}, Case{"a.RAW ", "raw", 4}}) {
    const NamedFormat found = FormatOfName(sample.m_name);
    ASSERT_NE(found.m_format, nullptr) << sample.m_name;
    EXPECT_EQ(found.m_format->m_word, sample.m_word);
    EXPECT_EQ(found.m_ending_size, sample.m_ending_size);
  }
  for (const char* other :
       {"a.ms2", "a.ms1.gz", "a.gz", "a", "", ".mzML", ".mzML.gz", "raw", "raw  "})
    EXPECT_EQ(FormatOfName(other).m_format, nullptr) << other;
}

}  // namespace
}  // namespace tarvek
