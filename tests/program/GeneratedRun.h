// tests/program/GeneratedRun.h: spectra made up for tests that need more than a handful of them.
// Does:     writes .ms1/.ms2 text, the same for the same seed on every machine, and the isotope
//           table for it.
#pragma once

#include <string>

namespace tarvek::test {

struct GeneratedRun {
  std::string m_ms1;
  std::string m_ms2;
};

/// cycles: surveys, each followed by three fragment scans. Every survey holds two eluting ions near
/// m/z 500 and 600 among random peaks.
GeneratedRun GenerateRun(unsigned seed, int cycles);

/// An isotope table with the same envelope in all rows; it falls from the first peak on.
inline std::string FlatIsotopeTable(int row_count) {
  std::string table;
  for (int row = 0; row < row_count; ++row) table += "100 60 20 5 1\n";
  return table;
}

}  // namespace tarvek::test
