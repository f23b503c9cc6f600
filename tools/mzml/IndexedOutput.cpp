#include "mzml/IndexedOutput.h"

#include "outputs/FileBlocks.h"

namespace tarvek::tools {
namespace {

/// The value of an attribute that was in other quotes.
std::string ForDoubleQuotes(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c == '"')
      text += "&quot;";
    else
      text += c;
  }
  return text;
}

std::string OffsetLine(std::string_view id, std::int64_t offset) {
  return "      <offset idRef=\"" + ForDoubleQuotes(id) + "\">" + std::to_string(offset) +
         "</offset>\n";
}

}  // namespace

IndexedOutput::IndexedOutput(const std::string& path) : m_file(path, "mzML") {
  m_spectra.emplace(path + ".index", "mzML index");
}

void IndexedOutput::Write(std::string_view bytes) {
  if (m_head.empty()) m_head = bytes;
  m_sha1.Take(bytes);
  m_file.File().Write(bytes);
}

void IndexedOutput::NoteSpectrum(std::string_view id) {
  m_spectra->File().Write(OffsetLine(id, m_file.File().PositionBytes()));
}

void IndexedOutput::NoteChromatogram(std::string_view id) {
  m_chromatograms += OffsetLine(id, m_file.File().PositionBytes());
}

void IndexedOutput::WriteIndex() {
  const bool has_chromatograms = !m_chromatograms.empty();
  Write("\n  ");
  const std::int64_t start = m_file.File().PositionBytes();
  Write(std::string("<indexList count=\"") + (has_chromatograms ? '2' : '1') + "\">\n");
  Write("    <index name=\"spectrum\">\n");
  m_spectra->Close();
  ReadBlocks(m_spectra->TemporaryPath(), 0, [&](std::string_view block) { Write(block); });
  m_spectra.reset();
  Write("    </index>\n");
  if (has_chromatograms)
    Write("    <index name=\"chromatogram\">\n" + m_chromatograms + "    </index>\n");
  Write("  </indexList>\n  <indexListOffset>" + std::to_string(start) + "</indexListOffset>\n");
}

// It covers everything up to and including its own start tag. If the head has changed, the file
// must be read again.
std::string IndexedOutput::Checksum(std::string_view head) {
  if (head == m_head) return m_sha1.Hex();
  m_file.File().Flush();
  Sha1 sha1;
  sha1.Take(head);
  ReadBlocks(m_file.TemporaryPath(), static_cast<std::int64_t>(head.size()),
             [&](std::string_view block) { sha1.Take(block); });
  return sha1.Hex();
}

void IndexedOutput::Complete(std::string_view head) {
  WriteIndex();
  Write("  <fileChecksum>");
  m_file.File().Write(Checksum(head) + "</fileChecksum>\n</indexedmzML>\n");
  if (head != m_head) m_file.File().OverwriteStart(head);
  m_file.TakeName();
}

}  // namespace tarvek::tools
