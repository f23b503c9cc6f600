#include "report/Files.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "FileUtils.h"
#include "InputFormats.h"
#include "Logger.h"
#include "MsTextReader.h"
#include "NumberText.h"
#include "ScanTable.h"
#include "StringUtils.h"
#include "batch/Plan.h"
#include "mgf/Title.h"
#include "outputs/OutputNames.h"
#include "outputs/PrecursorTableReader.h"
#include "outputs/QuietLibrary.h"
#include "outputs/RunOutcome.h"
#include "outputs/TableReader.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kTableEnding = ".csv";
constexpr std::int64_t kPeakBytes = 16;
constexpr std::int64_t kPfPrecursorBytes = 12;

std::string IfThere(std::string path) { return FileExists(path) ? std::move(path) : std::string(); }

// The files "BASE_<activation><analyser>" + ending. They are asked for by name: a listing could not
// tell the files of the run "a_b" from those of the run "a".
std::vector<std::string> KeyedFiles(const std::string& base_path, std::string_view ending) {
  std::vector<std::string> paths;
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view analyser : kInstrumentTypes) {
      std::string path = base_path + "_";
      path.append(activation).append(analyser).append(ending);
      if (FileExists(path)) paths.push_back(std::move(path));
    }
  return paths;
}

Precursor WithoutSigns(const Precursor& precursor) {
  return {std::fabs(precursor.m_mz), std::abs(precursor.m_charge)};
}

ReportRow WithoutSigns(const PrecursorRow& read) {
  ReportRow row;
  row.m_kind = read.m_activation + " " + read.m_analyser;
  row.m_scan_no = read.m_scan_no;
  // "-1.000000, -1" says that nothing was declared; the m/z of a declared ion has no sign.
  if (read.m_declared.m_mz > 0.0) row.m_declared = WithoutSigns(read.m_declared);
  for (const Precursor& precursor : read.m_determined)
    row.m_determined.push_back(WithoutSigns(precursor));
  return row;
}

std::uint64_t LittleEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;)
    value = value << 8U | static_cast<unsigned char>(bytes[i]);
  return value;
}

// Takes ending off text; false, and text as it was, when it ends otherwise.
bool CutEnding(std::string_view& text, std::string_view ending) {
  if (!text.ends_with(ending)) return false;
  text.remove_suffix(ending.size());
  return true;
}

// The text behind start in line, when it is there.
std::optional<std::string_view> TextBehind(std::string_view line, std::string_view start) {
  const std::size_t at = line.find(start);
  if (at == std::string_view::npos) return std::nullopt;
  return line.substr(at + start.size());
}

// The run whose input the line "Start to process PATH" names; nothing for any other line. Borrows
// from line.
std::optional<std::string_view> StartedRun(std::string_view line) {
  const auto path = TextBehind(line, "Start to process ");
  if (!path) return std::nullopt;
  std::string_view name = FileNameOf(*path);
  if (CutEnding(name, ".ms1")) return name;
  if (!CutEnding(name, ".msb")) return std::nullopt;
  return RunOfBinaryPair(name);
}

// The .mscsv table of an input, whose name may go on with the format that it was extracted from;
// empty without one.
std::string ScanTableOf(const std::string& input) {
  constexpr std::string_view kEnding = ".mscsv";
  if (FileExists(input + std::string(kEnding))) return input + std::string(kEnding);
  for (const std::string_view format : kInstrumentFormats) {
    std::string path = input + '.';
    path.append(format).append(kEnding);
    if (FileExists(path)) return path;
  }
  return {};
}

// The instrument file of an input; empty without one that can be read here.
std::string InstrumentFileOf(const std::string& input) {
  for (const char* ending : {".mzML", ".mzXML", ".mzML.gz", ".mzXML.gz"})
    if (FileExists(input + ending)) return input + ending;
  return {};
}

// Whether the file may be what a stopped run left of its table.
bool MayBeUnfinishedTable(const std::string& path) {
  if (!FileExists(path)) return false;
  File file = OpenFile(path, "rb", "table");
  return file.SizeBytes() == 0 || IsPrecursorTable(path);
}

// The scans whose first "Z" line holds no charge, ascending. The reader of these files puts 2 in its
// place, and nothing of what it gives tells one from the other.
std::vector<std::int32_t> ScansWithoutCharge(const std::string& ms2_path) {
  std::vector<std::int32_t> scans;
  TextLines lines(ms2_path);
  std::int32_t scan_no = 0;
  bool is_first = false;
  for (std::string line; lines.Next(line);) {
    if (line.starts_with('S')) {
      const std::int32_t next = ParseInteger(TokenAt(line, '\t', 1));
      is_first = is_first || next != scan_no;
      scan_no = next;
    } else if (line.starts_with('Z') && is_first) {
      is_first = false;
      if (ParseInteger(TokenAt(line, '\t', 1)) < 1) scans.push_back(scan_no);
    }
  }
  std::ranges::sort(scans);
  return scans;
}

// The width of most scans in "2.0 (300 scans); 4.0 (20 scans)"; nothing when it is not of this form.
std::optional<double> CommonestWidth(std::string_view text) {
  std::optional<double> commonest;
  std::int32_t most = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::string_view part = text.substr(at, text.find(';', at) - at);
    at += part.size() + 1;
    const std::size_t open = part.find('(');
    if (open == std::string_view::npos) continue;
    const auto width = ScanReal(Trim(part.substr(0, open)));
    const std::int32_t scans = ParseInteger(part.substr(open + 1));
    if (width.m_status != NumberStatus::kOk || scans <= most) continue;
    commonest = width.m_value;
    most = scans;
  }
  return commonest;
}

// Those that can be exported as they are.
std::vector<Precursor> UsableOf(const std::vector<Precursor>& declared) {
  std::vector<Precursor> usable;
  for (const Precursor& precursor : declared)
    if (IsUsable(precursor)) usable.push_back(WithoutSigns(precursor));
  return usable;
}

void SortByScan(std::vector<InputScan>& scans) {
  std::ranges::stable_sort(scans, {}, &InputScan::m_scan_no);
}

}  // namespace

RunFiles FindRunFiles(const std::string& base_path, const std::string& input_folder) {
  const std::string base = base_path.ends_with(kTableEnding)
                               ? base_path.substr(0, base_path.size() - kTableEnding.size())
                               : base_path;
  RunFiles files;
  files.m_name = FileNameOf(base);
  files.m_table = base + std::string(kTableEnding);
  if (!FileExists(files.m_table))
    throw files.m_table + " is not there" +
        (IsUnfinishedRun(base) ? ": the run did not finish, its table still ends in _unfinished."
                               : ".");
  const std::string folder = FolderOf(base);
  const std::string inputs = input_folder.empty() ? folder : input_folder;
  const std::string input = JoinPath({inputs, files.m_name});
  files.m_pf1 = IfThere(base + ".pf1");
  files.m_pf2 = KeyedFiles(base, ".pf2");
  files.m_mgf = KeyedFiles(base, ".mgf");
  files.m_ms1 = IfThere(input + ".ms1");
  files.m_ms2 = IfThere(input + ".ms2");
  files.m_scan_table = ScanTableOf(input);
  files.m_log = IfThere(JoinPath({folder, kBatchLogFolder, files.m_name, kLogFileName}));
  if (files.m_log.empty()) files.m_log = IfThere(JoinPath({folder, kLogFileName}));
  files.m_record = IfThere(base + std::string(kRunRecordEnding));
  files.m_instrument = InstrumentFileOf(input);
  return files;
}

FoundRuns FindRuns(const std::string& folder) {
  const auto names = ListDirectoryNames(folder);
  if (!names) throw "Cannot list the folder " + folder;
  FoundRuns runs;
  for (const std::string& name : *names) {
    const std::string path = JoinPath({folder, name});
    // By the ending first: anything may lie in the folder, a pipe for one.
    std::string_view base = path;
    const bool is_finished = CutEnding(base, kTableEnding);
    const bool is_table = is_finished || CutEnding(base, kUnfinishedTableEnding);
    if (name.starts_with('.') || !is_table) continue;
    if (!(is_finished ? IsPrecursorTable(path) : MayBeUnfinishedTable(path))) continue;
    (is_finished ? runs.m_finished : runs.m_unfinished).emplace_back(base);
  }
  std::ranges::sort(runs.m_finished);
  std::ranges::sort(runs.m_unfinished);
  return runs;
}

std::vector<ReportRow> ReadReportRows(const std::string& path) {
  PrecursorTableReader reader(path);
  if (!reader.HasHeader()) throw path + " is not a precursor table of tarvek.";
  std::vector<ReportRow> rows;
  for (PrecursorRow row; reader.Next(row);) rows.push_back(WithoutSigns(row));
  return rows;
}

PfScans::PfScans(const std::string& path, PfKind kind)
    : m_path(path),
      m_kind(kind),
      m_file(OpenFile(path, "rb", "PF")),
      m_size_bytes(m_file.SizeBytes()) {
  m_left = Integer();
  Bytes(Integer());  // the title
  if (m_left == 0 && m_bytes.ConsumedBytes() < m_size_bytes)
    throw m_path + " counts no scans but holds some: it was not closed.";
}

bool PfScans::Next(PfScan& scan) {
  scan.m_peaks.clear();
  if (m_left <= 0) {
    if (m_bytes.ConsumedBytes() < m_size_bytes) throw m_path + " holds more scans than it counts.";
    return false;
  }
  --m_left;
  scan.m_scan_no = Integer();
  const std::string_view peaks = Bytes(kPeakBytes * Integer());
  scan.m_peaks.reserve(peaks.size() / kPeakBytes);
  for (std::size_t at = 0; at < peaks.size(); at += kPeakBytes)
    scan.m_peaks.push_back({std::bit_cast<double>(LittleEndian(peaks.substr(at, 8))),
                            std::bit_cast<double>(LittleEndian(peaks.substr(at + 8, 8)))});
  const std::int32_t precursors = Integer();
  if (m_kind == PfKind::kSurveys) {
    scan.m_rt_s = Real();
    Integer();
  } else {
    Bytes(kPfPrecursorBytes * precursors);
  }
  return true;
}

std::string_view PfScans::Bytes(std::int64_t count) {
  if (count < 0 || count > m_size_bytes - m_bytes.ConsumedBytes())
    throw m_path + " is damaged or cut short at byte " + std::to_string(m_bytes.ConsumedBytes()) +
        ".";
  return m_bytes.Take(static_cast<std::size_t>(count));
}

std::int32_t PfScans::Integer() {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(LittleEndian(Bytes(4))));
}

double PfScans::Real() { return std::bit_cast<double>(LittleEndian(Bytes(8))); }

std::vector<InputScan> ReadTextInput(const std::string& ms2_path) {
  const QuietLibrary quiet;
  const std::vector<std::int32_t> without_charge = ScansWithoutCharge(ms2_path);
  Ms2TextReader reader(ms2_path, "r");
  std::vector<InputScan> scans;
  for (MS2Spectrum scan; reader.ReadNext(scan);)
    scans.push_back({scan.m_scan_no, scan.m_precursor_scan, scan.m_activation_center, scan.m_rt,
                     scan.m_activation_type, scan.m_instrument_type,
                     UsableOf(scan.m_orig_precursors),
                     !std::ranges::binary_search(without_charge, scan.m_scan_no)});
  SortByScan(scans);
  return scans;
}

std::vector<InputScan> ReadTableInput(const std::string& mscsv_path) {
  const QuietLibrary quiet;
  const ScanTable table = LoadScanTable(mscsv_path);
  std::vector<InputScan> scans;
  for (const ScanTableEntry& entry : table.Rows()) {
    if (entry.m_scan_no == 0 || entry.m_precursor_scan == -1) continue;
    scans.push_back({entry.m_scan_no, entry.m_precursor_scan, entry.m_activation_center, entry.m_rt,
                     entry.m_activation_type, entry.m_instrument_type,
                     UsableOf({{entry.m_mono_mz, entry.m_lower_charge}}), true});
  }
  return scans;
}

void AppendMgfTimes(const std::string& path, std::vector<ScanTime>& times) {
  TextLines lines(path);
  std::int32_t scan_no = 0;
  bool is_titled = false;
  for (std::string line; lines.Next(line);) {
    if (line.starts_with("TITLE=")) {
      const auto title = ParseMgfTitle(std::string_view(line).substr(6));
      if (!title) lines.Fail("no scan number in the title.");
      scan_no = title->m_scan_no;
      is_titled = true;
    } else if (is_titled && line.starts_with("RTINSECONDS=")) {
      if (times.empty() || times.back().first != scan_no)
        times.emplace_back(scan_no, lines.Real(std::string_view(line).substr(12)));
      is_titled = false;
    }
  }
}

LogBook::Log LogBook::Read(const std::string& path) {
  Log log;
  std::optional<double> width;
  std::optional<double> declared;  // by the file that was extracted last
  LogFacts* facts = nullptr;       // of the run that is being processed
  TextLines lines(path);
  for (std::string line; lines.Next(line);) {
    if (const auto value = TextBehind(line, ": isolation_width = ")) width = lines.Real(*value);
    if (const auto value = TextBehind(line, "Isolation widths (Th):"))
      declared = CommonestWidth(*value);
    if (const auto run = StartedRun(line)) {
      facts = &log[std::string(*run)];
      *facts = {width, std::exchange(declared, std::nullopt), {}, true};
    }
    const auto warned = TextBehind(line, "Cannot find precursor information for scan ");
    if (facts != nullptr && warned) facts->m_without_precursor.push_back(lines.Integer(*warned));
  }
  return log;
}

LogFacts LogBook::FactsOf(const RunFiles& files) {
  if (files.m_log.empty()) return {};
  auto log = m_logs.find(files.m_log);
  if (log == m_logs.end()) log = m_logs.emplace(files.m_log, Read(files.m_log)).first;
  const auto facts = log->second.find(files.m_name);
  return facts == log->second.end() ? LogFacts{} : facts->second;
}

}  // namespace tarvek::tools
