// IO/ScanCompletion.h: the last step of reading a scan from text.
// Does:     orders the peaks; removes declared precursors without m/z or charge, with a notice for
//           each; copies the rest to m_orig_precursors.
// Throws:   nothing but std::bad_alloc.
// Not here: how a scan is read; the filter on determined precursors.
#pragma once

#include "Notice.h"
#include "SpectrumRecords.h"

namespace tarvek {

/// Sorts the peaks by ascending m/z; peaks of equal m/z keep their order.
void CompleteScan(MS1Spectrum& scan, NoticeTaker notice = TakeSilently);

/// Also removes every precursor that is not IsUsable, with a notice of kWarn for each, and copies
/// the remaining ones to m_orig_precursors.
void CompleteScan(MS2Spectrum& scan, NoticeTaker notice = TakeSilently);

}  // namespace tarvek
