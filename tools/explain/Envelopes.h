// tools/explain/Envelopes.h: the envelopes of ions over the survey of an MS2 scan.
// Does:     fits those of the determined ions together to the survey's peaks, each declared one alone;
//           says to which ion a peak belongs; follows each ion through the ten surveys.
// Throws:   nothing but std::bad_alloc.
// Not here: which ions there are (explain/Explainer.h).
#pragma once

#include "SpectrumUtils.h"
#include "explain/Explanation.h"

namespace tarvek::tools {

/// Peaks are listed so far beyond the edges of the window, in m/z.
inline constexpr double kShownBeyondMz = 2.5;

/// An envelope with m/z alone; its heights are not known yet. ion: m/z positive.
IonEnvelope EnvelopeOf(const Precursor& ion);

/// Fills in heights, elution and peaks of explained, whose ions and window are known, and for the
/// determined ions the share of the window where it is 0. survey: place of the survey in store.
void PutOverSurvey(const Ms1Store& store, std::size_t survey, double tol_ppm,
                   Explanation& explained);

}  // namespace tarvek::tools
