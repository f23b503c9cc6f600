#include "mgf/Profiles.h"

#include <algorithm>
#include <array>

#include "NumberText.h"

namespace tarvek::tools {
namespace {

constexpr std::array<MgfProfile, 7> kProfiles = {{
    {"comet", MgfTitleForm::kDta, MgfScans::kScan, false, true},
    {"xtandem", MgfTitleForm::kDta, MgfScans::kNone, false, false},
    {"msgf", MgfTitleForm::kDta, MgfScans::kScan, false, false},
    {"msfragger", MgfTitleForm::kPlaceAsScan, MgfScans::kPlace, false, false},
    {"sage", MgfTitleForm::kDta, MgfScans::kNone, true, false},
    {"metamorpheus", MgfTitleForm::kDta, MgfScans::kPlace, false, false},
    {"mascot", MgfTitleForm::kDta, MgfScans::kScan, true, false},
}};

void AppendTitle(std::string& text, const MgfBlock& block, MgfTitleForm form, std::int64_t place) {
  const std::string run = WithoutDots(block.m_run);
  if (form == MgfTitleForm::kDta) {
    AppendMgfTitle(text, {run, block.m_scan_no, block.m_charge, block.m_index});
    return;
  }
  text.append(MgfBeginning(MgfToken::kTitle)).append(run);
  for (const std::int64_t field : {place, place, std::int64_t{block.m_charge}}) {
    text += '.';
    AppendInteger(text, field);
  }
  text += '\n';
}

void AppendLine(std::string& text, std::string_view beginning, std::string_view value) {
  text.append(beginning).append(value).append("\n");
}

void AppendLine(std::string& text, MgfToken token, std::string_view value) {
  AppendLine(text, MgfBeginning(token), value);
}

}  // namespace

std::span<const MgfProfile> MgfProfiles() { return kProfiles; }

const MgfProfile* FindMgfProfile(std::string_view engine) {
  const auto profile = std::ranges::find(kProfiles, engine, &MgfProfile::m_engine);
  return profile == kProfiles.end() ? nullptr : &*profile;
}

std::string WithoutDots(std::string_view text) {
  std::string safe(text);
  std::ranges::replace(safe, '.', '_');
  return safe;
}

void AppendMgfBlock(std::string& text, const MgfBlock& block, const MgfProfile& profile,
                    std::int64_t place) {
  AppendLine(text, MgfToken::kBegin, {});
  AppendTitle(text, block, profile.m_title, place);
  if (profile.m_scans != MgfScans::kNone)
    AppendLine(text, "SCANS=",
               std::to_string(profile.m_scans == MgfScans::kScan ? block.m_scan_no : place));
  AppendLine(text, MgfToken::kCharge, block.m_charge_text);
  AppendLine(text, MgfToken::kTime, block.m_rt_text);
  AppendLine(text, MgfToken::kPepmass, block.m_pepmass_text);
  text += block.m_peaks;
  AppendLine(text, MgfToken::kEnd, {});
}

}  // namespace tarvek::tools
