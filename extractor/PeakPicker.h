// extractor/PeakPicker.h: profile spectra to centroids.
// Does:     tells profile from centroid data by looking; finds the peaks of a profile.
// Throws:   nothing but std::bad_alloc.
// Not here: when a spectrum is picked (PeakPreparation.h).
//
// The picker is made for well-resolved data whose peaks have five samples or more, of which a
// converter may have removed the zeros and those below a threshold:
//  - The expected spacing at a place is the second smallest of 16 regular ones around it, 8 on each
//    side where there are so many, as parts of m/z. Regular are two gaps in a row that are close
//    (100 ppm, or 0.15 Th from an ion trap) and similar, by a factor of 1.5. Where fewer than four
//    are regular, it is the smallest gap of all.
//  - Samples belong together, in a stretch, while neither a zero nor a hole lies between them. A
//    hole, where samples were removed, is a gap of more than 1.75 times the expected spacing that is
//    also more than 1.5 times the smallest gap of the stretch before it.
//  - A maximum is a sample of a stretch higher than the one before and not lower than the one after.
//    A maximum that does not stand out of the valley to a higher neighbour by a fiftieth of its
//    height is a ripple of that neighbour.
//  - m/z is the apex of the parabola through the logarithms of the three highest samples, the form
//    of a Gaussian, and intensity the height there, but no more than 1.5 times the highest sample.
//    At the edge of a stretch m/z is the centroid of two samples; of neighbours at distances that are
//    not similar only the nearer counts, too. Intensity is that of the highest sample then.
//  - A stretch of one sample between two zeros is a spike and dropped; where samples were removed
//    beside it, it is the tip of a peak and kept as it is.
//  - Data without zeros and gaps was not thresholded by the instrument: its noise floor is three
//    times the median sample, and maxima below it are dropped. Other data has no floor.
#pragma once

#include <span>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::extractor {

enum class DataLook { kUnclear, kCentroid, kProfile };

/// How the samples are spaced. samples: ascending in m/z. is_ion_trap: wide peaks, whose samples
/// lie up to 0.15 Th apart; other analysers sample within 30 ppm. Fewer than five samples are taken
/// for centroids.
DataLook LookAt(std::span<const Peak> samples, bool is_ion_trap);

/// The peaks of a profile, ascending in m/z. samples: ascending in m/z, finite, intensities not
/// negative. is_ion_trap: as for LookAt.
std::vector<Peak> PickPeaks(std::span<const Peak> samples, bool is_ion_trap);

}  // namespace tarvek::extractor
