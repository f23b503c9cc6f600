// tools/psms/Readers.h: the result files of search engines, match by match.
// Does:     tells by its content which engine wrote a file, and hands over each match in the order of
//           the file. Nothing of a match is kept.
// Owns:     of an mzIdentML file its proteins and peptides, which stand before the matches.
// Throws:   a std::string naming file and line ("PATH, line N: ..." of a table, "PATH: line N, byte B:
//           ..." of XML) for what cannot be read, or the file alone when it is of no known kind.
// Not here: what is made of the matches (psms/Blocks.h). The files: docs/psms.md.
#pragma once

#include <functional>
#include <string>

#include "psms/Match.h"

namespace tarvek::tools {

/// Gets each match; what it takes out of it is its own.
using MatchTaker = std::function<void(EngineMatch&)>;

void ReadMatches(const std::string& path, const MatchTaker& take);

/// One reader for each kind.
void ReadCometText(const std::string& path, const MatchTaker& take);
void ReadCometPin(const std::string& path, const MatchTaker& take);
void ReadMsFragger(const std::string& path, const MatchTaker& take);
void ReadSage(const std::string& path, const MatchTaker& take);
void ReadMsGf(const std::string& path, const MatchTaker& take);

/// X!Tandem or mzIdentML, told by the root element; plain or gzip.
void ReadXmlMatches(const std::string& path, const MatchTaker& take);

/// Run, scan, index and title from the title of a spectrum of tarvek; only the title from another.
void TakeTitle(EngineMatch& match, std::string_view title);

}  // namespace tarvek::tools
