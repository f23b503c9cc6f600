#include "MzxmlElements.h"

namespace tarvek::extractor {
namespace {

using namespace mzxml;

constexpr bool kLeaf = false;

// The element instrument is of mzXML 1, and msRun its root now and then.
constexpr ElementRule kRules[] = {
    {kMzxml, "mzXML", "/"},
    {kMsRun, "msRun", "/ mzXML"},
    {kParentFile, "parentFile", "msRun"},
    {kOldInstrument, "instrument", "msRun"},
    {kMsInstrument, "msInstrument", "msRun"},
    {kMsManufacturer, "msManufacturer", "msInstrument"},
    {kMsModel, "msModel", "msInstrument"},
    {kMsIonisation, "msIonisation", "msInstrument"},
    {kMsMassAnalyzer, "msMassAnalyzer", "msInstrument"},
    {kMsDetector, "msDetector", "msInstrument"},
    {kMsResolution, "msResolution", "msInstrument"},
    {kSoftware, "software", "msInstrument instrument dataProcessing msRun"},
    {kOperator, "operator", "msRun msInstrument instrument dataProcessing separation"},
    {kDataProcessing, "dataProcessing", "msRun"},
    {kProcessingOperation, "processingOperation", "dataProcessing"},
    {kSeparation, "separation", "msRun"},
    {kSeparationTechnique, "separationTechnique", "separation"},
    {kSpotting, "spotting", "msRun"},
    {kPlate, "plate", "spotting"},
    {kPattern, "pattern", "plate"},
    {kSpot, "spot", "plate"},
    {kOrientation, "orientation", "pattern"},
    {kRobot, "robot", "spotting"},
    {kScan, "scan", "msRun scan"},
    {kScanOrigin, "scanOrigin", "scan"},
    {kPrecursorMz, "precursorMz", "scan", kLeaf},
    {kMaldi, "maldi", "scan"},
    {kPeaks, "peaks", "scan", kLeaf},
    {kNameValue, "nameValue", "*", kLeaf},
    {kComment, "comment", "*", kLeaf},
    {kIndex, "index", "mzXML msRun"},
    {kOffset, "offset", "index", kLeaf},
    {kIndexOffset, "indexOffset", "mzXML msRun", kLeaf},
    {kSha1, "sha1", "mzXML msRun", kLeaf},
};

static_assert(AreInOrder(kRules));

}  // namespace

std::span<const ElementRule> MzxmlRules() { return kRules; }

}  // namespace tarvek::extractor
