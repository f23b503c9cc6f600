#include "table/Text.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace tarvek::tools {
namespace {

TEST(JsonLine, HasNullForWhatIsNotFinite) {
  PrecursorFact row;
  row.m_run = "run";
  row.m_scan_no = 2;
  row.m_time_min = std::numeric_limits<double>::infinity();
  row.m_declared_mz = -std::numeric_limits<double>::infinity();
  row.m_mz = std::numeric_limits<double>::infinity();
  row.m_neutral_mass_da = std::numeric_limits<double>::quiet_NaN();
  row.m_ppm = -std::numeric_limits<double>::quiet_NaN();
  row.m_purity = 0.5;
  std::string text;
  AppendJsonLine(row, text);
  const nlohmann::json line = nlohmann::json::parse(text);
  for (const char* const name :
       {"retention_time_min", "declared_mz", "mz", "neutral_mass", "ppm_error"})
    EXPECT_TRUE(line.at(name).is_null()) << name;
  EXPECT_EQ(line.at("purity"), 0.5);
  EXPECT_EQ(line.at("scan"), 2);
}

}  // namespace
}  // namespace tarvek::tools
