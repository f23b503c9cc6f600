// BasicProcessLogic/MgfInput.h: MGF files as input, which are only rewritten as PF2.
// Does:     reads every spectrum and writes it to one PF2 file when PF output is on. MGF holds no
//           MS1 scans, so no precursor can be determined.
// Throws:   what reading and writing throw.
#pragma once

#include "UserParameters.h"

namespace tarvek {

/// Converts the current file, an .mgf file, and writes the record of that beside the PF2 file;
/// without PF output there is neither. It is skipped when a file of its name stands in the
/// output directory, which is the input itself unless an output directory was given.
void processMgfFile(const UserParameters& parameters);

}  // namespace tarvek
