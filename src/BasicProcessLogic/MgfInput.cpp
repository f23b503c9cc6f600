#include "MgfInput.h"

#include <string>

namespace tarvek {

void processMgfFile(const UserParameters& parameters) {
  throw "MGF input is not read in this version yet: " + parameters.m_current_file + ".";
}

}  // namespace tarvek
