// tools/simulate/Realism.h: what makes a run as uneven as real ones.
// Does:     says how large each effect is for a degree of realism: 0 is the model without it, 1 as
//           in real runs of usual amounts, more as in runs of small amounts.
// Owns:     nothing.
// Throws:   nothing.
// Not here: the model itself (simulate/Elution.h, simulate/Instrument.h, simulate/Fragments.h),
//           which asks these functions. With 0 it must draw no random number for them, so that its
//           bytes stay the same.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "simulate/Elution.h"
#include "simulate/Instrument.h"
#include "simulate/Random.h"

namespace tarvek::tools {

/// Times of scans, in those of the model. Real instruments of the runs compared with are slower.
double ScanSlowdown(double realism);

/// Longer tails for all, second peaks for some.
void MakeUneven(double realism, Random& random, ElutionProfile& profile);

/// Currents of peptides, in those of the model: less for small samples, whose realism is above 1.
double PeptideAmount(double realism);

/// How often a peptide brings a modified or homologous form along.
double VariantChance(double realism);

/// sequence with one residue deamidated or oxidised (m), or one CH2 heavier; sequence itself when
/// it has no such residue.
std::string VariantSequence(const std::string& sequence, Random& random);

/// Number of contaminant ions of one and two charges.
std::size_t ContaminantCount(double realism);

/// The spray of one survey: multiplies all lines by one factor, which sometimes is a breakdown, and
/// those of each of the sources by another. lines: their m_source is below sources.
void ShakeSpray(double realism, std::size_t sources, Random& random, std::vector<Emission>& lines);

/// Errors of m/z and intensity, in those of the model.
double MzErrorGrowth(double realism);
double IntensityErrorGrowth(double realism);

/// How often a peak of this height, in detection limits, is missing from a scan.
double DropoutChance(double realism, double limits);

/// What fragmentation leaves of a precursor, in what it leaves in the model; scatter of the
/// intensities of single fragments, likewise.
double PrecursorLeft(double realism, Random& random);
double SeriesGrowth(double realism);

}  // namespace tarvek::tools
