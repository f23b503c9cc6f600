// IO/MsTextLook.h: what a .ms1 or .ms2 file is that does not hold the text of its name.
// Does:     looks at the beginning of the file.
// Throws:   what File::Read throws.
// Not here: reading scans, which makes no error of any line (MsTextReader.h).
#pragma once

#include <string>

namespace tarvek {

enum class MsLevel { kMs1, kMs2 };

/// "looks gzipped", "looks like UTF-16" and so on, to go on after the path; empty for the text of spectra of
/// this level, which may also be a header alone, and for what is no regular file. has_scans: whether its reader found any; peak lines with
/// tabs tell nothing then.
std::string FlawOfMsText(const std::string& path, MsLevel level, bool has_scans);

}  // namespace tarvek
