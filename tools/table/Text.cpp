#include "table/Text.h"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "NumberText.h"
#include "outputs/JsonText.h"

namespace tarvek::tools {
namespace {

constexpr int kMzDecimals = 6;
constexpr int kWidthDecimals = 4;
constexpr int kTimeDecimals = 6;
constexpr int kPpmDecimals = 3;
constexpr int kShareDecimals = 4;

/// Empty for what is not known or not finite.
std::string RealText(const std::optional<double>& value, int decimals) {
  return value && std::isfinite(*value) ? Fixed(*value, decimals) : std::string();
}

template <class Integer>
std::string IntegerText(const std::optional<Integer>& value) {
  return value ? std::to_string(*value) : std::string();
}

struct Column {
  std::string_view m_name;
  bool m_is_number;
  std::string (*m_text)(const PrecursorFact&);
};

constexpr std::array<Column, 20> kColumns = {{
    {"run", false, [](const PrecursorFact& row) { return row.m_run; }},
    {"scan", true, [](const PrecursorFact& row) { return std::to_string(row.m_scan_no); }},
    {"retention_time_min", true,
     [](const PrecursorFact& row) { return RealText(row.m_time_min, kTimeDecimals); }},
    {"activation", false, [](const PrecursorFact& row) { return row.m_activation; }},
    {"analyser", false, [](const PrecursorFact& row) { return row.m_analyser; }},
    {"isolation_mz", true,
     [](const PrecursorFact& row) { return RealText(row.m_isolation_mz, kMzDecimals); }},
    {"isolation_width", true,
     [](const PrecursorFact& row) { return RealText(row.m_isolation_width, kWidthDecimals); }},
    {"declared_mz", true,
     [](const PrecursorFact& row) { return RealText(row.m_declared_mz, kMzDecimals); }},
    {"declared_charge", true,
     [](const PrecursorFact& row) { return IntegerText(row.m_declared_charge); }},
    {"rank", true, [](const PrecursorFact& row) { return std::to_string(row.m_rank); }},
    {"origin", false,
     [](const PrecursorFact& row) {
       return std::string(row.m_is_determined ? "determined" : "declared");
     }},
    {"mz", true, [](const PrecursorFact& row) { return RealText(row.m_mz, kMzDecimals); }},
    {"charge", true, [](const PrecursorFact& row) { return std::to_string(row.m_charge); }},
    {"neutral_mass", true,
     [](const PrecursorFact& row) { return RealText(row.m_neutral_mass_da, kMzDecimals); }},
    {"isotope_shift", true,
     [](const PrecursorFact& row) { return IntegerText(row.m_isotope_shift); }},
    {"ppm_error", true, [](const PrecursorFact& row) { return RealText(row.m_ppm, kPpmDecimals); }},
    {"probability", true,
     [](const PrecursorFact& row) { return RealText(row.m_probability, kShareDecimals); }},
    {"share", true, [](const PrecursorFact& row) { return RealText(row.m_share, kShareDecimals); }},
    {"purity", true,
     [](const PrecursorFact& row) { return RealText(row.m_purity, kShareDecimals); }},
    {"settings_hash", false, [](const PrecursorFact& row) { return row.m_settings_hash; }},
}};

/// A name may hold anything that is allowed in a file name.
std::string WithoutTabs(std::string text) {
  for (char& c : text)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return text;
}

/// Bytes that are not UTF-8 become the replacement character.
std::string Quoted(const std::string& text) { return JsonText(nlohmann::json(text), -1); }

}  // namespace

std::string TsvHeader() {
  std::string text;
  for (const Column& column : kColumns) text.append(text.empty() ? "" : "\t").append(column.m_name);
  return text += '\n';
}

void AppendTsv(const PrecursorFact& row, std::string& text) {
  for (const Column& column : kColumns)
    text.append(WithoutTabs(column.m_text(row))).append(&column == &kColumns.back() ? "\n" : "\t");
}

void AppendJsonLine(const PrecursorFact& row, std::string& text) {
  char before = '{';
  for (const Column& column : kColumns) {
    (text += before).append("\"").append(column.m_name).append("\":");
    const std::string value = column.m_text(row);
    if (value.empty())
      text += "null";
    else
      text += column.m_is_number ? value : Quoted(value);
    before = ',';
  }
  text += "}\n";
}

}  // namespace tarvek::tools
