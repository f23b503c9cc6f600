#include "FragmentPairs.h"

#include <algorithm>
#include <cmath>

namespace tarvek::joint {
namespace {

constexpr std::size_t kMostFragments = 80;

}  // namespace

void FragmentPairs::Take(const std::vector<Peak>& fragments, double tol_ppm) {
  m_tol_ppm = tol_ppm;
  m_total = 0.0;
  m_strongest.assign(fragments.begin(), fragments.end());
  if (m_strongest.size() > kMostFragments) {
    // Of peaks of equal intensity the one with the lower m/z comes first, so that all machines
    // agree.
    const auto stronger = [](const Peak& a, const Peak& b) {
      return a.m_intensity != b.m_intensity ? a.m_intensity > b.m_intensity : a.m_mz < b.m_mz;
    };
    std::ranges::nth_element(m_strongest, m_strongest.begin() + kMostFragments, stronger);
    m_strongest.resize(kMostFragments);
    std::ranges::sort(m_strongest, {}, &Peak::m_mz);
  }
  m_roots.clear();
  for (const Peak& peak : m_strongest) {
    m_total += peak.m_intensity;
    m_roots.push_back(std::sqrt(peak.m_intensity));
  }
}

double FragmentPairs::PairShare(double mass_da) const {
  if (!(m_total > 0.0)) return 0.0;
  const double wanted = mass_da + 2.0 * kProtonMass;
  const double tol = m_tol_ppm * 1e-6 * wanted;
  double sum = 0.0;
  std::size_t high = m_strongest.size();
  for (std::size_t low = 0; low < high; ++low) {
    const double rest = wanted - m_strongest[low].m_mz;
    while (high > low && m_strongest[high - 1].m_mz > rest + tol) --high;
    for (std::size_t i = high; i > low + 1 && m_strongest[i - 1].m_mz >= rest - tol; --i)
      sum += m_roots[low] * m_roots[i - 1];
  }
  return sum / m_total;
}

double FragmentPairs::ShareAt(double mz) const {
  if (!(m_total > 0.0)) return 0.0;
  double sum = 0.0;
  for (const Peak& peak : peaks_in_window(m_strongest, mz, m_tol_ppm, true))
    sum += peak.m_intensity;
  return sum / m_total;
}

double FragmentPairs::ShareAbove(double mz) const {
  if (!(m_total > 0.0)) return 0.0;
  double sum = 0.0;
  for (auto peak = m_strongest.rbegin(); peak != m_strongest.rend() && peak->m_mz > mz; ++peak)
    sum += peak->m_intensity;
  return sum / m_total;
}

}  // namespace tarvek::joint
