#include "XmlPlace.h"

#include <gtest/gtest.h>

#include <random>

namespace tarvek::extractor {
namespace {

std::int64_t CountLinesSlowly(std::string_view text) {
  std::int64_t lines = 1;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (text[i] == '\r' || (text[i] == '\n' && (i == 0 || text[i - 1] != '\r'))) ++lines;
  return lines;
}

TEST(XmlPlace, BeginsAtTheFirstByteOfTheFirstLine) {
  EXPECT_EQ(XmlPlace().Text(), "line 1, byte 0: ");
}

TEST(XmlPlace, CountsEveryKindOfLineEndOnce) {
  XmlPlace place;
  place.Pass("one\ntwo\r\nthree\rfour\n\rsix");
  EXPECT_EQ(place.Text(), "line 6, byte 24: ");
}

TEST(XmlPlace, CountsAsASlowTwinHoweverTheTextIsCut) {
  std::mt19937 random(20261123);
  for (int round = 0; round < 300; ++round) {
    std::string text(random() % 6000, 'x');
    const std::size_t rarity = 1 + random() % 20;
    for (char& c : text)
      if (random() % rarity == 0) c = "\r\n"[random() % 2];
    XmlPlace place;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t size = std::min<std::size_t>(random() % 3000, text.size() - at);
      place.Pass(std::string_view(text).substr(at, size));
      at += size;
    }
    ASSERT_EQ(place.m_line, CountLinesSlowly(text)) << round;
    ASSERT_EQ(place.m_byte, static_cast<std::int64_t>(text.size()));
  }
}

}  // namespace
}  // namespace tarvek::extractor
