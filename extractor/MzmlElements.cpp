#include "MzmlElements.h"

namespace tarvek::extractor {
namespace {

using namespace mzml;

constexpr bool kLeaf = false;

// Parameters may be in every element that holds elements: those that the schema gives them to, and
// the others, where they mean nothing. A list may be left out around scan, precursor, selectedIon
// and binaryDataArray. spectrumDescription is of mzML 1.0, and so are the parents next to it.
constexpr ElementRule kRules[] = {
    {kIndexedMzml, "indexedmzML", "/"},
    {kMzml, "mzML", "/ indexedmzML"},
    {kIndexList, "indexList", "indexedmzML"},
    {kIndex, "index", "indexList"},
    {kOffset, "offset", "index", kLeaf},
    {kIndexListOffset, "indexListOffset", "indexedmzML", kLeaf},
    {kFileChecksum, "fileChecksum", "indexedmzML", kLeaf},
    {kCvList, "cvList", "mzML"},
    {kCv, "cv", "cvList", kLeaf},
    {kFileDescription, "fileDescription", "mzML"},
    {kFileContent, "fileContent", "fileDescription"},
    {kSourceFileList, "sourceFileList", "fileDescription"},
    {kSourceFile, "sourceFile", "sourceFileList"},
    {kContact, "contact", "fileDescription"},
    {kReferenceableParamGroupList, "referenceableParamGroupList", "mzML"},
    {kReferenceableParamGroup, "referenceableParamGroup", "referenceableParamGroupList"},
    {kReferenceableParamGroupRef, "referenceableParamGroupRef", "*", kLeaf},
    {kCvParam, "cvParam", "*", kLeaf},
    {kUserParam, "userParam", "*", kLeaf},
    {kSampleList, "sampleList", "mzML"},
    {kSample, "sample", "sampleList"},
    {kSoftwareList, "softwareList", "mzML"},
    {kSoftware, "software", "softwareList"},
    {kSoftwareRef, "softwareRef", "instrumentConfiguration scanSettings", kLeaf},
    {kScanSettingsList, "scanSettingsList", "mzML"},
    {kScanSettings, "scanSettings", "scanSettingsList"},
    {kSourceFileRefList, "sourceFileRefList", "scanSettings run"},
    {kSourceFileRef, "sourceFileRef", "sourceFileRefList", kLeaf},
    {kTargetList, "targetList", "scanSettings"},
    {kTarget, "target", "targetList"},
    {kInstrumentConfigurationList, "instrumentConfigurationList", "mzML"},
    {kInstrumentConfiguration, "instrumentConfiguration", "instrumentConfigurationList"},
    {kComponentList, "componentList", "instrumentConfiguration"},
    {kSource, "source", "componentList"},
    {kAnalyzer, "analyzer", "componentList"},
    {kDetector, "detector", "componentList"},
    {kDataProcessingList, "dataProcessingList", "mzML"},
    {kDataProcessing, "dataProcessing", "dataProcessingList"},
    {kProcessingMethod, "processingMethod", "dataProcessing"},
    {kRun, "run", "mzML"},
    {kSpectrumList, "spectrumList", "run"},
    {kSpectrum, "spectrum", "spectrumList"},
    {kSpectrumDescription, "spectrumDescription", "spectrum"},
    {kScanList, "scanList", "spectrum spectrumDescription"},
    {kScan, "scan", "scanList spectrum spectrumDescription"},
    {kScanWindowList, "scanWindowList", "scan"},
    {kScanWindow, "scanWindow", "scanWindowList"},
    {kPrecursorList, "precursorList", "spectrum spectrumDescription"},
    {kPrecursor, "precursor", "precursorList spectrum spectrumDescription chromatogram"},
    {kIsolationWindow, "isolationWindow", "precursor product"},
    {kSelectedIonList, "selectedIonList", "precursor"},
    {kSelectedIon, "selectedIon", "selectedIonList precursor"},
    {kActivation, "activation", "precursor"},
    {kProductList, "productList", "spectrum spectrumDescription"},
    {kProduct, "product", "productList chromatogram"},
    {kBinaryDataArrayList, "binaryDataArrayList", "spectrum chromatogram"},
    {kBinaryDataArray, "binaryDataArray", "binaryDataArrayList spectrum chromatogram"},
    {kBinary, "binary", "binaryDataArray", kLeaf},
    {kChromatogramList, "chromatogramList", "run"},
    {kChromatogram, "chromatogram", "chromatogramList"},
};

static_assert(AreInOrder(kRules));

}  // namespace

std::span<const ElementRule> MzmlRules() { return kRules; }

}  // namespace tarvek::extractor
