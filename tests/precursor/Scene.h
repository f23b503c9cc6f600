// tests/precursor/Scene.h: the data around the candidates of one MS2 scan, made by hand.
// Does:     keeps lists, candidates and grid together and makes candidates from them.
// Owns:     all its data; its candidates borrow from it, so it cannot move.
#pragma once

#include <array>
#include <optional>

#include "ElutionGrid.h"
#include "FeaturesExtractor.h"
#include "NaiveDetermination.h"
#include "PrecursorTestSupport.h"
#include "SpectrumUtils.h"

namespace tarvek::test {

struct Scene {
  /// Activation centre 500, isolation width 2, tolerance 0.02 m/z, no peaks.
  Scene() {
    m_params.m_mstolppm = false;
    m_params.m_mstol = 0.02;
    DeriveHalfWidths(m_params);
    m_ms2.m_activation_center = 500.0;
  }

  /// The lists, candidates and grid of a run as the slow twin found them.
  Scene(const ScanRun& run, const naive::Scan& twin)
      : m_params(run.m_params),
        m_ms2(run.m_ms2),
        m_lists(twin.m_window),
        m_candidates(twin.m_candidates) {
    Build(twin.m_filtered);
  }

  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// Puts the lists, or others, into the grid.
  void Build() { Build(m_lists); }
  void Build(const std::array<PeakList, 10>& in_grid) {
    m_grid.Reset(m_params.m_candidate_halfwidth, m_ms2.m_activation_center,
                 m_params.m_extended_halfwidth);
    for (std::size_t p = 0; p < kWindowScans; ++p) m_window[p] = m_lists[p];
    for (std::size_t r = 0; r < in_grid.size(); ++r)
      for (const Peak& peak : in_grid[r]) m_grid.Add(r, peak);
    m_context.emplace(ScanContext{m_params, m_ms2, m_window, m_candidates, m_grid});
  }

  [[nodiscard]] FeaturesExtractor Candidate(const Precursor& precursor) const {
    return FeaturesExtractor(*m_context, precursor);
  }

  UserParameters m_params;
  MS2Spectrum m_ms2;
  std::array<PeakList, 10> m_lists;
  PeakList m_candidates;
  ScanWindow m_window{};
  ElutionGrid m_grid;
  std::optional<ScanContext> m_context;
};

}  // namespace tarvek::test
