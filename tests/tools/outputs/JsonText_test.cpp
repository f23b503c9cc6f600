#include "outputs/JsonText.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tarvek::tools {
namespace {

TEST(JsonText, EscapesDeleteAndReplacesWhatIsNoUtf8) {
  const nlohmann::ordered_json json = {{"na\x7fme", "a\x1b\x7f\xff"}};
  EXPECT_EQ(JsonText(json, -1), "{\"na\\u007fme\":\"a\\u001b\\u007f\xef\xbf\xbd\"}");
  EXPECT_EQ(nlohmann::ordered_json::parse(JsonText(json, 2)).begin().key(), "na\x7fme");
}

}  // namespace
}  // namespace tarvek::tools
