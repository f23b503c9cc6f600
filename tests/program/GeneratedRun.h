// tests/program/GeneratedRun.h: spectra made up for tests that need more than a handful of them.
// Does:     writes .ms1/.ms2 text, the same for the same seed on every machine.
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

}  // namespace tarvek::test
