// tools/explain/Envelopes.h: the envelopes of ions over the survey of an MS2 scan.
// Does:     fits the envelopes of the determined ions together to the survey's peaks, and each
//           declared one alone; assigns peaks to ions; follows each ion through the ten surveys.
// Throws:   nothing but std::bad_alloc.
// Not here: which ions there are (explain/Explainer.h).
#pragma once

#include "SpectrumUtils.h"
#include "explain/Explanation.h"

namespace tarvek::tools {

/// Peaks up to this far outside the window are listed, in m/z.
inline constexpr double kShownBeyondMz = 2.5;

/// An envelope with m/z alone; its heights are not known yet. ion: m/z positive.
IonEnvelope EnvelopeOf(const Precursor& ion);

/// Fills in heights, elution and peaks of explained, which has its ions and window, and the shares
/// of determined ions that are 0. survey: index of the survey in store.
void PutOverSurvey(const Ms1Store& store, std::size_t survey, double tol_ppm,
                   Explanation& explained);

}  // namespace tarvek::tools
