// IO/PfWriter.h: scans in the compact binary form of .pf1 and .pf2 files.
// Does:     writes a data file and next to it, under the same name followed by "idx", the byte
//           offset of every scan.
// Owns:     both open files.
// Throws:   a std::string: "Cannot open PF File, Path: ..." (or "PF index"), "Cannot write " +
//           path, or "Cannot relocate to 0 in " + path for a file that cannot be repositioned.
// Not here: the split by scan type (SpectrumWriterGroup.h). The records: docs/formats/pf.md.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "SpectrumFile.h"
#include "SpectrumRecords.h"
#include "SpectrumWriterGroup.h"
#include "UnfinishedFile.h"

namespace tarvek {

class PfWriter final : public SpectrumWriter {
 public:
  /// mode "wb+"; title is the run name of the header.
  PfWriter(const std::string& path, std::string_view mode, const std::string& title,
           NoticeTaker notice = TakeSilently, Naming naming = Naming::kAtOnce);

  void WriteMs1(const MS1Spectrum& scan);
  void WriteMs2(const MS2Spectrum& scan);

  /// Writes the record count into the header and closes the index file, then the data file.
  void Close();

 private:
  void StartRecord(std::int32_t scan_no, std::span<const Peak> peaks);

  UnfinishedFile m_index;
  std::string m_bytes;  // reused from record to record
};

using Pf2Group = SpectrumWriterGroup<PfWriter>;

}  // namespace tarvek
