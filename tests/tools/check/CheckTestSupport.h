// tests/tools/CheckTestSupport.h: runs to check, and the program that checks them.
// Does:     simulates runs, processes them with the built tarvek, runs the built tarvek-tools.
// Throws:   std::runtime_error when a program that must succeed fails.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tarvek::tools::test {

/// The isotope table of the source tree.
std::string IsotopeTable();

/// tarvek-tools simulate ARGUMENTS BASE.
void Simulate(std::vector<std::string> arguments, const std::string& base);

/// tarvek -D input -O out -L out ARGUMENTS, with the built extractor at hand.
void Process(const std::string& input, const std::string& out,
             const std::vector<std::string>& arguments = {});

struct CheckResult {
  int m_status = -1;
  nlohmann::json m_report;
  std::string m_err;

  /// "severity code" of the findings, sorted, without repeats.
  [[nodiscard]] std::vector<std::string> Findings(bool with_notes = true) const;
};

/// tarvek-tools check --json ARGUMENTS, with the isotope table of the source tree unless they name
/// one.
CheckResult Check(std::vector<std::string> arguments);

/// The text output of the same check.
std::string CheckedText(std::vector<std::string> arguments);

}  // namespace tarvek::tools::test
