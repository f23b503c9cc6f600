// extractor/PeakPicker.h: profile spectra to centroids.
// Does:     tells profile from centroid data by looking; finds the peaks of a profile.
// Throws:   nothing but std::bad_alloc.
// Not here: when a spectrum is picked (PeakPreparation.h).
//
// The picker is made for well-resolved data whose peaks have five samples or more:
//  - Samples belong together while neither a zero nor a gap of more than three times the spacing
//    before lies between them.
//  - A maximum is a sample higher than the one before and not lower than the one after, with one
//    such neighbour at least. A maximum that does not stand out of the valley to a higher neighbour
//    by a fiftieth of its height is a ripple of that neighbour.
//  - m/z is the apex of the parabola through the logarithms of the three highest samples, the form
//    of a Gaussian; where a neighbour is missing, their centroid. Intensity is the height there.
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

/// The peaks of a profile, ascending in m/z. samples: ascending in m/z, intensities not negative.
std::vector<Peak> PickPeaks(std::span<const Peak> samples);

}  // namespace tarvek::extractor
