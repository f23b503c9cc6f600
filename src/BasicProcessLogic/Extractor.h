// BasicProcessLogic/Extractor.h: the external program that turns instrument files into spectra.
#pragma once

#include <string>

#include "UserParameters.h"

namespace tarvek {

/// Converts the current file. mode: "ms" for spectra, "mgf" for an MGF file.
/// Throws a std::string naming the file.
void runExtractor(const UserParameters& parameters, const std::string& mode);

}  // namespace tarvek
