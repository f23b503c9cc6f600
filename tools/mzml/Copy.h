// tools/mzml/Copy.h: an mzML file with the determined precursors of its run.
// Does:     copies an mzML file tag by tag and puts the precursors of a run into its spectra.
// Throws:   CopyMzml a std::string naming the file that cannot be read, is damaged, is not of the run
//           or cannot be written.
// Not here: options (mzml/Command.h).
//
// One spectrum is in memory at a time, so the size of the file does not matter.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "mzml/RunPrecursors.h"

namespace tarvek::tools {

enum class PrecursorForm {
  kAll,   // a selected ion for each precursor
  kSplit  // a spectrum for each precursor
};

struct CopyOptions {
  PrecursorForm m_form = PrecursorForm::kAll;
  std::size_t m_top = std::numeric_limits<std::size_t>::max();  // precursors used for each scan
};

struct CopyCounts {
  std::int64_t m_spectra = 0;     // written
  std::int64_t m_determined = 0;  // scans with determined precursors instead of declared ones
  std::int64_t m_precursors = 0;  // theirs
  std::int64_t m_kept = 0;        // scans without determined precursors
  std::int64_t m_without = 0;     // scans with no element for precursors
};

CopyCounts CopyMzml(const RunPrecursors& run, const std::string& input, const std::string& output,
                    const CopyOptions& options);

}  // namespace tarvek::tools
