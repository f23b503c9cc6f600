#include "ProductTexts.h"

namespace tarvek {

std::string_view ProductVersion() { return TARVEK_VERSION; }

}  // namespace tarvek
