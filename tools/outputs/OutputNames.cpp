#include "outputs/OutputNames.h"

#include <algorithm>

#include "RunDriver.h"
#include "SpectrumRecords.h"

namespace tarvek::tools {

SplitName SplitOutputName(std::string_view stem) {
  const std::size_t underscore = stem.rfind('_');
  if (underscore == std::string_view::npos) return {stem, {}};
  const std::string_view words = stem.substr(underscore + 1);
  for (const std::string_view activation : kActivationTypes)
    for (const std::string_view instrument : kInstrumentTypes)
      if (words.starts_with(activation) && words.substr(activation.size()) == instrument)
        return {stem.substr(0, underscore), words};
  return {stem, {}};
}

std::string_view RunOfBinaryPair(std::string_view stem) {
  const std::size_t dot = stem.rfind('.');
  const bool has_format =
      dot != std::string_view::npos &&
      std::ranges::find(kInstrumentFormats, stem.substr(dot + 1)) != kInstrumentFormats.end();
  return has_format ? stem.substr(0, dot) : stem;
}

}  // namespace tarvek::tools
