// tools/calibrate/PeptideIons.h: fragment ions that every run of tryptic peptides has.
// Does:     lists residues and their small ions: immonium ions, y1, y2, b2 and a2.
// Throws:   nothing but std::bad_alloc.
// Not here: which of them a spectrum has (calibrate/Evidence.h).
#pragma once

#include <array>
#include <vector>

namespace tarvek::tools {

/// CODATA 2018, in Da. Six decimals, as in the outputs, would be 4 ppb off at m/z 110.
inline constexpr double kExactProtonDa = 1.00727646688;

/// Monoisotopic masses in Da of the residues that differ, ascending: sums of the atomic masses of AME
/// 2020; leucine for isoleucine too, cysteine with carbamidomethyl.
inline constexpr std::array<double, 19> kResiduesDa = {
    57.0214637,  71.0371138,  87.0320284,  97.0527639,  99.0684139,  101.0476785, 113.0840640,
    114.0429275, 115.0269431, 128.0585775, 128.0949631, 129.0425931, 131.0404846, 137.0589119,
    147.0684139, 156.1011110, 160.0306487, 163.0633286, 186.0793129};
inline constexpr double kLysineDa = 128.0949631;
inline constexpr double kArginineDa = 156.1011110;

/// Ions of at least this m/z are left to the ladders.
inline constexpr double kSmallIonsEndMz = 420.0;

struct SmallIon {
  double m_mz = 0.0;
  bool m_has_ladder = false;  // y or b: one residue more makes the next ion of its series
};

/// All of charge 1 below kSmallIonsEndMz, ascending in m/z, each mass once.
const std::vector<SmallIon>& SmallIons();

}  // namespace tarvek::tools
