// extractor/XmlElements.h: the elements of mzML and mzXML.
// Does:     lists which elements of mzML 1.1, with or without index, and of mzXML 2 and 3 may be
//           inside which, and those of mzML 1.0 and mzXML 1 that differ.
// Throws:   nothing.
// Not here: their meaning (MzmlReader.cpp, MzxmlReader.cpp).
#pragma once

#include <span>
#include <string_view>

namespace tarvek::extractor {

/// The elements that a reader uses.
enum class Element {
  kPassedOver,  // unknown to the format, or inside an unknown one
  kOther,       // known, but no reader uses it
  kReferenceableParamGroup,
  kReferenceableParamGroupRef,
  kCvParam,
  kUserParam,
  kInstrumentConfiguration,
  kAnalyzer,
  kDetector,
  kRun,
  kSpectrumList,
  kSpectrum,
  kSpectrumDescription,
  kScan,
  kPrecursor,
  kIsolationWindow,
  kSelectedIon,
  kActivation,
  kBinaryDataArray,
  kBinary,
  kMsRun,
  kOldInstrument,
  kMsInstrument,
  kMsManufacturer,
  kMsModel,
  kMsMassAnalyzer,
  kMsDetector,
  kDataProcessing,
  kPrecursorMz,
  kPeaks
};

/// Where one element may be.
struct ElementRule {
  std::string_view m_name;
  // Names of elements between blanks. "/" is the top of the file; "*" is every element of the
  // format that may contain elements.
  std::string_view m_parents;
  Element m_element = Element::kOther;
  bool m_holds_elements = true;
};

std::span<const ElementRule> MzmlRules();
std::span<const ElementRule> MzxmlRules();

}  // namespace tarvek::extractor
