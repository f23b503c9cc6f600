// tests/support/NativePath.h: expected paths are written with '/' on every system.
#pragma once

#include <algorithm>
#include <string>

#include "Platform.h"

namespace tarvek::test {

/// path with the separator of this system.
inline std::string Native(std::string path) {
  std::ranges::replace(path, '/', kPathSeparator);
  return path;
}

}  // namespace tarvek::test
