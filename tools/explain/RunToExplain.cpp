#include "explain/RunToExplain.h"

#include <sstream>
#include <utility>

#include "Extraction.h"
#include "ExtractorOptions.h"
#include "FileUtils.h"
#include "InputFormats.h"
#include "IsotopeTable.h"
#include "Ms1Feed.h"
#include "Ms2Loop.h"
#include "NumberText.h"
#include "Platform.h"
#include "PrecursorTable.h"
#include "PrecursorTableReader.h"
#include "RunDriver.h"
#include "RunSummary.h"
#include "StringUtils.h"
#include "outputs/RunOutcome.h"

namespace tarvek::tools {
namespace {

std::string WithoutTableEnding(const std::string& path) {
  std::string_view base = path;
  CutEnding(base, kTableEnding);
  return std::string(base);
}

// Digits that differ between spectra and outputs are written as "5 (extracted with 3)".
std::string FirstWord(const std::string& value) { return value.substr(0, value.find(' ')); }

std::string DigitsOfExtraction(const RunRecord& record, std::string_view key) {
  constexpr std::string_view kExtracted = "(extracted with ";
  const auto found = record.m_settings.find(std::string(key));
  if (found == record.m_settings.end()) return {};
  const std::size_t at = found->second.find(kExtracted);
  if (at == std::string::npos) return found->second;
  const std::string rest = found->second.substr(at + kExtracted.size());
  return rest.substr(0, rest.find(')'));
}

SpectraPaths InstrumentFile(std::string path) { return {{}, {}, std::move(path)}; }

// The folder for temporary files on this system.
std::string TemporaryFolder() {
  for (const char* variable : {"TMPDIR", "TEMP", "TMP"})
    if (const auto folder = EnvironmentVariable(variable); folder && IsDirectory(*folder))
      return *folder;
  return "/tmp";
}

std::string NewTemporaryFolder() {
  const std::int64_t start = MonotonicMilliseconds();
  for (std::int64_t number = start; number < start + 1000; ++number) {
    std::string path = JoinPath({TemporaryFolder(), "tarvek-explain-" + std::to_string(number)});
    if (MakeNewDirectory(path)) return path;
  }
  throw "Cannot make a folder for extracted spectra in " + TemporaryFolder();
}

void AddOverride(const RunRecord& record, std::string_view key, const char* variable,
                 extractor::ScanOverrides& overrides) {
  const auto found = record.m_settings.find(std::string(key));
  if (found == record.m_settings.end()) return;
  extractor::AddEnvironment(
      [&](const std::string& name) -> std::optional<std::string> {
        return name == variable ? std::optional(found->second) : std::nullopt;
      },
      overrides);
}

/// Shows no progress, which would mix with the output.
class QuietTextSource final : public TextSpectrumSource {
 public:
  explicit QuietTextSource(const std::string& ms1_path)
      : TextSpectrumSource(ms1_path, Ms2Path(ms1_path), TakeSilently) {}
  [[nodiscard]] std::int32_t ReportedMs1Count() const override { return 0; }
};

}  // namespace

SpectraPaths FindSpectra(const std::string& base_path, const std::string& input) {
  const std::string base = WithoutTableEnding(base_path);
  if (!input.empty() && !IsDirectory(input)) return InstrumentFile(input);
  const std::string start = JoinPath({input.empty() ? FolderOf(base) : input, FileNameOf(base)});
  SpectraPaths found;
  if (IsThere(start + ".ms1") && IsThere(start + ".ms2")) {
    found.m_ms1 = start + ".ms1";
    return found;
  }
  for (const std::string_view format : kInstrumentFormats)
    if (std::string pair = start + "." + std::string(format);
        IsThere(pair + ".msb") && IsThere(pair + ".mscsv")) {
      found.m_msb_base = std::move(pair);
      return found;
    }
  for (const char* ending : {".mzML", ".mzXML", ".mzML.gz", ".mzXML.gz"})
    if (IsThere(start + ending)) return InstrumentFile(start + ending);
  return found;
}

std::string WithoutSpectra(const std::string& base_path) {
  return "The spectra of " + WithoutTableEnding(base_path) +
         " are not there: neither .ms1 and .ms2, nor .msb and .mscsv, nor mzML or mzXML. Name "
         "their "
         "folder, or the instrument file, with --input.";
}

UserParameters ParametersOf(const RunRecord& record) {
  ParameterTable table;
  for (const auto& [key, value] : record.m_settings) table[key] = FirstWord(value);
  table["datanum"] = "0";
  UserParameters parameters;
  ApplyParameterTable(parameters, table);
  Validate(parameters);
  DeriveValues(parameters);
  return parameters;
}

RunToExplain::RunToExplain(const RunLocation& location) {
  const std::string base = WithoutTableEnding(location.m_base_path);
  m_name = FileNameOf(base);
  const std::string table = base + std::string(kTableEnding);
  if (!FileExists(table))
    throw table + " is not there" +
        (IsUnfinishedRun(base) ? ": the run did not finish, its table still ends in _unfinished."
                               : ".");
  PrecursorTableReader rows(table);
  if (!rows.HasHeader()) throw table + " is not a precursor table of tarvek.";
  for (PrecursorRow row; rows.Next(row);) m_table[row.m_scan_no] = row.m_determined;
  m_record = RecordAt(base + std::string(kRunRecordEnding));
  if (m_record.m_settings.empty())
    m_doubts.push_back(m_name + std::string(kRunRecordEnding) +
                       " is not there: tarvek's default settings are taken.");
  m_parameters = ParametersOf(m_record);
  if (const auto joint = m_record.m_settings.find(std::string(kSettingJoint));
      joint != m_record.m_settings.end())
    m_joint_threshold = FiniteReal(joint->second);
  m_correction = CalibrationIn(m_record);
  m_spectra = FindSpectra(base, location.m_input);
  if (!m_spectra.AreThere()) throw WithoutSpectra(base);
  LoadTable(location);
  if (!m_spectra.m_instrument.empty()) Extract();
}

RunToExplain::~RunToExplain() {
  if (!m_own_folder.empty()) (void)DeleteDirectoryTree(m_own_folder);
}

void RunToExplain::LoadTable(const RunLocation& location) {
  const bool is_given = !location.m_isotope_table.empty();
  LoadIsotopeTable(IsotopeTablePath(is_given ? location.m_isotope_table : m_parameters.m_ipv_file,
                                    is_given, InstalledTablePath()));
  const auto recorded = m_record.m_settings.find(std::string(kSettingIsotopeTable));
  if (recorded != m_record.m_settings.end() && recorded->second != InstalledTableFingerprint())
    m_doubts.emplace_back(
        "The isotope table is another one than that of the run; name that one with -I.");
}

void RunToExplain::Extract() {
  const std::string& input = m_spectra.m_instrument;
  m_own_folder = NewTemporaryFolder();
  extractor::ExtractorOptions options = extractor::ParseOptions(
      std::vector<std::string>{"-ms", "-a", "-i", std::to_string(m_parameters.m_intensity_digits),
                               "-m", std::to_string(m_parameters.m_mz_digits), "-o", m_own_folder,
                               input.starts_with('-') ? "./" + input : input});
  const auto digits = [&](std::string_view key, int& value) {
    const auto number = FiniteReal(DigitsOfExtraction(m_record, key));
    if (number) value = static_cast<int>(*number);
  };
  digits(kSettingMzDigits, options.m_mz_digits);
  digits(kSettingIntensityDigits, options.m_intensity_digits);
  AddOverride(m_record, kSettingAnalyser, kAnalyserVariable, options.m_overrides);
  AddOverride(m_record, kSettingActivation, kActivationVariable, options.m_overrides);
  extractor::Marker marker(options);
  std::ostringstream report;
  extractor::Extract(options, input, marker, report);
  m_spectra.m_ms1 = JoinPath({m_own_folder, options.m_base_name + ".ms1"});
}

std::unique_ptr<SpectrumSource> RunToExplain::Open() const {
  if (!m_spectra.m_ms1.empty()) return std::make_unique<QuietTextSource>(m_spectra.m_ms1);
  return std::make_unique<BinarySpectrumSource>(m_spectra.m_msb_base, TakeSilently);
}

const std::vector<Precursor>* RunToExplain::InTable(std::int32_t scan_no) const {
  const auto found = m_table.find(scan_no);
  return found == m_table.end() ? nullptr : &found->second;
}

double RunToExplain::CorrectionPpm(double rt_s) const {
  return m_correction && m_correction->IsOn() ? m_correction->SurveyPpm(rt_s) : 0.0;
}

void RunToExplain::ForEachScan(const UseScan& use) const {
  const std::unique_ptr<SpectrumSource> source = Open();
  Ms1Feed feed(*source, nullptr);
  MS2Spectrum scan;
  while (source->NextMs2(scan)) {
    feed.AdvanceTo(scan.m_precursor_scan);
    if (!use({*source, feed.Store(), scan})) return;
  }
}

}  // namespace tarvek::tools
