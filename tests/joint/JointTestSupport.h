// tests/joint/JointTestSupport.h: MS1 scans made by hand for the joint determination.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "IsotopeTable.h"
#include "LaneTable.h"
#include "SpectrumUtils.h"

namespace tarvek::test {

/// Ten MS1 scans of numbers 1 to 10 and an MS2 scan of the fifth.
struct JointScene {
  JointScene() {
    for (int i = 0; i < 10; ++i) {
      m_store.emplace_back();
      m_store.back().m_scan_no = i + 1;
    }
    m_ms2.m_scan_no = 11;
    m_ms2.m_precursor_scan = 5;
  }

  /// Adds the first five isotopes of an ion to the scans, Gaussian in time with its apex at scan 5.
  void AddIon(double mz, int charge, double height, double sigma_scans = 3.0) {
    const IsotopeRow& row = LookUpIsotopeRow({mz, charge});
    for (int scan = 0; scan < 10; ++scan) {
      const double off = (scan - 4) / sigma_scans;
      for (std::size_t i = 0; i < row.size(); ++i)
        m_store[static_cast<std::size_t>(scan)].m_peaks.push_back(
            {mz + static_cast<double>(i) * 1.003 / charge,
             height * row[i] * std::exp(-0.5 * off * off)});
    }
    for (MS1Spectrum& spectrum : m_store) SortByMz(spectrum.m_peaks);
  }

  Ms1Store m_store;
  MS2Spectrum m_ms2;
};

}  // namespace tarvek::test
