#include "PfWriter.h"

#include <bit>

#include "LittleEndian.h"
#include "PfReader.h"

namespace tarvek {
namespace {

std::int32_t CountOf(std::size_t size) { return static_cast<std::int32_t>(size); }

// Pairs of m/z and intensity, little-endian. On a little-endian machine a list of peaks already has
// this form in memory.
void WritePeaks(OutputFile& stream, std::span<const Peak> peaks, std::string& scratch) {
  static_assert(sizeof(Peak) == 2 * sizeof(double));
  if constexpr (std::endian::native == std::endian::little) {
    stream.Write({reinterpret_cast<const char*>(peaks.data()), peaks.size_bytes()});
    return;
  }
  scratch.clear();
  for (const Peak& peak : peaks) {
    PutReal(scratch, peak.m_mz);
    PutReal(scratch, peak.m_intensity);
  }
  stream.Write(scratch);
}

}  // namespace

PfWriter::PfWriter(const std::string& path, std::string_view mode, const std::string& title,
                   NoticeTaker notice, Naming naming)
    : SpectrumWriter(path, mode, "PF", notice, naming),
      m_index(PfIndexPath(path), "PF index", {.m_mode = mode, .m_naming = naming}) {
  // Writes no bytes to the empty file, but rejects a file that cannot be repositioned, such as a
  // pipe, now instead of at the end of the run.
  Stream().OverwriteStart({});
  PutInt32(m_bytes, 0);  // the record count, known when the file is closed
  PutInt32(m_bytes, CountOf(title.size()));
  m_bytes.append(title);
  Stream().Write(m_bytes);
  Stream().Flush();
}

void PfWriter::WriteMs1(const MS1Spectrum& scan) {
  StartRecord(scan.m_scan_no, scan.m_peaks);
  // In the form of an MS2 record with one precursor: the retention time with charge 1.
  PutInt32(m_bytes, 1);
  PutReal(m_bytes, scan.m_rt);
  PutInt32(m_bytes, 1);
  Stream().Write(m_bytes);
}

void PfWriter::WriteMs2(const MS2Spectrum& scan) {
  StartRecord(scan.m_scan_no, scan.m_peaks);
  PutInt32(m_bytes, CountOf(scan.m_precursors.size()));
  for (const Precursor& precursor : scan.m_precursors) {
    PutReal(m_bytes, precursor.m_mz);
    PutInt32(m_bytes, precursor.m_charge);
  }
  Stream().Write(m_bytes);
}

// Writes the index entry and the part that both kinds of records share; leaves m_bytes empty.
void PfWriter::StartRecord(std::int32_t scan_no, std::span<const Peak> peaks) {
  CountRecord();
  m_bytes.clear();
  PutInt32(m_bytes, scan_no);
  PutInt32(m_bytes, PfIndexOffset(Stream().PositionBytes()));
  m_index.File().Write(m_bytes);

  m_bytes.clear();
  PutInt32(m_bytes, scan_no);
  PutInt32(m_bytes, CountOf(peaks.size()));
  Stream().Write(m_bytes);
  WritePeaks(Stream(), peaks, m_bytes);
  m_bytes.clear();
}

void PfWriter::Close() {
  if (!IsOpen()) return;
  m_bytes.clear();
  PutInt32(m_bytes, RecordCount());
  Stream().OverwriteStart(m_bytes);
  m_index.TakeName();
  Finish();
}

}  // namespace tarvek
