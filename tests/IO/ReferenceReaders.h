// tests/IO/ReferenceReaders.h: slow readings of every input format, each following the description
// of the format sentence by sentence, with the C library's own conversions. They share only the
// records with the readers under test.
#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "IoTestSupport.h"
#include "SpectrumRecords.h"

namespace tarvek::test {

/// The result of reading a file: every record as text, the warnings, and how it ended.
struct Reading {
  std::string m_records;
  std::string m_warnings;
  std::string m_error;  // empty: it reached the end
};

inline bool operator==(const Reading& a, const Reading& b) {
  return a.m_records == b.m_records && a.m_warnings == b.m_warnings && a.m_error == b.m_error;
}

inline std::ostream& operator<<(std::ostream& out, const Reading& reading) {
  return out << reading.m_records << reading.m_warnings << "error: " << reading.m_error << "\n";
}

/// The text that C string functions would see after fgets with a buffer of 1024 bytes.
inline std::vector<std::string> PiecesOf(const std::string& content) {
  std::vector<std::string> pieces;
  std::string piece;
  for (const char c : content) {
    piece += c;
    if (c == '\n' || piece.size() == 1023) {
      pieces.emplace_back(piece.c_str());
      piece.clear();
    }
  }
  if (!piece.empty()) pieces.emplace_back(piece.c_str());
  return pieces;
}

/// All fields, at least count of them.
inline std::vector<std::string> Fields(const std::string& line, char separator,
                                       std::size_t count = 3) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == separator) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  fields.resize(std::max(fields.size(), count));
  return fields;
}

inline std::string Stripped(std::string text) {
  const auto blank = [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; };
  while (!text.empty() && blank(text.back())) text.pop_back();
  while (!text.empty() && blank(text.front())) text.erase(0, 1);
  return text;
}

inline double LenientReal(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

inline std::int32_t LenientInteger(const std::string& text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long>(value, Limits::min(), Limits::max()));
}

/// The scan numbers of one file. Numbers too large for a record still differ, up to 64 bits.
class ReferenceScanNumbers {
 public:
  explicit ReferenceScanNumbers(std::string path) : m_path(std::move(path)) {}

  /// The identity of a scan: its number, or a text that no other scan has.
  std::string KeyOf(const std::string& written) {
    errno = 0;
    const long long value = std::strtoll(written.c_str(), nullptr, 10);
    const bool is_lost = errno == ERANGE;
    const std::int32_t held = LenientInteger(written);
    if (is_lost || value != held) Warn(held);
    return is_lost ? "lost " + std::to_string(++m_lost) : std::to_string(value);
  }
  [[nodiscard]] const std::string& Warnings() const { return m_warnings; }

 private:
  void Warn(std::int32_t held) {
    if (m_warnings.empty())
      m_warnings = "[Tarvek] <WARN> - " + m_path +
                   " has scan numbers that are too large: each such scan gets the number " +
                   std::to_string(held) + ", and which survey belongs to it is not known.\n";
  }

  std::string m_path;
  std::string m_warnings;
  int m_lost = 0;
};

inline std::string From(const std::string& line, std::size_t start) {
  return start < line.size() ? line.substr(start) : "";
}

inline void SortPeaks(std::vector<Peak>& peaks) {
  const auto middle = std::stable_partition(peaks.begin(), peaks.end(),
                                            [](const Peak& p) { return !std::isnan(p.m_mz); });
  std::stable_sort(peaks.begin(), middle,
                   [](const Peak& a, const Peak& b) { return a.m_mz < b.m_mz; });
}

inline void FinaliseReference(MS2Spectrum& scan, std::string& warnings) {
  SortPeaks(scan.m_peaks);
  for (std::size_t i = scan.m_precursors.size(); i-- > 0;) {
    const double mz = scan.m_precursors[i].m_mz;
    if (!(mz > -1e-6 && mz < 1e-6) && scan.m_precursors[i].m_charge != 0) continue;
    scan.m_precursors.erase(scan.m_precursors.begin() + static_cast<std::ptrdiff_t>(i));
    warnings += "[Tarvek] <WARN> - Scan " + std::to_string(scan.m_scan_no) +
                " has incorrect precursor infomation, skipping this precursor...\n";
  }
  scan.m_orig_precursors = scan.m_precursors;
}

/// .ms1 and .ms2 text. Fills the larger record for both kinds.
class ReferenceTextReader {
 public:
  ReferenceTextReader(const std::string& content, const std::string& path, bool is_ms2)
      : m_lines(PiecesOf(content)), m_is_ms2(is_ms2), m_numbers(path) {}

  Reading ReadAll() {
    Reading reading;
    MS2Spectrum scan;
    while (Next(scan)) {
      TakeNumberWarning(reading);
      FinaliseReference(scan, reading.m_warnings);
      reading.m_records +=
          m_is_ms2 ? Describe(scan)
                   : Describe(MS1Spectrum{scan.m_scan_no, scan.m_rt, scan.m_ion_injection_time,
                                          scan.m_instrument_type, scan.m_peaks});
    }
    TakeNumberWarning(reading);
    return reading;
  }

 private:
  void TakeNumberWarning(Reading& reading) {
    if (m_takes_warning) reading.m_warnings += m_numbers.Warnings();
    m_takes_warning = m_takes_warning && m_numbers.Warnings().empty();
  }

  bool Next(MS2Spectrum& scan) {
    scan = MS2Spectrum();
    std::string key;  // of the scan; empty before its "S" line
    bool repeat = false;
    for (; m_at < m_lines.size(); ++m_at) {
      const std::string& line = m_lines[m_at];
      if (line.empty()) continue;
      if (line[0] >= '0' && line[0] <= '9') {
        const auto fields = Fields(line, ' ');
        if (!repeat && LenientReal(fields[1]) > 1e-6)
          scan.m_peaks.push_back({LenientReal(fields[0]), LenientReal(fields[1])});
      }
      if (line[0] == 'I') Attribute(line, repeat, scan);
      if (line[0] == 'Z' && m_is_ms2) Charge(line, scan);
      if (line[0] != 'S') continue;
      const std::string written = Fields(line, '\t')[1];
      const std::string read = m_numbers.KeyOf(written);
      if (read == key) {
        repeat = true;
      } else if (!scan.m_peaks.empty()) {
        return true;  // m_at stays on the "S" line, which starts the next scan
      } else {
        scan.m_scan_no = LenientInteger(written);
        key = read;
        repeat = false;
      }
    }
    return !scan.m_peaks.empty();
  }

  void Attribute(const std::string& line, bool repeat, MS2Spectrum& scan) const {
    const std::string padded = line + std::string(20, '\0');
    if (padded[2] == 'R') scan.m_rt = LenientReal(From(line, 10));
    if (padded[2] == 'I' && padded[3] == 'o')
      scan.m_ion_injection_time = LenientReal(From(line, 19));
    if (padded[2] == 'I' && padded[3] == 'n') {
      const char c = padded[17];
      scan.m_instrument_type = c == 'F' || c == 'Q' ? "FT" : c == 'I' ? "IT" : "Unknown";
    }
    if (!m_is_ms2 || repeat) return;
    if (padded[2] == 'A' && padded[12] == 'T') scan.m_activation_type = Stripped(From(line, 17));
    if (padded[2] == 'A' && padded[12] == 'C')
      scan.m_activation_center = LenientReal(From(line, 19));
    if (padded[2] == 'P') scan.m_precursor_scan = LenientInteger(From(line, 16));
  }

  static void Charge(const std::string& line, MS2Spectrum& scan) {
    const auto fields = Fields(line, '\t');
    int charge = LenientInteger(fields[1]);
    if (charge < 1) charge = 2;
    const double mass = LenientReal(fields[2]);
    const double mz = std::abs(mass) < 1e-6 ? scan.m_activation_center
                                            : (mass + (charge - 1) * 1.007276) / charge;
    scan.m_precursors.push_back({mz, charge});
  }

  std::vector<std::string> m_lines;
  std::size_t m_at = 0;
  bool m_is_ms2;
  ReferenceScanNumbers m_numbers;
  bool m_takes_warning = true;
};

/// The scan number of a title, as text: N of an ending ".N.N.charge.index.dta" or ".N.N.charge.dta",
/// else what is between the first two points.
inline std::string ReferenceTitleNumber(const std::string& title) {
  static const std::regex ending(R"([\s\S]*\.([0-9]+)\.\1\.-?[0-9]+(\.[0-9]+)?\.dta[ \n\r\t]*)");
  std::smatch match;
  return std::regex_match(title, match, ending) ? match[1].str() : Fields(title, '.')[1];
}

/// .mgf text.
class ReferenceMgfReader {
 public:
  ReferenceMgfReader(const std::string& content, const std::string& path)
      : m_lines(PiecesOf(content)), m_numbers(path) {}

  Reading ReadAll() {
    Reading reading;
    try {
      MS2Spectrum scan;
      while (Next(scan)) {
        TakeNumberWarning(reading);
        FinaliseReference(scan, reading.m_warnings);
        reading.m_records += Describe(scan);
      }
    } catch (const std::logic_error&) {  // of a standard conversion
      reading.m_error =
          "Sorry, Tarvek fail to parse the title of the MGF.\n[Error] Incorrect title format! "
          "correct format should be: \tRAWName.scan.scan.charge.dta\ne.g:\t\t"
          "human_SILAC.2345.2345.2.dta";
    }
    TakeNumberWarning(reading);
    return reading;
  }

 private:
  void TakeNumberWarning(Reading& reading) {
    if (m_takes_warning) reading.m_warnings += m_numbers.Warnings();
    m_takes_warning = m_takes_warning && m_numbers.Warnings().empty();
  }

  static bool Has(const std::string& line, const std::string& key) {
    return line.compare(0, key.size(), key) == 0;
  }

  bool Next(MS2Spectrum& scan) {
    scan = MS2Spectrum();
    std::string key;  // of the scan; empty before its title
    bool repeat = false;
    int charge = 0;  // of the latest block with a charge in this call
    for (; m_at < m_lines.size(); ++m_at) {
      const std::string& line = m_lines[m_at];
      if (Has(line, "TITLE=")) {
        const std::string written = ReferenceTitleNumber(line.substr(6));
        const std::string read = m_numbers.KeyOf(written);
        char* end_of_number = nullptr;
        std::strtoll(written.c_str(), &end_of_number, 10);
        if (end_of_number == written.c_str()) throw std::logic_error("no number");
        repeat = read == key;
        if (!repeat && !scan.m_peaks.empty()) return true;  // the line is read again
        key = read;
        scan.m_scan_no = LenientInteger(written);
      } else if (Has(line, "CHARGE=")) {
        const std::string value = line.substr(7);
        const std::size_t sign = value.find_first_of("+-");
        const int size = std::stoi(value.substr(0, sign));
        m_block_charge = sign != std::string::npos && value[sign] == '-' ? -size : size;
      } else if (Has(line, "PEPMASS=")) {
        m_block_mz = std::stod(line.substr(8));
      } else if (Has(line, "END IONS")) {
        if (m_block_charge) charge = *m_block_charge;
        scan.m_precursors.push_back({m_block_mz, charge == 0 ? 2 : charge});
        m_block_charge.reset();
        m_block_mz = 0.0;
      } else if (!line.empty() && line[0] >= '0' && line[0] <= '9' && !repeat) {
        const std::size_t end = line.find_first_of("\t ");
        const auto fields =
            Fields(line, end != std::string::npos && line[end] == '\t' ? '\t' : ' ');
        if (LenientReal(fields[1]) < 1e-6) continue;
        scan.m_peaks.push_back({LenientReal(fields[0]), LenientReal(fields[1])});
      }
    }
    return !scan.m_peaks.empty();
  }

  std::vector<std::string> m_lines;
  std::size_t m_at = 0;
  ReferenceScanNumbers m_numbers;
  bool m_takes_warning = true;
  std::optional<int> m_block_charge;
  double m_block_mz = 0.0;
};

/// The columns of a scan table in the order of its description.
inline const std::array<std::string, 12> kScanTableColumns = {
    "ScanNo",           "PrecursorScan",  "activationCenter", "RetTime",
    "IonInjectionTime", "activationType", "InstrumentType",   "NumberofPeaks",
    "StartPos",         "EndPos",         "lowerCharge",      "monoIsotopicMz"};

inline std::string Describe(const ScanTableEntry& entry) {
  return std::to_string(entry.m_scan_no) + " of " + std::to_string(entry.m_precursor_scan) + " " +
         ExactText(entry.m_activation_center) + ExactText(entry.m_rt) +
         ExactText(entry.m_ion_injection_time) + "[" + entry.m_activation_type + "][" +
         entry.m_instrument_type + "] " + std::to_string(entry.m_peak_num) + " " +
         std::to_string(entry.m_start_pos) + " " + std::to_string(entry.m_end_pos) + " " +
         std::to_string(entry.m_lower_charge) + " " + ExactText(entry.m_mono_mz) + "\n";
}

using ReferenceTable = std::map<std::int32_t, ScanTableEntry>;

/// .mscsv text. Throws the message as a std::string. path is named in one of them.
class ReferenceTableReader {
 public:
  ReferenceTableReader(const std::string& content, const std::string& path)
      : m_lines(PiecesOf(content)), m_path(path) {}

  ReferenceTable ReadAll() {
    if (m_lines.empty()) throw std::string("mscsv file is empty!");
    const auto names = Fields(WithoutLineEnd(m_lines[0]), '\t');
    for (const std::string& column : kScanTableColumns) {
      const auto found = std::find(names.rbegin(), names.rend(), column);
      if (found == names.rend()) throw "mscsv file has no column " + column + "!";
      m_position[column] = static_cast<std::size_t>(names.rend() - found) - 1;
    }
    ReferenceTable table;
    for (std::size_t i = 1; i < m_lines.size(); ++i) {
      const std::string line = WithoutLineEnd(m_lines[i]);
      if (line.empty()) continue;
      const ScanTableEntry entry = Row(line);
      if (entry.m_scan_no < 0 || entry.m_scan_no > 100000000)
        throw "mscsv file " + m_path + ", line " + std::to_string(i + 1) + ": scan number " +
            std::to_string(entry.m_scan_no) + " is out of range!";
      table[entry.m_scan_no] = entry;
    }
    return table;
  }

 private:
  static std::string WithoutLineEnd(std::string line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return line;
  }

  std::string Field(const std::vector<std::string>& fields, const std::string& column) const {
    const std::size_t position = m_position.at(column);
    return position < fields.size() ? fields[position] : "";
  }

  ScanTableEntry Row(const std::string& line) const {
    const auto fields = Fields(line, '\t');
    const auto text = [&](const char* column) { return Field(fields, column); };
    ScanTableEntry entry;
    try {
      entry.m_scan_no = std::stoi(text("ScanNo"));
      entry.m_precursor_scan = std::stoi(text("PrecursorScan"));
      entry.m_activation_center = std::stod(text("activationCenter"));
      entry.m_rt = std::stod(text("RetTime"));
      entry.m_ion_injection_time = std::stod(text("IonInjectionTime"));
      entry.m_activation_type = Stripped(text("activationType"));
      entry.m_instrument_type = Stripped(text("InstrumentType"));
      entry.m_peak_num = std::stoi(text("NumberofPeaks"));
      entry.m_start_pos = std::stoll(text("StartPos"));
      entry.m_end_pos = std::stoll(text("EndPos"));
      const double charge = std::stod(text("lowerCharge"));
      entry.m_lower_charge = std::isnan(charge)
                                 ? 0
                                 : static_cast<std::int32_t>(
                                       std::clamp(std::trunc(charge), -2147483648.0, 2147483647.0));
      entry.m_mono_mz = std::stod(text("monoIsotopicMz"));
    } catch (const std::invalid_argument& error) {
      throw std::string("invalid ") + error.what() + " argument";
    } catch (const std::out_of_range& error) {
      throw std::string(error.what()) + " argument out of range";
    }
    return entry;
  }

  std::vector<std::string> m_lines;
  std::string m_path;
  std::map<std::string, std::size_t> m_position;
};

/// .msb bytes with the table that the reference made of the .mscsv file.
class ReferenceMsbReader {
 public:
  ReferenceMsbReader(std::string content, ReferenceTable table)
      : m_bytes(std::move(content)), m_table(std::move(table)) {}

  /// MS1 records, then MS2 records, each in file order, as their queues return them; an error
  /// discards what was read before.
  Reading ReadAll() {
    Reading reading;
    try {
      while (m_bytes.size() - m_at >= 8) ReadRecord();
      reading.m_records = m_ms1 + m_ms2;
    } catch (const std::string& message) {
      reading.m_error = message;
    }
    return reading;
  }

 private:
  template <class Value>
  Value Take() {
    Value value;
    if (m_bytes.size() - m_at < sizeof value) throw std::string("The MSB terminated unexpectly!");
    std::memcpy(&value, m_bytes.data() + m_at, sizeof value);  // these tests run little-endian
    m_at += sizeof value;
    return value;
  }

  ScanTableEntry EntryOf(std::int32_t scan_no) const {
    const std::string mismatch = "ans.m_scan_no == scanNo, module MsbReader";
    if (m_table.empty() || scan_no < 0 || scan_no > m_table.rbegin()->first) throw mismatch;
    const auto found = m_table.find(scan_no);
    const ScanTableEntry entry = found == m_table.end() ? ScanTableEntry{} : found->second;
    if (entry.m_scan_no != scan_no) throw mismatch;
    return entry;
  }

  void ReadRecord() {
    const auto scan_no = Take<std::int32_t>();
    const auto count = Take<std::int32_t>();
    if (count > 10000 || count < 0) throw std::string("The peak num is too large!");
    std::vector<Peak> peaks(static_cast<std::size_t>(count));
    for (Peak& peak : peaks) peak.m_mz = Take<double>();
    for (Peak& peak : peaks) peak.m_intensity = Take<double>();
    const ScanTableEntry entry = EntryOf(scan_no);
    if (entry.m_peak_num != count) throw std::string("The peak num is not equal!");
    SortPeaks(peaks);
    if (entry.m_precursor_scan == -1) {
      m_ms1 += Describe(MS1Spectrum{entry.m_scan_no, entry.m_rt, entry.m_ion_injection_time,
                                    entry.m_instrument_type, peaks});
      return;
    }
    const std::vector<Precursor> declared{{entry.m_mono_mz, entry.m_lower_charge}};
    m_ms2 +=
        Describe(MS2Spectrum{entry.m_scan_no, entry.m_precursor_scan, entry.m_activation_center,
                             entry.m_rt, entry.m_ion_injection_time, entry.m_activation_type,
                             entry.m_instrument_type, declared, declared, peaks});
  }

  std::string m_bytes;
  ReferenceTable m_table;
  std::size_t m_at = 0;
  std::string m_ms1;
  std::string m_ms2;
};

/// The key-to-value table of a parameter file. Throws the message as a std::string.
inline std::map<std::string, std::string> ReferenceParameterTable(const std::string& content) {
  std::map<std::string, std::string> table;
  for (std::string line : PiecesOf(content)) {
    if (line.find('#') != std::string::npos) line.erase(line.find('#'));
    line = Stripped(line);
    if (line.empty() || line[0] == ';' || line[0] == '[') continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) throw std::string("Unexpected INI format!");
    std::string key;
    for (const char c : line.substr(0, equals))
      key += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    table[Stripped(key)] = Stripped(line.substr(equals + 1));
  }
  return table;
}

/// The numbers of an isotope table, at most 75000. Throws the message as a std::string.
inline std::vector<double> ReferenceIsotopeNumbers(const std::string& content,
                                                   const std::string& path) {
  std::vector<double> numbers;
  std::string token;
  std::size_t line = 1;
  for (const char c : content + "\n") {
    if (std::strchr(" \t\n\v\f\r", c) == nullptr || c == '\0') {
      token += c;
      continue;
    }
    if (!token.empty() && numbers.size() < 75000) {
      char* end = nullptr;
      errno = 0;
      const double value = std::strtod(token.c_str(), &end);
      const bool whole = end == token.c_str() + token.size();
      const bool decimal = token.find_first_not_of("+-.0123456789eE") == std::string::npos;
      const bool vanished = errno == ERANGE && value == 0.0;
      if (!whole || !decimal || vanished || !std::isfinite(value))
        throw "Isotope table " + path + ", line " + std::to_string(line) + ": '" +
            token.substr(0, 40) + "' is not a number.";
      numbers.push_back(value);
    }
    token.clear();
    if (c == '\n') ++line;
  }
  return numbers;
}

}  // namespace tarvek::test
