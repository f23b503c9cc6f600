// extractor/PeakPicker.h: profile spectra to centroids.
// Does:     tells profile from centroid data by the spacing; finds the peaks of a profile.
// Throws:   nothing but std::bad_alloc.
// Not here: when a spectrum is picked (PeakPreparation.h).
//
// The picker is made for well-resolved data with five samples or more per peak, from which a
// converter may have removed the zeros and the samples below a threshold:
//  - The expected spacing at a place is the second smallest of 16 regular ones around it, 8 on each
//    side where possible, relative to m/z. Two consecutive gaps are regular when they are small
//    (100 ppm, or 0.15 Th from an ion trap) and similar, within a factor of 1.5. With fewer than
//    four regular ones, it is the smallest gap of all.
//  - Samples belong to one stretch as long as neither a zero nor a hole separates them. A hole,
//    where samples were removed, is a gap of more than 1.75 times the expected spacing that is also
//    more than 1.5 times the smallest gap of the stretch before it.
//  - A maximum is a sample of a stretch higher than the one before and not lower than the one
//    after. A maximum that rises above the valley to a higher neighbour by less than a fiftieth of
//    its height is a ripple of that neighbour.
//  - m/z is the apex of the parabola through the logarithms of the three highest samples, the form
//    of a Gaussian; intensity is the height there, but at most 1.5 times the highest sample. At the
//    edge of a stretch m/z is the centroid of two samples; when the distances to the neighbours are
//    not similar, only the nearer one counts, too. Then intensity is that of the highest sample.
//  - A stretch of one sample between two zeros is a spike and dropped; where samples next to it
//    were removed, it is the tip of a peak and kept unchanged.
//  - Data without zeros and gaps was not thresholded by the instrument: its noise floor is three
//    times the median sample, and maxima below it are dropped. Other data has no floor.
#pragma once

#include <span>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek::extractor {

enum class DataLook { kUnclear, kCentroid, kProfile };

/// Whether the samples are spaced like a profile. samples: ascending in m/z. is_ion_trap: wide
/// peaks, with samples up to 0.15 Th apart; other analysers sample within 30 ppm. Fewer than five
/// samples count as centroids.
DataLook LookAt(std::span<const Peak> samples, bool is_ion_trap);

/// The peaks of a profile, ascending in m/z. samples: ascending in m/z, finite, intensities not
/// negative. is_ion_trap: as for LookAt.
std::vector<Peak> PickPeaks(std::span<const Peak> samples, bool is_ion_trap);

}  // namespace tarvek::extractor
