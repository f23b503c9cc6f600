// IO/MgfReader.h: MS2 scans from Mascot Generic Format text.
// Does:     delivers one scan per call; blocks that repeat a scan number add their precursors.
// Owns:     the open file, and what was read of the block that comes next.
// Throws:   a std::string: "Cannot open MGF File, Path: ..."; as a FileFault (ShownText.h)
//           kMgfTitleError for a block whose scan number, charge or m/z cannot be read; what File::Read throws.
// Not here: the lines (MgfText.h); keys other than TITLE, CHARGE and PEPMASS are passed over.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "SpectrumFile.h"
#include "SpectrumRecords.h"

namespace tarvek {

extern const char* const kMgfTitleError;

class MgfReader final : public SpectrumReader {
 public:
  /// mode "r".
  MgfReader(const std::string& path, std::string_view mode, NoticeTaker notice = TakeSilently);

  /// Refills scan with the next scan that has peaks; false at the end of the file.
  bool ReadNext(MS2Spectrum& scan);

 private:
  bool FinishRecord(MS2Spectrum& scan);

  std::optional<std::int32_t> m_pending_number;
  Precursor m_block_precursor;  // read since the last END IONS; a charge of 0 is unknown
};

}  // namespace tarvek
