#include "LittleEndian.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvek {
namespace {

using namespace std::string_literals;

TEST(PutInt32, WritesTheLowestByteFirst) {
  std::string bytes = "x";
  PutInt32(bytes, 0x12345678);
  EXPECT_EQ(bytes, "x\x78\x56\x34\x12");
}
TEST(PutInt32, WritesNegativeNumbersInTwosComplement) {
  std::string bytes;
  PutInt32(bytes, -2);
  EXPECT_EQ(bytes, "\xFE\xFF\xFF\xFF");
}
TEST(PutReal, WritesTheLowestByteFirst) {
  std::string bytes;
  PutReal(bytes, -2.5);  // sign 1, exponent 0x400, fraction 0x4000000000000
  EXPECT_EQ(bytes, "\0\0\0\0\0\0\x04\xC0"s);
}

TEST(Int32At, TakesTheLowestByteFirst) {
  EXPECT_EQ(Int32At("x\x78\x56\x34\x12" + 1), 0x12345678);
  EXPECT_EQ(Int32At("\xFE\xFF\xFF\xFF"), -2);
}
TEST(RealAt, TakesTheLowestByteFirst) {
  const char bytes[] = {0, 0, 0, 0, 0, 0, 0x04, static_cast<char>(0xC0)};
  EXPECT_EQ(RealAt(bytes), -2.5);
}

}  // namespace
}  // namespace tarvek
