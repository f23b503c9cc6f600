// BasicProcessLogic/MgfInput.h: MGF files as input, which are only rewritten as PF2.
// Does:     reads every spectrum and writes it to one PF2 file when PF output is on. MGF holds no
//           MS1 scans, so no precursor can be determined.
// Throws:   what reading and writing throw.
#pragma once

#include "UserParameters.h"

namespace tarvek {

/// Converts the current file, an .mgf file, and writes a record next to the PF2 file; without PF
/// output it writes neither. Skips a file when the output directory has one of the same name:
/// without a given output directory that is the input itself.
void processMgfFile(const UserParameters& parameters);

}  // namespace tarvek
