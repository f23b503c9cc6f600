// tools/calibrate/Rewrite.h: the outputs of a finished run, written again with corrected m/z.
// Does:     corrects precursors in the table, in MGF and PF2, fragments in MGF and PF2 that are not of
//           ion traps, and the peaks of surveys in PF1; keeps formats, orders and decimals; notes the
//           calibration in the record of the run.
// Throws:   a std::string naming the file that cannot be read, is damaged or cannot be written; the
//           old files are then unchanged, unless renaming itself failed.
// Not here: the calibration (calibrate/Estimator.h).
//
// All files are complete under temporary names before the first is replaced. Then the table is
// removed, so that a run interrupted here counts as unfinished; the others take their names, the
// record and the table last.
#pragma once

#include "calibrate/Calibration.h"
#include "calibrate/RunSpectra.h"

namespace tarvek::tools {

/// The declared precursors of the table stay as the input has them. With a calibration that is off,
/// only the record is written. Throws for a run that is calibrated already.
void ApplyCalibration(const OutputFiles& files, const Calibration& calibration);

}  // namespace tarvek::tools
