// tools/psms/Readers.h: the result files of search engines, match by match.
// Does:     recognises by its contents which engine wrote a file, and passes on each match in the
//           order of the file. Keeps no match.
// Owns:     the proteins and peptides of an mzIdentML file, which come before the matches.
// Throws:   a std::string naming file and line ("PATH, line N: ..." of a table, "PATH: line N, byte B:
//           ..." of XML) for what cannot be read and for more than any result has (psms/ResultLimits.h),
//           or only the file when its kind is unknown.
// Not here: using the matches (psms/Blocks.h). The files: docs/psms.md.
#pragma once

#include <functional>
#include <string>

#include "psms/Match.h"

namespace tarvek::tools {

/// Receives each match and may move from it.
using MatchTaker = std::function<void(EngineMatch&)>;

void ReadMatches(const std::string& path, const MatchTaker& take);

/// One reader for each kind.
void ReadCometText(const std::string& path, const MatchTaker& take);
void ReadCometPin(const std::string& path, const MatchTaker& take);
void ReadMsFragger(const std::string& path, const MatchTaker& take);
void ReadSage(const std::string& path, const MatchTaker& take);
void ReadMsGf(const std::string& path, const MatchTaker& take);

/// X!Tandem or mzIdentML, by the root element; plain or gzip.
void ReadXmlMatches(const std::string& path, const MatchTaker& take);

/// Run, scan, index and title from the title of a spectrum of tarvek; from another, only the title.
void TakeTitle(EngineMatch& match, std::string_view title);

}  // namespace tarvek::tools
