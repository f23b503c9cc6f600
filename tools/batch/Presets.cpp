#include "batch/Presets.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include "FileUtils.h"
#include "ParameterFile.h"
#include "Platform.h"
#include "RunDriver.h"
#include "StringUtils.h"
#include "TableReader.h"
#include "ipv/TableFile.h"

namespace tarvek::tools {
namespace {

constexpr const char* kPresetEnding = ".cfg";

std::string PresetFolder() { return JoinPath({FolderOf(InstalledTablePath()), "presets"}); }

/// What a preset is for: its first line without the comment sign.
std::string PurposeOf(const std::string& path) {
  TextLines lines(path);
  std::string line;
  if (!lines.Next(line)) return {};
  const std::string_view text = Trim(line);
  return std::string(Trim(text.starts_with('#') ? text.substr(1) : text));
}

/// Name to path.
std::map<std::string, std::string> Presets() {
  std::map<std::string, std::string> presets;
  for (const std::string& name :
       ListDirectoryNames(PresetFolder()).value_or(std::vector<std::string>()))
    if (name.ends_with(kPresetEnding))
      presets[name.substr(0, name.rfind('.'))] = JoinPath({PresetFolder(), name});
  if (presets.empty()) throw "There are no presets in " + PresetFolder();
  return presets;
}

bool HoldsText(const std::string& path, const std::string& text) {
  if (!FileExists(path)) return false;
  File file = File::Open(path, "rb");
  if (!file.IsOpen() || file.SizeBytes() != static_cast<std::int64_t>(text.size())) return false;
  std::string content(text.size(), '\0');
  return file.Read(content.data(), content.size()) == content.size() && content == text;
}

}  // namespace

std::string PresetList() {
  const std::map<std::string, std::string> presets = Presets();
  std::size_t width = 0;
  for (const auto& [name, path] : presets) width = std::max(width, name.size());
  std::string text;
  for (const auto& [name, path] : presets)
    text += (text.empty() ? "" : "\n") + name + std::string(width + 2 - name.size(), ' ') +
            PurposeOf(path);
  return text;
}

ParameterTable ReadPreset(const std::string& name) {
  const std::map<std::string, std::string> presets = Presets();
  const auto found = presets.find(name);
  if (found != presets.end()) return ReadParameterTable(found->second);
  std::string names;
  for (const auto& [known, path] : presets) names += (names.empty() ? "" : ", ") + known;
  throw "There is no preset '" + name + "'; there are " + names;
}

void PlaceIsotopeTable(ParameterTable& settings, const std::string& folder,
                       const std::function<void(const std::string&)>& note) {
  const auto setting = settings.find(kIsotopeTableKey);
  if (setting == settings.end() || setting->second != kN15Table) return;
  setting->second = AbsolutePath(JoinPath({folder, kN15Table}));
  const std::vector<IsotopeEnvelope> rows = ComputeIsotopeTable(kUsualEnrichment);
  if (HoldsText(setting->second, IsotopeTableText(rows))) return;
  MakeDirectory(folder);
  WriteIsotopeTable(setting->second, rows);
  if (note) note("the isotope table for 99 % 15N is " + setting->second);
}

}  // namespace tarvek::tools
