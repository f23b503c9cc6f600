#include "outputs/CanonicalPath.h"

#include <filesystem>
#include <system_error>

namespace tarvek::tools {

std::string CanonicalPath(const std::string& path) {
  std::error_code error;
  // Of a path whose first part does not exist, weakly_canonical alone stays relative.
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) return path;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, error);
  return error ? path : canonical.string();
}

}  // namespace tarvek::tools
