#include "ZlibArray.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>

#include "ExtractorTestSupport.h"

namespace tarvek::extractor {
namespace {

using test::Deflated;

// The result of an inflater: std::nullopt for a damaged stream, "too long" above max_bytes.
using Verdict = std::optional<std::string>;

Verdict VerdictOn(bool is_whole, std::string_view bytes, std::size_t max_bytes) {
  if (!is_whole) return std::nullopt;
  return bytes.size() > max_bytes ? "too long" : std::string(bytes);
}

Verdict Quick(ZlibArray& array, std::string_view packed, std::size_t max_bytes) {
  ByteBuffer bytes;
  const bool is_whole = array.Inflate(packed, max_bytes, bytes);
  return VerdictOn(is_whole, bytes.View(), max_bytes);
}

Verdict Slow(std::string_view packed, std::size_t max_bytes) {
  std::string bytes;
  const bool is_whole = Inflater(StreamKind::kZlib).InflateAll(packed, max_bytes, bytes);
  return VerdictOn(is_whole, bytes, max_bytes);
}

// Bytes that compress well, badly, or hardly at all.
std::string SomeBytes(std::mt19937& random) {
  constexpr std::array<std::size_t, 6> kSizes = {0, 1, 40, 3000, 20'000, 200'000};
  std::string bytes(kSizes[random() % kSizes.size()], 'x');
  const auto kind = random() % 3;
  for (std::size_t i = 0; kind > 0 && i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(kind == 1 ? random() : (i / 100) * 7 + random() % 4);
  return bytes;
}

TEST(ZlibArray, InflatesWhatZlibPacked) {
  ZlibArray array;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::string bytes = SomeBytes(random);
    EXPECT_EQ(Quick(array, Deflated(bytes), bytes.size()), bytes);
    EXPECT_EQ(Quick(array, Deflated(bytes), 160'000'000), bytes);
  }
}

TEST(ZlibArray, TakesNoNoticeOfWhatFollowsTheStream) {
  ZlibArray array;
  EXPECT_EQ(Quick(array, Deflated("abc") + "behind it", 10), "abc");
  EXPECT_EQ(Quick(array, Deflated("abc") + Deflated("def"), 10), "abc");
}

TEST(ZlibArray, RefusesAStreamCutAtAnyByte) {
  ZlibArray array;
  const std::string packed = Deflated("The stream ends with a checksum of four bytes.");
  for (std::size_t size = 0; size < packed.size(); ++size)
    EXPECT_EQ(Quick(array, packed.substr(0, size), 1000), std::nullopt) << size;
}

TEST(ZlibArray, StopsBehindTheLongestLength) {
  ZlibArray array;
  const std::string packed = Deflated(std::string(1000, 'x'));
  EXPECT_EQ(Quick(array, packed, 1000), std::string(1000, 'x'));
  EXPECT_EQ(Quick(array, packed, 999), "too long");
  EXPECT_EQ(Quick(array, packed, 0), "too long");
  EXPECT_EQ(Quick(array, Deflated(""), 0), "");
}

// A code that zlib refuses, for example for a length that no compressor writes, may pass if the
// checksum shows that the bytes are right.
TEST(ZlibArray, AgreesWithZlibOnDamagedStreamsOrGivesTheRightBytes) {
  ZlibArray array;
  int healed = 0;
  int whole = 0;
  int damaged = 0;
  int too_long = 0;
  for (unsigned seed = 0; seed < 20'000; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string bytes = SomeBytes(random);
    if (seed % 20 != 0) bytes.resize(std::min<std::size_t>(bytes.size(), 500));  // for speed
    const std::size_t size = bytes.size();
    std::string packed = Deflated(bytes);
    if (random() % 4 == 0) packed.resize(random() % (packed.size() + 1));
    for (auto i = random() % 3; i > 0 && !packed.empty(); --i)
      packed[random() % packed.size()] ^= static_cast<char>(1u << random() % 8);
    if (random() % 4 == 0) packed += "garbage";
    const std::size_t max_bytes =
        random() % 3 == 0 ? random() % (size + 2) : size + random() % 1000;
    const Verdict slow = Slow(packed, max_bytes);
    const Verdict quick = Quick(array, packed, max_bytes);
    ASSERT_TRUE(quick == slow || (!slow && quick == bytes));
    if (quick != slow) ++healed;
    ++(!slow ? damaged : slow == "too long" ? too_long : whole);
  }
  EXPECT_GT(whole, 1000);
  EXPECT_GT(damaged, 1000);
  EXPECT_GT(too_long, 1000);
  EXPECT_LT(healed, 10);
}

}  // namespace
}  // namespace tarvek::extractor
