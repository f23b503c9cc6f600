#include "outputs/OutputNames.h"

#include <filesystem>
#include <system_error>

#include "InputFormats.h"
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
  const bool has_dot = dot != std::string_view::npos;
  return has_dot && IsInstrumentFormat(stem.substr(dot + 1)) ? stem.substr(0, dot) : stem;
}

std::string CanonicalPath(const std::string& path) {
  std::error_code error;
  // weakly_canonical alone leaves a path relative when its first part does not exist.
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) return path;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, error);
  return error ? path : canonical.string();
}

}  // namespace tarvek::tools
