#include "PfReader.h"

#include "FileUtils.h"
#include "LittleEndian.h"

namespace tarvek {
namespace {

constexpr std::int64_t kIntegerBytes = 4;
constexpr std::int64_t kRealBytes = 8;
constexpr std::int64_t kPeakBytes = 2 * kRealBytes;
constexpr std::int64_t kPrecursorBytes = kRealBytes + kIntegerBytes;
constexpr std::int64_t kIndexEntryBytes = 2 * kIntegerBytes;

}  // namespace

PfReader::PfReader(const std::string& path)
    : m_path(path),
      m_file(OpenOwnFile(path, "PF")),
      m_size_bytes(m_file.SizeBytes()),
      m_has_header(ReadHeader()) {}

bool PfReader::ReadHeader() {
  const auto count = Integer();
  const auto title = count ? Items(1) : std::nullopt;
  if (!title) return false;
  m_count = *count;
  m_title = *title;
  return true;
}

bool PfReader::ReadNext(PfRecord& record, PfPeaks peaks) {
  record.m_offset_bytes = m_bytes.ConsumedBytes();
  record.m_scan_no = 0;
  record.m_peaks.clear();
  record.m_precursors.clear();
  const auto scan_no = Integer();
  if (!scan_no) return false;
  record.m_scan_no = *scan_no;
  const bool has_peaks = peaks == PfPeaks::kRead ? ReadPeaks(record.m_peaks) : StepOverPeaks();
  return has_peaks && ReadPrecursors(record.m_precursors);
}

bool PfReader::ReadPeaks(std::vector<Peak>& peaks) {
  const auto bytes = Items(kPeakBytes);
  if (!bytes) return false;
  peaks.reserve(bytes->size() / kPeakBytes);
  const char* const end = bytes->data() + bytes->size();
  for (const char* at = bytes->data(); at != end; at += kPeakBytes)
    peaks.push_back({RealAt(at), RealAt(at + kRealBytes)});
  return true;
}

bool PfReader::StepOverPeaks() {
  const auto count = Integer();
  if (!count || *count < 0 || *count * kPeakBytes > BytesLeft()) return false;
  if (!m_bytes.Skip(*count * kPeakBytes)) throw "Cannot relocate in " + m_path;
  return true;
}

bool PfReader::ReadPrecursors(std::vector<Precursor>& precursors) {
  const auto bytes = Items(kPrecursorBytes);
  if (!bytes) return false;
  const char* const end = bytes->data() + bytes->size();
  for (const char* at = bytes->data(); at != end; at += kPrecursorBytes)
    precursors.push_back({RealAt(at), Int32At(at + kRealBytes)});
  return true;
}

bool PfReader::ReadMs1(MS1Spectrum& scan) {
  if (!ReadCounted()) return false;
  if (m_record.m_precursors.size() != 1) FailAsDamaged();
  Clear(scan);
  scan.m_scan_no = m_record.m_scan_no;
  scan.m_rt = m_record.m_precursors.front().m_mz;
  scan.m_peaks.swap(m_record.m_peaks);
  return true;
}

bool PfReader::ReadMs2(MS2Spectrum& scan) {
  if (!ReadCounted()) return false;
  Clear(scan);
  scan.m_scan_no = m_record.m_scan_no;
  scan.m_peaks.swap(m_record.m_peaks);
  scan.m_precursors.swap(m_record.m_precursors);
  return true;
}

/// Reads the next record; false after the last one that the header counts, at the end of the file.
bool PfReader::ReadCounted() {
  if (!m_has_header) FailAsDamaged();
  if (m_count == 0 && !AtEnd())
    throw m_path + " counts no scans but holds some: it was not closed.";
  if (m_read >= m_count) {
    if (!AtEnd()) throw m_path + " holds more scans than it counts.";
    return false;
  }
  ++m_read;
  if (!ReadNext(m_record)) FailAsDamaged();
  return true;
}

void PfReader::FailAsDamaged() const {
  throw m_path + " is damaged or cut short at byte " + std::to_string(m_bytes.ConsumedBytes()) +
      ".";
}

/// std::nullopt, without moving in the file, when fewer than count bytes are left.
std::optional<std::string_view> PfReader::Bytes(std::int64_t count) {
  if (count < 0 || count > BytesLeft()) return std::nullopt;
  const std::string_view bytes = m_bytes.Take(static_cast<std::size_t>(count));
  if (bytes.size() < static_cast<std::size_t>(count)) return std::nullopt;
  return bytes;
}

/// Reads an integer, then that many items.
std::optional<std::string_view> PfReader::Items(std::int64_t item_bytes) {
  const auto count = Integer();
  return count ? Bytes(*count * item_bytes) : std::nullopt;
}

std::optional<std::int32_t> PfReader::Integer() {
  const auto bytes = Bytes(kIntegerBytes);
  if (!bytes) return std::nullopt;
  return Int32At(bytes->data());
}

std::string PfIndexPath(const std::string& path) { return path + "idx"; }

PfIndex ReadPfIndex(const std::string& index_path) {
  File file = OpenOwnFile(index_path, "PF");
  ReadAhead bytes(file);
  PfIndex index;
  while (true) {
    const std::string_view entry = bytes.Take(kIndexEntryBytes);
    if (entry.size() < kIndexEntryBytes) {
      index.m_is_whole = entry.empty();
      return index;
    }
    index.m_entries.push_back({Int32At(entry.data()), Int32At(entry.data() + kIntegerBytes)});
  }
}

}  // namespace tarvek
