// tools/mgf/Profiles.h: the MGF that each search engine needs.
// Does:     names the engines, and writes a block in the form of one of them.
// Throws:   nothing but std::bad_alloc; FindMgfProfile nothing.
// Not here: files (mgf/Output.h). Why each form: docs/search-engines.md.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "mgf/Blocks.h"

namespace tarvek::tools {

enum class MgfTitleForm {
  kDta,         // run.scan.scan.charge.index.dta
  kPlaceAsScan  // run.place.place.charge: the place of the block in its file for the scan number
};

enum class MgfScans { kNone, kScan, kPlace };

struct MgfProfile {
  std::string_view m_engine;
  MgfTitleForm m_title;
  MgfScans m_scans;
  bool m_reads_gzip;
  /// Whether blocks of one scan and one charge go to separate files, because the engine makes the
  /// id of a spectrum from the file name, the scan and the charge.
  bool m_parts_equal_charges;
};

std::span<const MgfProfile> MgfProfiles();

/// Null for a name that no profile has.
const MgfProfile* FindMgfProfile(std::string_view engine);

/// text with '_' for each '.': programs split a title at its dots.
std::string WithoutDots(std::string_view text);

/// Appends the block as the engine reads it. place: of the block in its file, from 1.
void AppendMgfBlock(std::string& text, const MgfBlock& block, const MgfProfile& profile,
                    std::int64_t place);

}  // namespace tarvek::tools
