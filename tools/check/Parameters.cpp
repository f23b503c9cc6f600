#include "check/Parameters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "FileUtils.h"
#include "InputFormats.h"
#include "NumberText.h"
#include "ParameterFile.h"
#include "RunDriver.h"
#include "ScoringModels.h"
#include "StringUtils.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kDataPath = "datapath";
constexpr const char* kDataNumber = "datanum";

constexpr std::array<std::string_view, 9> kSwitches = {
    "rewrite_files", "co-elute",   "cut_similiar_mono", "delete_msn", "check_activationcenter",
    "output_pf",     "output_mgf", "output_msb",        "mstolppm"};
constexpr std::array<std::string_view, 2> kDigitKeys = {"intensity", "m/z"};
constexpr std::array<std::string_view, 3> kPositiveKeys = {"isolation_width", "mstol",
                                                           "recalibrate_window"};

// Settings that do not affect the contents of the outputs.
constexpr std::array<std::string_view, 7> kNoOutputSettings = {
    "rewrite_files", "delete_msn", "logfilepath", "outputpath",
    "input_format",  "ipv_file",   kDataNumber};

template <class Values, class Value>
bool Contains(const Values& values, const Value& value) {
  return std::ranges::find(values, value) != values.end();
}

/// The whole text as a number, which may have a sign; std::nullopt for any other text.
template <class Number>
std::optional<Number> WholeNumber(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Number value{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size())
    return std::nullopt;
  return value;
}

/// 3 for "datapath3"; std::nullopt for any other key.
std::optional<std::int64_t> DataPathNumber(std::string_view key) {
  if (!key.starts_with(kDataPath)) return std::nullopt;
  return WholeNumber<std::int64_t>(key.substr(kDataPath.size()));
}

const std::set<std::string>& KnownKeys() {
  static const std::set<std::string> kKeys = [] {
    std::set<std::string> keys;
    for (const auto& [key, value] : ToParameterTable(UserParameters())) keys.insert(key);
    keys.insert({std::string(kDataPath), kDataNumber});
    return keys;
  }();
  return kKeys;
}

bool IsKnown(const std::string& key) {
  return KnownKeys().contains(key) || DataPathNumber(key).has_value();
}

std::string ChargeRangeFault(std::string_view value) {
  const std::size_t middle = value.find('t');
  if (middle == std::string_view::npos) return "is not of the form 2t6 or -7t-1";
  const auto lowest = WholeNumber<std::int32_t>(value.substr(0, middle));
  const auto highest = WholeNumber<std::int32_t>(value.substr(middle + 1));
  if (!lowest || !highest) return "is not of the form 2t6 or -7t-1";
  if (*lowest > *highest) return "has its higher charge first";
  return *lowest == 0 && *highest == 0 ? "holds no charge" : "";
}

std::string IntegerFault(std::string_view key, std::string_view value) {
  const auto number = WholeNumber<std::int32_t>(value);
  if (!number) return "is no whole number";
  if (Contains(kDigitKeys, key) && (*number < 0 || *number > 9)) return "is not from 0 to 9";
  if (key == kDataNumber && *number < 0) return "is below 0";
  const auto model = std::ranges::find(kMarsModels, *number, &MarsModel::m_number);
  if (key == "mars_model" && *number != kOtherNumberOfE && model == kMarsModels.end())
    return "is not a model; tarvek takes model 0 instead";
  return "";
}

std::string RealFault(std::string_view key, std::string_view value) {
  const auto number = WholeNumber<double>(value);
  if (!number || !std::isfinite(*number)) return "is no number";
  return Contains(kPositiveKeys, key) && !(*number > 0.0) ? "is not above 0" : "";
}

// No known key is near a longer one.
constexpr std::size_t kMostNearBytes = 64;

constexpr const char* kUnknownKey = "unknown-key";

class ParameterCheck {
 public:
  ParameterCheck(CheckReport& report, const std::string& path)
      : m_report(report), m_path(path), m_table(ReadParameterTable(path)) {
    FindLines();
  }

  ParameterPlan Check() {
    CheckKeys();
    CheckDataNumber();
    Apply();
    FindTargets();
    m_report.AddItem({m_path,
                      "parameter file",
                      {{"parameters", "parameters", static_cast<std::int64_t>(m_table.size())},
                       {"data_paths", "data paths", m_data_paths}},
                      {}});
    return std::move(m_plan);
  }

 private:
  void FindLines() {
    TextLines lines(m_path);
    for (std::string line; lines.Next(line);) {
      ParameterTable one;
      AddParameterLine(line, one);
      for (const auto& [key, value] : one) m_lines[key] = lines.Number();
    }
  }

  [[nodiscard]] FindingPlace PlaceOf(const std::string& key) const {
    const auto line = m_lines.find(key);
    if (line == m_lines.end()) return {};
    return {std::nullopt, line->second};
  }

  void CheckKeys() {
    for (const auto& [key, value] : m_table) {
      if (!IsKnown(key)) {
        m_report.Warning(kUnknownKey, m_path,
                         "tarvek does not know the key '" + key + "' and passes over it.",
                         UnknownKeyAdvice(key), PlaceOf(key));
        continue;
      }
      const std::string fault = ValueFault(key, value);
      if (fault.empty()) {
        m_sound[key] = value;
        continue;
      }
      m_report.Defect(
          "bad-value", m_path, "The value '" + value + "' of " + key + " " + fault + ".",
          "Write a value that makes sense, or leave the key out for its default.", PlaceOf(key));
    }
  }

  // Empty where nobody reads it: the nearest key takes time to find.
  [[nodiscard]] std::string UnknownKeyAdvice(const std::string& key) const {
    if (m_report.IsListFull({Severity::kWarning, kUnknownKey, m_path})) return {};
    if (key.size() > kMostNearBytes) return "No key that it knows is that long.";
    return "The nearest key that it knows is '" + NearestKey(key) + "'.";
  }

  // tarvek reads datapath1 to datapathN when datanum is N, and datapath when there is no datanum.
  void CheckDataNumber() {
    std::set<std::int64_t> numbers;
    for (const auto& [key, value] : m_table)
      if (const auto number = DataPathNumber(key)) numbers.insert(*number);
    if (!m_table.contains(kDataNumber)) {
      if (!m_table.contains(std::string(kDataPath)))
        DataNumberDefect("There is neither datapath nor datanum, and a run stops there.");
      else if (!numbers.empty())
        DataNumberWarning("Numbered data paths are not read without datanum.");
      return;
    }
    if (!m_sound.contains(kDataNumber)) return;
    const std::int64_t count = *WholeNumber<std::int64_t>(m_sound.at(kDataNumber));
    for (std::int64_t i = 1; i <= count; ++i)
      if (!numbers.contains(i))
        return DataNumberDefect("datanum is " + std::to_string(count) +
                                " and there is no datapath" + std::to_string(i) +
                                ", so that a run stops.");
    if (!numbers.empty() && *numbers.rbegin() > count)
      DataNumberWarning("datanum is " + std::to_string(count) + ", so that datapath" +
                        std::to_string(*numbers.upper_bound(count)) + " is not read.");
    else if (m_table.contains(std::string(kDataPath)))
      DataNumberWarning("datanum is " + std::to_string(count) +
                        ", so that datapath, which has no number, is not read.");
    else if (count == 0)
      DataNumberWarning("datanum is 0, so that nothing is processed.");
  }

  void DataNumberDefect(const std::string& meaning) {
    m_report.Defect("datanum", m_path, meaning,
                    "Count the data paths, and number them from datapath1.", PlaceOf(kDataNumber));
    m_has_data_paths = false;
  }
  void DataNumberWarning(const std::string& meaning) {
    m_report.Warning("datanum", m_path, meaning,
                     "Count the data paths, and number them from datapath1.", PlaceOf(kDataNumber));
  }

  void Apply() {
    ParameterTable settings = m_sound;
    std::erase_if(settings, [](const auto& entry) { return entry.first.starts_with(kDataPath); });
    settings[kDataNumber] = "0";
    ApplyParameterTable(m_parameters, settings);
    CheckOptions& options = m_plan.m_options;
    options.m_settings.m_isolation_width = m_parameters.m_isolation_width;
    options.m_settings.m_charge_min = m_parameters.m_charge_min;
    options.m_settings.m_charge_max = m_parameters.m_charge_max;
    options.m_ipv_file = m_parameters.m_ipv_file;
    options.m_ipv_file_is_given = m_parameters.m_ipv_file_is_given;
    options.m_outputpath = m_parameters.m_outputpath;
    options.m_is_table_planned = true;
    options.m_planned = ToParameterTable(m_parameters);
    options.m_planned["charge_range"] =
        std::to_string(m_parameters.m_charge_min) + "t" + std::to_string(m_parameters.m_charge_max);
    std::erase_if(options.m_planned,
                  [](const auto& entry) { return Contains(kNoOutputSettings, entry.first); });
  }

  void FindTargets() {
    if (!m_has_data_paths || (m_table.contains(kDataNumber) && !m_sound.contains(kDataNumber)))
      return;
    for (const std::string& path : DataPathCandidates(m_table)) {
      ++m_data_paths;
      CheckTargets found;
      AddTargets(found, m_report, path);
      if (IsDirectory(path)) KeepFormat(found, path);
      Merge(found);
    }
    if (m_parameters.m_outputpath.empty()) return;
    for (const NamedInput& input : NamedInputs(m_plan.m_targets))
      AddOutputs(m_plan.m_targets, m_report, JoinPath({m_parameters.m_outputpath, input.m_base}));
  }

  // In a directory a run takes the files of its input_format.
  void KeepFormat(CheckTargets& found, const std::string& directory) {
    const std::string& format = m_parameters.m_input_format;
    CheckTargets kept;
    kept.m_outputs = std::move(found.m_outputs);
    if (format == "ms1") kept.m_ms1_files = std::move(found.m_ms1_files);
    if (format == "mgf") kept.m_mgf_files = std::move(found.m_mgf_files);
    const auto keep = [&](std::set<std::string>& to, const std::set<std::string>& from) {
      for (const std::string& path : from)
        if (EndsWithIgnoreCase(path, "." + format) ||
            EndsWithIgnoreCase(path, "." + format + ".gz"))
          to.insert(path);
    };
    keep(kept.m_xml_files, found.m_xml_files);
    keep(kept.m_vendor_files, found.m_vendor_files);
    if (kept.m_ms1_files.empty() && kept.m_mgf_files.empty() && kept.m_xml_files.empty() &&
        kept.m_vendor_files.empty())
      m_report.Warning("no-input", directory,
                       "It holds no file of the input_format, which is '" + format + "'.",
                       "Set input_format to the format of the files that are there.");
    found = std::move(kept);
  }

  void Merge(CheckTargets& found) {
    CheckTargets& all = m_plan.m_targets;
    all.m_ms1_files.merge(found.m_ms1_files);
    all.m_binary_bases.merge(found.m_binary_bases);
    all.m_xml_files.merge(found.m_xml_files);
    all.m_vendor_files.merge(found.m_vendor_files);
    all.m_mgf_files.merge(found.m_mgf_files);
    all.m_outputs.merge(found.m_outputs);
  }

  CheckReport& m_report;
  std::string m_path;
  ParameterTable m_table;
  std::map<std::string, std::int64_t> m_lines;  // of the last value of each key
  ParameterTable m_sound;                       // known keys with valid values
  UserParameters m_parameters;
  ParameterPlan m_plan;
  std::int64_t m_data_paths = 0;
  bool m_has_data_paths = true;
};

}  // namespace

std::string NearestKey(std::string_view key) {
  return *std::ranges::min_element(
      KnownKeys(), {}, [key](const std::string& known) { return EditDistance(key, known); });
}

std::string ValueFault(const std::string& key, const std::string& value) {
  if (Contains(kSwitches, key))
    return value == "0" || value == "1" ? "" : "is neither 0 nor 1, and tarvek takes it for 1";
  if (key == "charge_range") return ChargeRangeFault(value);
  if (Contains(kDigitKeys, key) || key == "mars_model" || key == kDataNumber)
    return IntegerFault(key, value);
  if (Contains(kPositiveKeys, key) || key == "mars_threshold") return RealFault(key, value);
  if (key == "input_format" && FindInputFormat(value) == nullptr)
    return std::string("is no format that tarvek knows: ") + kInputWordList;
  if (key == "outputpath" && PathExists(value) && !IsDirectory(value)) return "is no directory";
  return "";
}

std::optional<ParameterPlan> CheckParameters(CheckReport& report, const std::string& path) {
  constexpr const char* kAdvice = "Write lines of the form key = value.";
  try {
    return ParameterCheck(report, path).Check();
  } catch (const std::string& message) {
    report.Defect("unreadable", path, "A run would stop here: " + message + ".", kAdvice);
  } catch (const char* message) {
    report.Defect("unreadable", path, "A run would stop here: " + std::string(message), kAdvice);
  }
  return std::nullopt;
}

}  // namespace tarvek::tools
