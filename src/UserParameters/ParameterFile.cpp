#include "ParameterFile.h"

#include <algorithm>
#include <array>

#include "FileUtils.h"
#include "LineReader.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

// Windows editors write it before the first line of a UTF-8 text.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr std::array<std::string_view, 4> kEndings = {".cfg", ".para", ".params", ".ini"};

}  // namespace

void AddParameterLine(std::string_view line, ParameterTable& table) {
  line = Trim(line.substr(0, line.find('#')));
  if (line.empty() || line.front() == ';' || line.front() == '[') return;
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos)
    throw "Unexpected INI format!";  // frozen, see docs/frozen-names.md
  const std::string key = ToLower(Trim(line.substr(0, equals)));
  table[key] = std::string(Trim(line.substr(equals + 1)));
}

bool IsParameterFile(std::string_view path) {
  return std::ranges::any_of(
      kEndings, [path](std::string_view ending) { return EndsWithIgnoreCase(path, ending); });
}

ParameterTable ReadParameterTable(const std::string& path) {
  // Without a purpose word: the message of a failure has two blanks before "File".
  File file = OpenFile(path, "r", "");
  LineReader reader(file);
  ParameterTable table;
  std::string_view line;
  for (bool is_first = true; reader.ReadPiece(line); is_first = false) {
    if (is_first && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
    AddParameterLine(line, table);
    if (table.size() > kMostParameters)
      throw path + ": more than " + std::to_string(kMostParameters) +
          " keys, which no parameter file has";
  }
  if (const auto table_name = table.find("ipv_file");
      table_name != table.end() && table_name->second == kDefaultIpvFile)
    table.erase(table_name);
  return table;
}

UserParameters ReadParameterFile(const std::string& path, NoticeTaker notice) {
  return CompleteParameters(ReadParameterTable(path), notice);
}

}  // namespace tarvek
