#include "calibrate/PeptideIons.h"

#include <algorithm>

namespace tarvek::tools {
namespace {

constexpr double kWaterDa = 18.0105647;
constexpr double kCarbonMonoxideDa = 27.9949146;
constexpr double kSameMassDa = 1e-5;  // two sums of the same atoms

void AddPairs(std::vector<SmallIon>& ions) {
  for (std::size_t i = 0; i < kResiduesDa.size(); ++i)
    for (std::size_t j = i; j < kResiduesDa.size(); ++j) {
      const double b2 = kResiduesDa[i] + kResiduesDa[j] + kExactProtonDa;
      ions.push_back({b2, true});
      ions.push_back({b2 - kCarbonMonoxideDa, false});
    }
}

void AddEnds(std::vector<SmallIon>& ions) {
  for (const double end_da : {kLysineDa, kArginineDa}) {
    const double y1 = end_da + kWaterDa + kExactProtonDa;
    ions.push_back({y1, true});
    for (const double residue_da : kResiduesDa) ions.push_back({y1 + residue_da, true});
  }
}

std::vector<SmallIon> MakeSmallIons() {
  std::vector<SmallIon> ions;
  for (const double residue_da : kResiduesDa)
    ions.push_back({residue_da - kCarbonMonoxideDa + kExactProtonDa, false});
  AddPairs(ions);
  AddEnds(ions);
  std::erase_if(ions, [](const SmallIon& ion) { return ion.m_mz >= kSmallIonsEndMz; });
  std::ranges::stable_sort(ions, {}, &SmallIon::m_mz);
  std::vector<SmallIon> different;
  for (const SmallIon& ion : ions) {
    if (different.empty() || ion.m_mz - different.back().m_mz > kSameMassDa)
      different.push_back(ion);
    else
      different.back().m_has_ladder = different.back().m_has_ladder || ion.m_has_ladder;
  }
  return different;
}

}  // namespace

const std::vector<SmallIon>& SmallIons() {
  static const std::vector<SmallIon> kIons = MakeSmallIons();
  return kIons;
}

}  // namespace tarvek::tools
