#include "mzml/Head.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"

namespace tarvek::tools {
namespace {

using testing::HasSubstr;

std::string HeadWith(const std::string& software, const std::string& count) {
  return "<mzML><softwareList count=\"2\">" + software +
         "</softwareList><dataProcessingList count=\"1\"></dataProcessingList><run>"
         "<spectrumList count=\"" +
         count + "\">";
}

TEST(MzmlHead, TakesAnIdThatNothingHas) {
  const MzmlHead head(
      HeadWith("<software id=\"tarvek\"></software><software id='tarvek_2'></software>", "7"),
      false);
  EXPECT_THAT(head.Text(), HasSubstr("<softwareList count=\"3\">"));
  EXPECT_THAT(head.Text(), HasSubstr("<software id=\"tarvek_3\""));
  EXPECT_THAT(head.Text(), HasSubstr("softwareRef=\"tarvek_3\""));
  EXPECT_EQ(head.DeclaredCount(), 7);
}

TEST(MzmlHead, TakesAnIdAmongManyInTimeThatFollowsTheirNumber) {
  std::string software = "<software id=\"tarvek\"></software>";
  for (int number = 2; number < 60'000; ++number)
    software += "<software id=\"tarvek_" + std::to_string(number) + "\"></software>";
  EXPECT_THAT(MzmlHead(HeadWith(software, "7"), false).Text(),
              HasSubstr("softwareRef=\"tarvek_60000\""));
}

TEST(MzmlHead, RefusesACountThatNoFileHas) {
  for (const std::string count : {"", "-1", "1e3", "9223372036854775807"})
    EXPECT_THAT(test::MessageOf([&] { MzmlHead(HeadWith("", count), false); }),
                HasSubstr("the spectrumList has no count of spectra"))
        << count;
}

TEST(MzmlHead, LeavesTheLargestCountOfAnotherListAlone) {
  std::string text = HeadWith("", "7");
  text.replace(text.find("count=\"2\""), 9, "count=\"9223372036854775807\"");
  EXPECT_THAT(MzmlHead(text, false).Text(),
              HasSubstr("<softwareList count=\"9223372036854775807\"><software id=\"tarvek\""));
}

}  // namespace
}  // namespace tarvek::tools
