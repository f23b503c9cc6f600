// extractor/MzxmlElements.h: the elements of mzXML.
// Does:     names the elements of mzXML 2 and 3, and of 1 where it differs, and says which may be
//           inside which.
// Throws:   nothing.
// Not here: what they mean (MzxmlReader.h).
#pragma once

#include <span>

#include "ElementNesting.h"

namespace tarvek::extractor {

namespace mzxml {

enum Element : int {
  kMzxml,
  kMsRun,
  kParentFile,
  kOldInstrument,
  kMsInstrument,
  kMsManufacturer,
  kMsModel,
  kMsIonisation,
  kMsMassAnalyzer,
  kMsDetector,
  kMsResolution,
  kSoftware,
  kOperator,
  kDataProcessing,
  kProcessingOperation,
  kSeparation,
  kSeparationTechnique,
  kSpotting,
  kPlate,
  kPattern,
  kSpot,
  kOrientation,
  kRobot,
  kScan,
  kScanOrigin,
  kPrecursorMz,
  kMaldi,
  kPeaks,
  kNameValue,
  kComment,
  kIndex,
  kOffset,
  kIndexOffset,
  kSha1
};

}  // namespace mzxml

/// One rule for each mzxml::Element, in its order.
std::span<const ElementRule> MzxmlRules();

}  // namespace tarvek::extractor
