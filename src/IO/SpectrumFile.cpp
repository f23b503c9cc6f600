#include "SpectrumFile.h"

#include <utility>

#include "FileUtils.h"

namespace tarvek {

SpectrumFile::SpectrumFile(std::string path, std::string_view mode, NoticeTaker notice,
                           Announce announce)
    : m_path(std::move(path)), m_mode(mode), m_notice(notice) {
  if (announce == Announce::kYes) m_notice(kInfo, "Start to process " + m_path);
}

SpectrumFile::~SpectrumFile() {
  if (!m_is_open) return;
  try {
    m_notice(kInfo, "Closed " + m_path);
  } catch (...) {
    // Without memory for the message we can only continue to unwind.
  }
}

void SpectrumFile::Finish() {
  if (!m_is_open) return;
  CloseStream();
  m_is_open = false;
  m_notice(kInfo, "Closed " + m_path);
  m_notice(kInfo, "Finished Operations on " + m_path);
  m_notice(kInfo, "Scan Number in " + m_path + ": " + std::to_string(m_record_count));
}

SpectrumReader::SpectrumReader(const std::string& path, std::string_view mode,
                               const std::string& kind, NoticeTaker notice,
                               std::size_t read_buffer_bytes, Announce announce)
    : SpectrumFile(path, mode, notice, announce),
      m_file(OpenFile(path, mode, kind)),
      m_size_bytes(m_file.SizeBytes()) {
  if (read_buffer_bytes > 0) m_buffered_lines.emplace(m_file, read_buffer_bytes);
  MarkOpen();
}

double SpectrumReader::FractionRead() const noexcept {
  if (m_size_bytes <= 0) return 0.0;
  return static_cast<double>(m_lines.ConsumedBytes()) / static_cast<double>(m_size_bytes);
}

// A file that was cut off while we read it ends like a whole one; its results must not count as
// finished.
void SpectrumReader::CloseStream() {
  if (m_file.SizeBytes() < m_size_bytes)
    throw "Cannot read " + Path() + ": it became shorter while it was read.";
  static_cast<void>(m_file.Close());  // nothing was written, so nothing can be lost
  m_buffered_lines.reset();
}

SpectrumWriter::SpectrumWriter(const std::string& path, std::string_view mode,
                               const std::string& kind, NoticeTaker notice, Naming naming)
    : SpectrumFile(path, mode, notice, Announce::kYes),
      m_file(path, kind, {.m_mode = mode, .m_naming = naming}) {
  MarkOpen();
}

void SpectrumWriter::CloseStream() { m_file.TakeName(); }

}  // namespace tarvek
