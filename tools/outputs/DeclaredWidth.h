// tools/outputs/DeclaredWidth.h: the width of the isolation windows that an instrument file
// declares.
// Does:     looks at the first MS2 scans of an mzML or mzXML file, plain or gzip.
// Throws:   nothing but std::bad_alloc.
// Not here: the widths of a whole file (check/Account.h).
#pragma once

#include <optional>
#include <string>

namespace tarvek::tools {

/// Whether the isolation_width of a run is more than a tenth off the declared one.
bool IsOtherWidth(double declared_mz, double setting_mz);

/// A smaller width is 0 in hundredths of m/z, and counts as none.
inline constexpr double kLeastWidth = 0.005;

/// How many MS2 scans are read: enough to see what a method isolates.
inline constexpr int kScansForWidth = 1000;

/// The commonest full width in m/z among the first kScansForWidth MS2 scans that declare one; of
/// equally common ones the smaller. std::nullopt when none does, or when the file cannot be read
/// that far: others report the error.
std::optional<double> DeclaredWidthOf(const std::string& path);

}  // namespace tarvek::tools
