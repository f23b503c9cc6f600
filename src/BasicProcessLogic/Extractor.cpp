#include "Extractor.h"

namespace tarvek {

void runExtractor(const UserParameters& parameters, const std::string&) {
  throw "Instrument files are not read in this version yet: " + parameters.m_current_file +
      ". Extract its spectra to .ms1 and .ms2 and give the .ms1 file.";
}

}  // namespace tarvek
