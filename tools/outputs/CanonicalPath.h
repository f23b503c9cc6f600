// tools/outputs/CanonicalPath.h: one spelling for the paths of one file.
// Does:     makes a path absolute and takes out what it is spelt with: ".", "..", links.
// Throws:   nothing but std::bad_alloc.
// Not here: what follows from two paths being one.
#pragma once

#include <string>

namespace tarvek::tools {

/// The same text for all spellings of a path, which need not exist; path itself when the system
/// cannot tell.
std::string CanonicalPath(const std::string& path);

}  // namespace tarvek::tools
