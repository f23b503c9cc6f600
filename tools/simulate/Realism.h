// tools/simulate/Realism.h: makes a run as uneven as real ones.
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

/// Times of scans relative to the model. The real instruments compared with are slower.
double ScanSlowdown(double realism);

/// Longer tails for all, second peaks for some.
void MakeUneven(double realism, Random& random, ElutionProfile& profile);

/// Currents of peptides relative to the model: smaller for small samples (realism above 1).
double PeptideAmount(double realism);

/// How often a peptide also has a modified or homologous form.
double VariantChance(double realism);

/// sequence with one residue deamidated or oxidised (m), or one CH2 heavier; sequence itself when
/// it has no such residue.
std::string VariantSequence(const std::string& sequence, Random& random);

/// Number of contaminant ions of one and two charges.
std::size_t ContaminantCount(double realism);

/// The spray of one survey: multiplies all lines by one factor, sometimes a breakdown, and the
/// lines of each source by another. lines: their m_source is below sources.
void ShakeSpray(double realism, std::size_t sources, Random& random, std::vector<Emission>& lines);

/// Errors of m/z and intensity relative to the model.
double MzErrorGrowth(double realism);
double IntensityErrorGrowth(double realism);

/// How often a peak of this height, in detection limits, is missing from a scan.
double DropoutChance(double realism, double limits);

/// What fragmentation leaves of a precursor, and the scatter of single fragments' intensities, both
/// relative to the model.
double PrecursorLeft(double realism, Random& random);
double SeriesGrowth(double realism);

}  // namespace tarvek::tools
