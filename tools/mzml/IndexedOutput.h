// tools/mzml/IndexedOutput.h: an indexed mzML file, written from front to back.
// Does:     writes bytes as they come; notes where spectra and chromatograms begin; ends the file
//           with their index and the checksum.
// Owns:     the unfinished file, a second one for the index of the spectra, and the index of the
//           chromatograms.
// Throws:   what UnfinishedFile throws.
// Not here: the contents (mzml/Copy.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "UnfinishedFile.h"
#include "outputs/Encoding.h"

namespace tarvek::tools {

class IndexedOutput {
 public:
  explicit IndexedOutput(const std::string& path);

  void Write(std::string_view bytes);

  /// The next byte begins an element with this id, escaped as in XML.
  void NoteSpectrum(std::string_view id);
  void NoteChromatogram(std::string_view id);

  /// Ends the file after </mzML> and gives it its name. head: replaces the first bytes; must have
  /// the length of what was written there.
  void Complete(std::string_view head);

 private:
  void WriteIndex();
  std::string Checksum(std::string_view head);

  UnfinishedFile m_file;
  std::optional<UnfinishedFile> m_spectra;  // lines of their index; never gets its name
  std::string m_chromatograms;
  Sha1 m_sha1;         // of what was written
  std::string m_head;  // what was written first
};

}  // namespace tarvek::tools
