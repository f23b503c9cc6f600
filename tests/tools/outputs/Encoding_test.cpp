#include "outputs/Encoding.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarvek::tools {
namespace {

std::string Sha1Of(std::string_view bytes) {
  Sha1 sha1;
  sha1.Take(bytes);
  return sha1.Hex();
}

// The examples of RFC 4648, section 10.
TEST(Base64Text, AgreesWithTheExamplesOfItsStandard) {
  EXPECT_EQ(Base64Text(""), "");
  EXPECT_EQ(Base64Text("f"), "Zg==");
  EXPECT_EQ(Base64Text("fo"), "Zm8=");
  EXPECT_EQ(Base64Text("foo"), "Zm9v");
  EXPECT_EQ(Base64Text("foob"), "Zm9vYg==");
  EXPECT_EQ(Base64Text("fooba"), "Zm9vYmE=");
  EXPECT_EQ(Base64Text("foobar"), "Zm9vYmFy");
}
TEST(Base64Text, HasTheLastDigitsForHighBytes) {
  EXPECT_EQ(Base64Text("\xFB\xEF\xFF"), "++//");  // 111110 111110 111111 111111
}

// The examples of FIPS 180, and the digest of nothing.
TEST(Sha1, AgreesWithTheExamplesOfItsStandard) {
  EXPECT_EQ(Sha1Of(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(Sha1Of("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(Sha1Of("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(Sha1Of(std::string(1'000'000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}
TEST(Sha1, DoesNotDependOnThePiecesThatBytesComeIn) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) bytes += static_cast<char>(i * 7);
  for (std::size_t piece = 1; piece < 200; ++piece) {
    Sha1 sha1;
    for (std::size_t at = 0; at < bytes.size(); at += piece)
      sha1.Take(std::string_view(bytes).substr(at, piece));
    EXPECT_EQ(sha1.Hex(), Sha1Of(bytes)) << piece;
  }
}

}  // namespace
}  // namespace tarvek::tools
