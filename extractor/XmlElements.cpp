#include "XmlElements.h"

namespace tarvek::extractor {
namespace {

using enum Element;

constexpr bool kLeaf = false;

// Parameters are allowed in every element that contains elements, even where the schema does not
// have them; there they mean nothing. A list may be missing around its elements. The index may be
// inside mzML, and lists of precursors and products around those of a chromatogram.
// spectrumDescription and the parents next to it belong to mzML 1.0.
constexpr ElementRule kMzmlRules[] = {
    {"indexedmzML", "/"},
    {"mzML", "/ indexedmzML"},
    {"indexList", "indexedmzML mzML"},
    {"index", "indexList indexedmzML"},
    {"offset", "index", kOther, kLeaf},
    {"indexListOffset", "indexedmzML mzML", kOther, kLeaf},
    {"fileChecksum", "indexedmzML mzML", kOther, kLeaf},
    {"cvList", "mzML"},
    {"cv", "cvList mzML", kOther, kLeaf},
    {"fileDescription", "mzML"},
    {"fileContent", "fileDescription"},
    {"sourceFileList", "fileDescription"},
    {"sourceFile", "sourceFileList fileDescription"},
    {"contact", "fileDescription"},
    {"referenceableParamGroupList", "mzML"},
    {"referenceableParamGroup", "referenceableParamGroupList mzML", kReferenceableParamGroup},
    {"referenceableParamGroupRef", "*", kReferenceableParamGroupRef, kLeaf},
    {"cvParam", "*", kCvParam, kLeaf},
    {"userParam", "*", kUserParam, kLeaf},
    {"sampleList", "mzML"},
    {"sample", "sampleList mzML"},
    {"softwareList", "mzML"},
    {"software", "softwareList mzML"},
    {"softwareRef", "instrumentConfiguration scanSettings dataProcessing processingMethod", kOther,
     kLeaf},
    {"scanSettingsList", "mzML"},
    {"scanSettings", "scanSettingsList mzML"},
    {"sourceFileRefList", "scanSettings run"},
    {"sourceFileRef", "sourceFileRefList scanSettings run", kOther, kLeaf},
    {"targetList", "scanSettings"},
    {"target", "targetList scanSettings"},
    {"instrumentConfigurationList", "mzML"},
    {"instrumentConfiguration", "instrumentConfigurationList mzML", kInstrumentConfiguration},
    {"componentList", "instrumentConfiguration"},
    {"source", "componentList instrumentConfiguration"},
    {"analyzer", "componentList instrumentConfiguration", kAnalyzer},
    {"detector", "componentList instrumentConfiguration", kDetector},
    {"dataProcessingList", "mzML"},
    {"dataProcessing", "dataProcessingList mzML"},
    {"processingMethod", "dataProcessing"},
    {"run", "mzML", kRun},
    {"spectrumList", "run", kSpectrumList},
    {"spectrum", "spectrumList run", kSpectrum},
    {"spectrumDescription", "spectrum", kSpectrumDescription},
    {"scanList", "spectrum spectrumDescription"},
    {"scan", "scanList spectrum spectrumDescription", kScan},
    {"scanWindowList", "scan"},
    {"scanWindow", "scanWindowList scan"},
    {"precursorList", "spectrum spectrumDescription chromatogram"},
    {"precursor", "precursorList spectrum spectrumDescription chromatogram", kPrecursor},
    {"isolationWindow", "precursor product", kIsolationWindow},
    {"selectedIonList", "precursor"},
    {"selectedIon", "selectedIonList precursor", kSelectedIon},
    {"activation", "precursor", kActivation},
    {"productList", "spectrum spectrumDescription chromatogram"},
    {"product", "productList spectrum spectrumDescription chromatogram"},
    {"binaryDataArrayList", "spectrum chromatogram"},
    {"binaryDataArray", "binaryDataArrayList spectrum chromatogram", kBinaryDataArray},
    {"binary", "binaryDataArray", kBinary, kLeaf},
    {"chromatogramList", "run"},
    {"chromatogram", "chromatogramList run"},
};

// The element instrument belongs to mzXML 1, which sometimes has msRun as its root.
constexpr ElementRule kMzxmlRules[] = {
    {"mzXML", "/"},
    {"msRun", "/ mzXML", kMsRun},
    {"parentFile", "msRun"},
    {"instrument", "msRun", kOldInstrument},
    {"msInstrument", "msRun", kMsInstrument},
    {"msManufacturer", "msInstrument", kMsManufacturer},
    {"msModel", "msInstrument", kMsModel},
    {"msIonisation", "msInstrument"},
    {"msMassAnalyzer", "msInstrument", kMsMassAnalyzer},
    {"msDetector", "msInstrument", kMsDetector},
    {"msResolution", "msInstrument"},
    {"software", "msInstrument instrument dataProcessing msRun"},
    {"operator", "msRun msInstrument instrument dataProcessing separation"},
    {"dataProcessing", "msRun", kDataProcessing},
    {"processingOperation", "dataProcessing"},
    {"separation", "msRun"},
    {"separationTechnique", "separation"},
    {"spotting", "msRun"},
    {"plate", "spotting"},
    {"pattern", "plate"},
    {"spot", "plate"},
    {"orientation", "pattern"},
    {"robot", "spotting"},
    {"scan", "msRun scan", kScan},
    {"scanOrigin", "scan"},
    {"precursorMz", "scan", kPrecursorMz, kLeaf},
    {"maldi", "scan"},
    {"peaks", "scan", kPeaks, kLeaf},
    {"nameValue", "*", kOther, kLeaf},
    {"comment", "*", kOther, kLeaf},
    {"index", "mzXML msRun"},
    {"offset", "index", kOther, kLeaf},
    {"indexOffset", "mzXML msRun", kOther, kLeaf},
    {"sha1", "mzXML msRun", kOther, kLeaf},
};

}  // namespace

std::span<const ElementRule> MzmlRules() { return kMzmlRules; }

std::span<const ElementRule> MzxmlRules() { return kMzxmlRules; }

}  // namespace tarvek::extractor
