#include "Base64.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "Base64Twin.h"
#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using Decoder = bool (*)(std::string_view, ByteBuffer&);

std::optional<std::string> DecodedBy(Decoder decoder, std::string_view text) {
  ByteBuffer bytes;
  if (!decoder(text, bytes)) return std::nullopt;
  return std::string(bytes.View());
}

// Decodes with both decoders, which must agree.
std::optional<std::string> Verdict(std::string_view text) {
  const auto verdict = DecodedBy(DecodeBase64, text);
  EXPECT_EQ(verdict, DecodedBy(DecodeBase64Portably, text)) << text;
  return verdict;
}

std::string Decoded(std::string_view text) {
  const auto bytes = Verdict(text);
  EXPECT_TRUE(bytes) << text;
  return bytes.value_or("refused");
}

bool IsRefused(std::string_view text) { return !Verdict(text); }

TEST(DecodeBase64, ReadsThePublishedExamples) {
  EXPECT_EQ(Decoded(""), "");
  EXPECT_EQ(Decoded("Zg=="), "f");
  EXPECT_EQ(Decoded("Zm8="), "fo");
  EXPECT_EQ(Decoded("Zm9v"), "foo");
  EXPECT_EQ(Decoded("Zm9vYg=="), "foob");
  EXPECT_EQ(Decoded("Zm9vYmFy"), "foobar");
}

TEST(DecodeBase64, SkipsWhiteSpaceAnywhere) {
  EXPECT_EQ(Decoded("\n  Zm9 v\r\nYm\tE = \n"), "fooba");
}

TEST(DecodeBase64, RefusesOtherCharacters) {
  EXPECT_TRUE(IsRefused("Zm9v!mFy"));
  EXPECT_TRUE(IsRefused("Zm9vYm-y"));
}

TEST(DecodeBase64, RefusesAGroupThatIsCutShort) {
  EXPECT_TRUE(IsRefused("Zm9vY"));
  EXPECT_TRUE(IsRefused("Zm9vYm"));
  EXPECT_TRUE(IsRefused("Zm9vYmF"));
}

TEST(DecodeBase64, RefusesPaddingThatIsNotAtTheEndOrTooMuch) {
  EXPECT_TRUE(IsRefused("Zg==Zg=="));
  EXPECT_TRUE(IsRefused("Zm9v===="));
  EXPECT_TRUE(IsRefused("Z==="));
  EXPECT_TRUE(IsRefused("Zg==="));
}

TEST(DecodeBase64, GivesBackWhatAnotherEncoderWrote) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string bytes(seed, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(Decoded(test::EncodeBase64(bytes)), bytes);
  }
}

TEST(DecodeBase64, RefusesEachOtherCharacterAtEachPlaceOfALongText) {
  const std::string text = test::EncodeBase64(std::string(48, 'x'));  // four vectors
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t place = 0; place < text.size(); ++place) {
    for (int value = 0; value < 256; ++value) {
      std::string changed = text;
      changed[place] = static_cast<char>(value);
      EXPECT_EQ(Verdict(changed), test::DecodeBase64Slowly(changed)) << place << ' ' << value;
      if (kAllowed.find(changed[place]) == std::string_view::npos) {
        EXPECT_TRUE(IsRefused(changed) || (place + 1 == text.size() && value == '='));
      }
    }
  }
}

// One change to a text: a character, mostly a special one, is replaced, removed or inserted.
std::string Mutated(std::string text, std::mt19937& random) {
  constexpr std::string_view kInteresting = "== \n\r\tA/+-_zZ9";
  const char c = random() % 4 == 0 ? static_cast<char>(random())
                                   : kInteresting[random() % kInteresting.size()];
  const std::size_t place = random() % (text.size() + 1);
  switch (random() % 4) {
    case 0:
      text.insert(place, 1, c);
      break;
    case 1:
      if (place < text.size()) text[place] = c;
      break;
    case 2:
      text.erase(place, 1);
      break;
    default:
      text += c;
  }
  return text;
}

TEST(DecodeBase64, AgreesWithTheSlowDecoderOnMutatedTexts) {
  int accepted = 0;
  int refused = 0;
  for (unsigned seed = 0; seed < 20'000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string bytes(random() % 200, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    std::string text = test::EncodeBase64(bytes);
    for (auto i = random() % 4; i > 0; --i) text = Mutated(text, random);
    const auto verdict = Verdict(text);
    ASSERT_EQ(verdict, test::DecodeBase64Slowly(text)) << text;
    ++(verdict ? accepted : refused);
  }
  EXPECT_GT(accepted, 5'000);
  EXPECT_GT(refused, 5'000);
}

TEST(DecodeBase64, ReadsLinesOf76Characters) {
  std::mt19937 random(1);
  std::string bytes(1000, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  std::string text = test::EncodeBase64(bytes);
  for (std::size_t at = 76; at < text.size(); at += 78) text.insert(at, "\r\n");
  EXPECT_EQ(Decoded(text), bytes);
}

}  // namespace
}  // namespace tarvek::extractor
