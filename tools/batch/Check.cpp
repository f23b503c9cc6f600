#include "batch/Check.h"

#include <nlohmann/json.hpp>
#include <optional>

#include "FileUtils.h"
#include "LineReader.h"
#include "batch/Runner.h"
#include "check/Findings.h"

namespace tarvek::tools {
namespace {

using nlohmann::json;

std::string TextOf(const std::string& path) {
  std::string text;
  File file = File::Open(path, "r");
  if (!file.IsOpen()) return text;
  LineReader lines(file);
  for (std::string_view piece; lines.ReadPiece(piece);) text += piece;
  return text;
}

std::string PlaceOf(const json& finding) {
  std::string place;
  for (const char* key : {"scan", "line"})
    if (finding.contains(key)) place += std::string(key) + " " + finding[key].dump() + ": ";
  return place;
}

CheckVerdict VerdictOf(const json& report) {
  CheckVerdict verdict;
  std::size_t defects = 0;
  for (const json& finding : report.at("findings")) {
    const std::string severity = finding.at("severity");
    const std::string meaning = PlaceOf(finding) + finding.at("meaning").get<std::string>();
    if (severity == SeverityWord(Severity::kWarning))
      verdict.m_warnings.push_back(
          {finding.at("code"), meaning + " " + finding.at("advice").get<std::string>(),
           finding.value("settings", std::map<std::string, std::string>())});
    if (severity == SeverityWord(Severity::kDefect) && defects++ == 0) verdict.m_defect = meaning;
  }
  if (defects > 1) verdict.m_defect += " And " + std::to_string(defects - 1) + " more.";
  return verdict;
}

}  // namespace

CheckVerdict ReadCheckVerdict(const std::string& report, int status) {
  const json read = json::parse(TextOf(report), nullptr, false);
  try {
    if (!read.is_discarded()) return VerdictOf(read);
  } catch (const json::exception&) {
    // The file is not the report of a check.
  }
  return {"The check of the input " + FailureReason(report, status), {}};
}

}  // namespace tarvek::tools
