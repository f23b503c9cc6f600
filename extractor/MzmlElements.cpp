#include "MzmlElements.h"

namespace tarvek::extractor {
namespace {

using namespace mzml;

constexpr bool kLeaf = false;

// Parameters may be in every element that holds elements: those that the schema gives them to, and
// the others, where they mean nothing. A list may be left out around its elements. The index may be
// inside mzML, and lists of precursors and products around those of a chromatogram.
// spectrumDescription is of mzML 1.0, and so are the parents next to it.
constexpr ElementRule kRules[] = {
    {kIndexedMzml, "indexedmzML", "/"},
    {kMzml, "mzML", "/ indexedmzML"},
    {kIndexList, "indexList", "indexedmzML mzML"},
    {kIndex, "index", "indexList indexedmzML"},
    {kOffset, "offset", "index", kLeaf},
    {kIndexListOffset, "indexListOffset", "indexedmzML mzML", kLeaf},
    {kFileChecksum, "fileChecksum", "indexedmzML mzML", kLeaf},
    {kCvList, "cvList", "mzML"},
    {kCv, "cv", "cvList mzML", kLeaf},
    {kFileDescription, "fileDescription", "mzML"},
    {kFileContent, "fileContent", "fileDescription"},
    {kSourceFileList, "sourceFileList", "fileDescription"},
    {kSourceFile, "sourceFile", "sourceFileList fileDescription"},
    {kContact, "contact", "fileDescription"},
    {kReferenceableParamGroupList, "referenceableParamGroupList", "mzML"},
    {kReferenceableParamGroup, "referenceableParamGroup", "referenceableParamGroupList mzML"},
    {kReferenceableParamGroupRef, "referenceableParamGroupRef", "*", kLeaf},
    {kCvParam, "cvParam", "*", kLeaf},
    {kUserParam, "userParam", "*", kLeaf},
    {kSampleList, "sampleList", "mzML"},
    {kSample, "sample", "sampleList mzML"},
    {kSoftwareList, "softwareList", "mzML"},
    {kSoftware, "software", "softwareList mzML"},
    {kSoftwareRef, "softwareRef",
     "instrumentConfiguration scanSettings dataProcessing processingMethod", kLeaf},
    {kScanSettingsList, "scanSettingsList", "mzML"},
    {kScanSettings, "scanSettings", "scanSettingsList mzML"},
    {kSourceFileRefList, "sourceFileRefList", "scanSettings run"},
    {kSourceFileRef, "sourceFileRef", "sourceFileRefList scanSettings run", kLeaf},
    {kTargetList, "targetList", "scanSettings"},
    {kTarget, "target", "targetList scanSettings"},
    {kInstrumentConfigurationList, "instrumentConfigurationList", "mzML"},
    {kInstrumentConfiguration, "instrumentConfiguration", "instrumentConfigurationList mzML"},
    {kComponentList, "componentList", "instrumentConfiguration"},
    {kSource, "source", "componentList instrumentConfiguration"},
    {kAnalyzer, "analyzer", "componentList instrumentConfiguration"},
    {kDetector, "detector", "componentList instrumentConfiguration"},
    {kDataProcessingList, "dataProcessingList", "mzML"},
    {kDataProcessing, "dataProcessing", "dataProcessingList mzML"},
    {kProcessingMethod, "processingMethod", "dataProcessing"},
    {kRun, "run", "mzML"},
    {kSpectrumList, "spectrumList", "run"},
    {kSpectrum, "spectrum", "spectrumList run"},
    {kSpectrumDescription, "spectrumDescription", "spectrum"},
    {kScanList, "scanList", "spectrum spectrumDescription"},
    {kScan, "scan", "scanList spectrum spectrumDescription"},
    {kScanWindowList, "scanWindowList", "scan"},
    {kScanWindow, "scanWindow", "scanWindowList scan"},
    {kPrecursorList, "precursorList", "spectrum spectrumDescription chromatogram"},
    {kPrecursor, "precursor", "precursorList spectrum spectrumDescription chromatogram"},
    {kIsolationWindow, "isolationWindow", "precursor product"},
    {kSelectedIonList, "selectedIonList", "precursor"},
    {kSelectedIon, "selectedIon", "selectedIonList precursor"},
    {kActivation, "activation", "precursor"},
    {kProductList, "productList", "spectrum spectrumDescription chromatogram"},
    {kProduct, "product", "productList spectrum spectrumDescription chromatogram"},
    {kBinaryDataArrayList, "binaryDataArrayList", "spectrum chromatogram"},
    {kBinaryDataArray, "binaryDataArray", "binaryDataArrayList spectrum chromatogram"},
    {kBinary, "binary", "binaryDataArray", kLeaf},
    {kChromatogramList, "chromatogramList", "run"},
    {kChromatogram, "chromatogram", "chromatogramList run"},
};

static_assert(AreInOrder(kRules));

}  // namespace

std::span<const ElementRule> MzmlRules() { return kRules; }

}  // namespace tarvek::extractor
