#include "outputs/SpectrumNumbers.h"

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

TEST(SpectrumNumbers, TakesTheNumberOfTheIdWithoutAList) {
  const test::TemporaryDirectory directory;
  const SpectrumNumbers numbers(directory / "none.nativeid.tsv");
  EXPECT_EQ(numbers.Of(0, "controllerType=0 controllerNumber=1 scan=17"), 17);
  EXPECT_EQ(numbers.Of(0, "scan=17"), 17);
  EXPECT_EQ(numbers.Of(0, "index=17"), std::nullopt);
}

TEST(SpectrumNumbers, TakesThePositionOfListedIds) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a.nativeid.tsv", "scan\tnativeID\n2\tindex=1\n3\tindex=2\n");
  const SpectrumNumbers numbers(directory / "a.nativeid.tsv");
  EXPECT_EQ(numbers.Of(1, "index=1"), 2);
  EXPECT_EQ(numbers.Of(2, "index=2"), 3);
  EXPECT_EQ(numbers.Of(0, "index=0"), std::nullopt);
  EXPECT_EQ(numbers.Of(1, "index=2"), std::nullopt);
}

// A merged file, numbered by position: the id "scan=2" is at positions 2 and 4, and the spectrum
// with id "scan=4", which was not extracted, is not the scan at position 4.
TEST(SpectrumNumbers, DoesNotTakeTheNumberOfAnIdForAListedPosition) {
  const test::TemporaryDirectory directory;
  test::WriteFile(directory / "a.nativeid.tsv", "scan\tnativeID\n2\tscan=2\n4\tscan=2\n");
  const SpectrumNumbers numbers(directory / "a.nativeid.tsv");
  EXPECT_EQ(numbers.Of(1, "scan=2"), 2);
  EXPECT_EQ(numbers.Of(3, "scan=2"), 4);
  EXPECT_EQ(numbers.Of(9, "scan=4"), std::nullopt);
  EXPECT_EQ(numbers.Of(9, "scan=7"), 7);
}

}  // namespace
}  // namespace tarvek::tools
