// BasicProcessLogic/MgfInput.h: MGF files as input, which are only rewritten as PF2.
#pragma once

#include "UserParameters.h"

namespace tarvek {

/// Converts the current file, an .mgf file. Throws a std::string naming the file.
void processMgfFile(const UserParameters& parameters);

}  // namespace tarvek
