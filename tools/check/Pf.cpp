#include "check/Pf.h"

#include <bit>
#include <limits>
#include <optional>
#include <utility>

#include "FileUtils.h"

namespace tarvek::tools {
namespace {

constexpr std::int64_t kPeakBytes = 16;
constexpr std::int64_t kPrecursorBytes = 12;
constexpr std::int64_t kEntryBytes = 8;
constexpr const char* kRunAgain = "Run tarvek again with -r 1, or ask for the file again.";

/// A little-endian binary file, read at any place.
class BinaryFile {
 public:
  explicit BinaryFile(const std::string& path)
      : m_path(path), m_file(OpenFile(path, "rb", "PF")), m_size_bytes(m_file.SizeBytes()) {}

  [[nodiscard]] std::int64_t SizeBytes() const { return m_size_bytes; }
  [[nodiscard]] std::int64_t Place() const { return m_place; }
  [[nodiscard]] std::int64_t BytesLeft() const { return m_size_bytes - m_place; }

  void Skip(std::int64_t bytes) {
    m_place += bytes;
    if (!m_file.Seek(m_place)) throw "Cannot relocate in " + m_path;
  }

  /// Nothing at the end of the file.
  std::optional<std::string> Bytes(std::int64_t count) {
    if (count < 0 || count > BytesLeft()) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(count), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
      const std::size_t got = m_file.Read(bytes.data() + filled, bytes.size() - filled);
      if (got == 0) return std::nullopt;
      filled += got;
    }
    m_place += count;
    return bytes;
  }

 private:
  std::string m_path;
  File m_file;
  std::int64_t m_size_bytes;
  std::int64_t m_place = 0;
};

std::uint64_t LittleEndian(const std::string& bytes, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = count; i-- > 0;)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

std::int32_t Int32At(const std::string& bytes, std::size_t at) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(LittleEndian(bytes, at, 4)));
}

/// What is stored of an offset that does not fit.
std::int32_t LowBits(std::int64_t offset_bytes) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(offset_bytes));
}

struct IndexEntry {
  std::int32_t m_scan_no = 0;
  std::int32_t m_offset = 0;
};

class PfWalk {
 public:
  PfWalk(CheckReport& report, const std::string& path)
      : m_report(&report), m_path(path), m_file(path) {}

  PfContent Walk() {
    if (!ReadHeader()) {
      Defect("pf-truncated", "The file ends inside its header.");
      return std::move(m_content);
    }
    while (m_file.BytesLeft() > 0 && ReadRecord()) {
    }
    CheckCount();
    CheckIndex();
    return std::move(m_content);
  }

 private:
  bool ReadHeader() {
    const auto numbers = m_file.Bytes(8);
    if (!numbers) return false;
    m_count = Int32At(*numbers, 0);
    auto title = m_file.Bytes(Int32At(*numbers, 4));
    if (!title) return false;
    m_content.m_title = *std::move(title);
    return true;
  }

  // False when the record is not whole.
  bool ReadRecord() {
    const std::int64_t offset = m_file.Place();
    PfRecord record;
    if (!ReadRecordInto(record)) {
      Defect("pf-truncated",
             "The file ends inside the record that begins at byte " + std::to_string(offset) + ".",
             {record.m_scan_no, std::nullopt});
      return false;
    }
    m_offsets.push_back(offset);
    m_content.m_records.push_back(std::move(record));
    return true;
  }

  bool ReadRecordInto(PfRecord& record) {
    const auto start = m_file.Bytes(8);
    if (!start) return false;
    record.m_scan_no = Int32At(*start, 0);
    const std::int64_t peaks = Int32At(*start, 4);
    if (peaks < 0 || peaks * kPeakBytes > m_file.BytesLeft()) return false;
    m_file.Skip(peaks * kPeakBytes);
    const auto count = m_file.Bytes(4);
    if (!count) return false;
    const auto precursors = m_file.Bytes(Int32At(*count, 0) * kPrecursorBytes);
    if (!precursors) return false;
    for (std::size_t at = 0; at < precursors->size(); at += kPrecursorBytes)
      record.m_precursors.push_back(
          {std::bit_cast<double>(LittleEndian(*precursors, at, 8)), Int32At(*precursors, at + 8)});
    return true;
  }

  void CheckCount() {
    const auto records = static_cast<std::int64_t>(m_content.m_records.size());
    if (m_count == records || !m_content.m_is_whole) return;
    Defect("pf-count", m_count == 0
                           ? "Its header counts no records although it holds " +
                                 std::to_string(records) + ", as after a run that was stopped."
                           : "Its header counts " + std::to_string(m_count) +
                                 " records and it holds " + std::to_string(records) + ".");
  }

  void CheckIndex() {
    const std::string path = m_path + "idx";
    if (!FileExists(path)) {
      Defect("pf-index-missing", "Its index " + path + " is missing.");
      return;
    }
    const std::vector<IndexEntry> entries = ReadIndex(path);
    if (entries.size() != m_content.m_records.size() && m_content.m_is_whole)
      Defect("pf-index-count", "Its index has " + std::to_string(entries.size()) + " entries for " +
                                   std::to_string(m_content.m_records.size()) + " records.");
    CompareEntries(entries);
    NoteWrapped();
  }

  std::vector<IndexEntry> ReadIndex(const std::string& path) {
    BinaryFile file(path);
    if (file.SizeBytes() % kEntryBytes != 0)
      Defect("pf-index-size", "Its index does not consist of whole entries of 8 bytes.");
    std::vector<IndexEntry> entries;
    const auto bytes = file.Bytes(file.SizeBytes() / kEntryBytes * kEntryBytes);
    for (std::size_t at = 0; bytes && at < bytes->size(); at += kEntryBytes)
      entries.push_back({Int32At(*bytes, at), Int32At(*bytes, at + 4)});
    return entries;
  }

  void CompareEntries(const std::vector<IndexEntry>& entries) {
    for (std::size_t i = 0; i < std::min(entries.size(), m_offsets.size()); ++i) {
      const std::int32_t scan_no = m_content.m_records[i].m_scan_no;
      if (entries[i].m_scan_no == scan_no && entries[i].m_offset == LowBits(m_offsets[i])) continue;
      Defect("pf-index-entry",
             "Its index has scan " + std::to_string(entries[i].m_scan_no) + " at byte " +
                 std::to_string(entries[i].m_offset) + " where scan " + std::to_string(scan_no) +
                 " begins at byte " + std::to_string(m_offsets[i]) + ".",
             {scan_no, std::nullopt});
      return;
    }
  }

  // Not a defect: the format has 32 bits for an offset.
  void NoteWrapped() {
    for (std::size_t i = 0; i < m_offsets.size(); ++i) {
      if (m_offsets[i] <= std::numeric_limits<std::int32_t>::max()) continue;
      m_report->Note("pf-wrapped", m_path,
                     "From this scan on its index holds the low 32 bits of offsets beyond 2 GiB.",
                     "Read it with tarvek_io.py, which unwraps them, or walk the records.",
                     {m_content.m_records[i].m_scan_no, std::nullopt});
      return;
    }
  }

  void Defect(const std::string& code, const std::string& meaning, FindingPlace place = {}) {
    m_content.m_is_whole = false;
    m_report->Defect(code, m_path, meaning, kRunAgain, place);
  }

  CheckReport* m_report;
  std::string m_path;
  BinaryFile m_file;
  std::int32_t m_count = 0;
  std::vector<std::int64_t> m_offsets;  // of the records
  PfContent m_content;
};

}  // namespace

PfContent CheckPf(CheckReport& report, const std::string& path) {
  return PfWalk(report, path).Walk();
}

}  // namespace tarvek::tools
