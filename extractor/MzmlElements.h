// extractor/MzmlElements.h: the elements of mzML.
// Does:     names the elements of mzML 1.1, with or without index, and of 1.0 where it differs, and
//           says which may be inside which.
// Throws:   nothing.
// Not here: what they mean (MzmlReader.h).
#pragma once

#include <span>

#include "ElementNesting.h"

namespace tarvek::extractor {

namespace mzml {

enum Element : int {
  kIndexedMzml,
  kMzml,
  kIndexList,
  kIndex,
  kOffset,
  kIndexListOffset,
  kFileChecksum,
  kCvList,
  kCv,
  kFileDescription,
  kFileContent,
  kSourceFileList,
  kSourceFile,
  kContact,
  kReferenceableParamGroupList,
  kReferenceableParamGroup,
  kReferenceableParamGroupRef,
  kCvParam,
  kUserParam,
  kSampleList,
  kSample,
  kSoftwareList,
  kSoftware,
  kSoftwareRef,
  kScanSettingsList,
  kScanSettings,
  kSourceFileRefList,
  kSourceFileRef,
  kTargetList,
  kTarget,
  kInstrumentConfigurationList,
  kInstrumentConfiguration,
  kComponentList,
  kSource,
  kAnalyzer,
  kDetector,
  kDataProcessingList,
  kDataProcessing,
  kProcessingMethod,
  kRun,
  kSpectrumList,
  kSpectrum,
  kSpectrumDescription,
  kScanList,
  kScan,
  kScanWindowList,
  kScanWindow,
  kPrecursorList,
  kPrecursor,
  kIsolationWindow,
  kSelectedIonList,
  kSelectedIon,
  kActivation,
  kProductList,
  kProduct,
  kBinaryDataArrayList,
  kBinaryDataArray,
  kBinary,
  kChromatogramList,
  kChromatogram
};

}  // namespace mzml

/// One rule for each mzml::Element, in its order.
std::span<const ElementRule> MzmlRules();

}  // namespace tarvek::extractor
