#include "UserParameters.h"

#include <array>
#include <utility>
#include <variant>

#include "Check.h"
#include "FileUtils.h"
#include "InputFormats.h"
#include "NumberText.h"
#include "ParameterText.h"
#include "StringUtils.h"

namespace tarvek {
namespace {

constexpr const char* kIpvFileKey = "ipv_file";

// A key and the field that it sets.
struct KeyField {
  const char* m_key;
  std::variant<bool UserParameters::*, std::int32_t UserParameters::*, double UserParameters::*,
               std::string UserParameters::*>
      m_field;
};

// The keys are frozen, see docs/frozen-names.md.
// Applied in this order: the first wrong value is the one in the message.
constexpr std::array<KeyField, 20> kFields = {{
    {"rewrite_files", &UserParameters::m_rewrite_files},
    {"co-elute", &UserParameters::m_co_elute},
    {"cut_similiar_mono", &UserParameters::m_cut_similiar_mono},
    {"delete_msn", &UserParameters::m_delete_msn},
    {"check_activationcenter", &UserParameters::m_check_activationcenter},
    {"output_pf", &UserParameters::m_output_pf},
    {"output_mgf", &UserParameters::m_output_mgf},
    {"output_msb", &UserParameters::m_output_msb},
    {"mstolppm", &UserParameters::m_mstolppm},
    {"intensity", &UserParameters::m_intensity_digits},
    {"m/z", &UserParameters::m_mz_digits},
    {"mars_model", &UserParameters::m_mars_model},
    {"mars_threshold", &UserParameters::m_mars_threshold},
    {"isolation_width", &UserParameters::m_isolation_width},
    {"recalibrate_window", &UserParameters::m_recalibrate_window},
    {"mstol", &UserParameters::m_mstol},
    {"logfilepath", &UserParameters::m_logfilepath},
    {kIpvFileKey, &UserParameters::m_ipv_file},
    {"input_format", &UserParameters::m_input_format},
    {"outputpath", &UserParameters::m_outputpath},
}};

constexpr const char* kDataNumberKey = "datanum";
constexpr const char* kDataPathKey = "datapath";

// Decimals of a real in the text form, like those of "%f".
constexpr int kTextDecimals = 6;
// Decimals that a written peak line may have.
constexpr std::int32_t kMaxDigits = 9;
// The candidate window is widened by the tolerance at this m/z.
constexpr double kWidestToleranceMz = 15000.0;
// MS1 peaks are searched this far beyond the isolation width, in m/z.
constexpr double kCandidateMarginMz = 1.0;

std::string ParameterName(const std::string& key) { return "User Defined Parameter: " + key; }

void SetField(bool& field, const std::string& value, const char*) { field = value != "0"; }
void SetField(std::int32_t& field, const std::string& value, const char* key) {
  field = StringToInt(value, ParameterName(key));
}
void SetField(double& field, const std::string& value, const char* key) {
  field = StringToDouble(value, ParameterName(key));
}
void SetField(std::string& field, const std::string& value, const char*) { field = value; }

std::string FieldText(bool field) { return field ? "1" : "0"; }
std::string FieldText(std::int32_t field) { return std::to_string(field); }
std::string FieldText(double field) { return Fixed(field, kTextDecimals); }
std::string FieldText(const std::string& field) { return field; }

std::string NumberedDataPathKey(std::int64_t number) {
  return kDataPathKey + std::to_string(number);
}

std::int32_t ChargeLimit(std::string_view text) {
  const auto scanned = ScanInteger(text);
  // The texts are frozen, see docs/frozen-names.md.
  if (scanned.m_status == NumberStatus::kNoDigits) throw std::string("invalid stoi argument");
  if (scanned.m_status == NumberStatus::kOutOfRange)
    throw std::string("stoi argument out of range");
  return scanned.m_value;
}

// The form is "2t6". The text form of a record has "2" between the limits (see ToParameterTable),
// so this rejects an unedited template.
void ApplyChargeRange(UserParameters& record, const ParameterTable& table) {
  const auto entry = table.find(kChargeRangeKey);
  if (entry == table.end()) return;
  const std::string_view value = entry->second;
  const std::size_t middle = value.find('t');
  if (middle == std::string_view::npos || middle == 0)
    throw "Parameter Charge Range should be in the form of 2t6 or -7t-1!";
  record.m_charge_min = ChargeLimit(value.substr(0, middle));
  record.m_charge_max = ChargeLimit(value.substr(middle + 1));
}

// datanum is the number of paths to use; 0 hides all of them.
void WarnOfHiddenDataPaths(const ParameterTable& table, NoticeTaker notice) {
  if (!table.contains(kDataNumberKey) || !DataPathCandidates(table).empty()) return;
  std::string paths;
  for (const auto& [key, value] : table)
    if (key.starts_with(kDataPathKey) && !value.empty())
      paths += (paths.empty() ? "" : ", ") + key + " = " + value;
  if (!paths.empty())
    notice(kWarn, "datanum is " + table.at(kDataNumberKey) + ", so that nothing is processed of " +
                      paths + ".");
}

// One that is there and cannot be read is not taken for a mistyped one.
void RefuseDataPath(const std::string& path, NoticeTaker notice) {
  notice(kWarn, "Datapath: " + path + " is not a valid datapath.");
  if (IsThere(path)) notice(kWarn, "Cannot open input File, Path: " + path);
}

void ApplyDataPaths(UserParameters& record, const ParameterTable& table, NoticeTaker notice) {
  for (const std::string& candidate : DataPathCandidates(table)) {
    std::string path = WithoutTrailingSeparators(candidate);
    if (PathExists(path))
      record.m_datapaths.push_back(std::move(path));
    else
      RefuseDataPath(path, notice);
  }
  WarnOfHiddenDataPaths(table, notice);
}

// Where the extension of a file name begins. A packed file has a double one, "mzML.gz".
std::size_t EndingOf(const std::string& name) {
  if (const InputFormat* const packed = PackedFormatOf(name))
    return TrimRight(name).size() - packed->m_packed_ending.size();
  return name.find_last_of('.');
}

void CheckDigits(std::int32_t digits, const char* message) {
  if (digits < 0 || digits > kMaxDigits) throw message;
}

std::string PeakFormat(std::int32_t mz_digits, std::int32_t intensity_digits) {
  return "%." + std::to_string(mz_digits) + "f %." + std::to_string(intensity_digits) + "f\n";
}

// path without its trailing separators; a root stays one.
std::string DirectoryText(const std::string& path) {
  std::string stripped = WithoutTrailingSeparators(path);
  return stripped.empty() && !path.empty() ? std::string(1, kPathSeparator) : stripped;
}

void MakeMissingDirectory(const std::string& path) {
  if (!IsDirectory(path)) MakeDirectory(path);
}

std::string LogDirectory(const UserParameters& record) {
  if (!record.m_logfilepath.empty()) return DirectoryText(record.m_logfilepath);
  if (!record.m_outputpath.empty()) return record.m_outputpath;
  if (record.m_datapaths.empty()) return ".";
  const std::string& input = record.m_datapaths.front();
  return IsDirectory(input) ? input : FolderOf(input);
}

// name_begin: where the file's name begins in its path.
void SetCurrentParts(UserParameters& record, const std::string& path, std::size_t name_begin) {
  record.m_current_file = path;
  record.m_current_dir = name_begin == 0 ? "." : path.substr(0, name_begin - 1);
  record.m_current_filename = path.substr(name_begin);
  const std::size_t i_dot = EndingOf(record.m_current_filename);
  TARVEK_CHECK(i_dot != std::string::npos, "i_dot != string::npos", "UserParameters");
  record.m_current_basename = record.m_current_filename.substr(0, i_dot);
  record.m_current_ext = record.m_current_filename.substr(i_dot + 1);
  if (!record.m_outputpath_follows_input) return;
  // The directory text of a file in the root is empty; its outputs also belong in the root.
  const bool in_root = record.m_current_dir.empty();
  record.m_outputpath = in_root ? std::string(1, kPathSeparator) : record.m_current_dir;
}

}  // namespace

std::vector<std::string> DataPathCandidates(const ParameterTable& table) {
  const auto number_entry = table.find(kDataNumberKey);
  if (number_entry == table.end()) {
    const auto entry = table.find(kDataPathKey);
    if (entry == table.end()) throw "Unable to find User Defined Parameter: datapath";
    return {entry->second};
  }
  std::vector<std::string> candidates;
  const std::int64_t number = StringToInt(number_entry->second, ParameterName(kDataNumberKey));
  for (std::int64_t i = 1; i <= number; ++i) {
    const std::string key = NumberedDataPathKey(i);
    const auto entry = table.find(key);
    if (entry == table.end()) throw "Unable to find " + ParameterName(key);
    candidates.push_back(entry->second);
  }
  return candidates;
}

void ApplyParameterTable(UserParameters& record, const ParameterTable& table, NoticeTaker notice) {
  ApplyChargeRange(record, table);
  for (const auto& [key, member] : kFields)
    if (const auto entry = table.find(key); entry != table.end())
      std::visit([&, name = key](auto field) { SetField(record.*field, entry->second, name); },
                 member);
  record.m_ipv_file_is_given = record.m_ipv_file_is_given || table.contains(kIpvFileKey);
  ApplyDataPaths(record, table, notice);
}

ParameterTable ToParameterTable(const UserParameters& record) {
  ParameterTable table;
  for (const auto& [key, member] : kFields)
    table[key] = std::visit([&](auto field) { return FieldText(record.*field); }, member);
  // A "2" between the limits, not the "t" of the input form: frozen, see docs/frozen-names.md.
  table[kChargeRangeKey] =
      std::to_string(record.m_charge_min) + "2" + std::to_string(record.m_charge_max);
  table[kDataNumberKey] = std::to_string(record.m_datapaths.size());
  for (std::size_t i = 0; i < record.m_datapaths.size(); ++i)
    table[NumberedDataPathKey(static_cast<std::int64_t>(i) + 1)] = record.m_datapaths[i];
  return table;
}

void Validate(const UserParameters& record) {
  CheckDigits(record.m_mz_digits, "Argument m/z(-z) invalid: m/z should be integer in [0, 9]");
  CheckDigits(record.m_intensity_digits,
              "Argument Intensity(-i) invalid: Intensity should be integer in [0, 9]");
}

void DeriveValues(UserParameters& record) {
  record.m_peak_format = PeakFormat(record.m_mz_digits, record.m_intensity_digits);
  DeriveHalfWidths(record);
}

void DeriveHalfWidths(UserParameters& record) {
  record.m_candidate_halfwidth = record.m_isolation_width + kCandidateMarginMz;
  record.m_extended_halfwidth =
      record.m_candidate_halfwidth + ToleranceMz(record, kWidestToleranceMz);
}

void MakeOutputDirectory(UserParameters& record) {
  record.m_outputpath_follows_input = record.m_outputpath.empty();
  if (record.m_outputpath_follows_input) return;
  record.m_outputpath = DirectoryText(record.m_outputpath);
  MakeMissingDirectory(record.m_outputpath);
}

void MakeLogDirectory(UserParameters& record) {
  record.m_logfilepath = LogDirectory(record);
  MakeMissingDirectory(record.m_logfilepath);
}

UserParameters CompleteParameters(const ParameterTable& table, NoticeTaker notice) {
  UserParameters record;
  ApplyParameterTable(record, table, notice);
  EchoParameters(record, notice);
  Validate(record);
  DeriveValues(record);
  MakeOutputDirectory(record);
  MakeLogDirectory(record);
  return record;
}

void SetCurrentFile(UserParameters& record, const std::string& path) {
  const std::size_t separator = LastSeparatorOf(path);
  const bool bare = separator == std::string::npos;
  SetCurrentParts(record, path, bare ? 0 : separator + 1);
}

void SetCurrentFileIn(UserParameters& record, const std::string& folder, const std::string& name) {
  const std::string path = JoinPath({folder, name});
  SetCurrentParts(record, path, path.size() - name.size());
}

}  // namespace tarvek
