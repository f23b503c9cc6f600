// tools/outputs/DeclaredWidth.h: the width of the isolation windows, as an instrument file declares it.
// Does:     looks at the first MS2 scans of an mzML or mzXML file, plain or gzip.
// Throws:   nothing but std::bad_alloc.
// Not here: the widths of a whole file (check/Account.h).
#pragma once

#include <optional>
#include <string>

namespace tarvek::tools {

/// Whether the isolation_width of a run differs from the declared one by more than a tenth of that.
bool IsOtherWidth(double declared_mz, double setting_mz);

/// MS2 scans that are looked at: enough to tell what a method isolates.
inline constexpr int kScansForWidth = 1000;

/// The full width in m/z of most of the first kScansForWidth MS2 scans that declare one, the smaller
/// one of equals. Nothing when none does, or when the file cannot be read that far: what is wrong
/// with it is for others to say.
std::optional<double> DeclaredWidthOf(const std::string& path);

}  // namespace tarvek::tools
