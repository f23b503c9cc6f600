// tools/mgf/Blocks.h: the unchanged blocks of an MGF file that tarvek wrote.
// Does:     delivers one block per call with the bytes of its peak lines; writes a block with new
//           lines before the peaks.
// Owns:     the open file and what was read ahead of it.
// Throws:   a std::string: "Cannot open MGF File, Path: ..."; PATH:LINE: and the problem; what
//           File::Read throws.
// Not here: spectra as numbers (MgfReader of src/IO, which would format the peaks again and drops
//           retention times); what an engine needs (mgf/Profiles.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "MgfText.h"
#include "Platform.h"
#include "ReadAhead.h"

namespace tarvek::tools {

/// One spectrum with one precursor. The texts are those after the "=", without end of line.
struct MgfBlock {
  std::string m_run;
  std::int32_t m_scan_no = 0;
  std::int32_t m_charge = 0;  // signed, from the TITLE
  std::int32_t m_index = 0;  // of the precursor within its scan, from 0, in the order of the scores
  std::string m_charge_text;
  std::string m_rt_text;
  std::string m_pepmass_text;
  std::string m_peaks;  // the peak lines with their ends
};

class MgfBlockReader {
 public:
  explicit MgfBlockReader(const std::string& path);

  /// Refills block with the next one; false at the end of the file. A file that ends inside a block
  /// is an error.
  bool ReadNext(MgfBlock& block);

  [[nodiscard]] const std::string& Path() const noexcept { return m_path; }

  /// Throws an error about the line that was read last.
  [[noreturn]] void Fail(const std::string& what) const;

 private:
  bool ReadLine(std::string_view& line);
  bool FindBlock();
  void TakeHeader(const MgfLine& line, MgfBlock& block) const;
  [[noreturn]] void RefuseLine(std::string_view text) const;
  void TakeTitle(std::string_view text, MgfBlock& block) const;
  void CheckComplete(const MgfBlock& block) const;

  std::string m_path;
  File m_file;
  ReadAhead m_bytes{m_file};
  std::size_t m_last_line_bytes = 0;  // of the view, to be consumed before the next line
  std::int64_t m_line_no = 0;
};

}  // namespace tarvek::tools
