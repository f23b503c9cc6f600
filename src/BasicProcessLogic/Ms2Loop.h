// BasicProcessLogic/Ms2Loop.h: the MS2 scans of one extracted input file, from reader to writers.
// Does:     streams the MS2 scans in file order, in step with the store of MS1 scans; has the
//           precursors of each determined; writes every scan that keeps a usable precursor.
// Owns:     readers, writers and store of the one file.
// Throws:   errors in reading and writing, which end the run. A bad scan is logged and left out.
// Not here: which files are processed (RunDriver.h).
#pragma once

#include <string>
#include <string_view>

#include "OutputSet.h"
#include "RunRecord.h"
#include "SpectrumRecords.h"
#include "SpectrumSource.h"
#include "SpectrumUtils.h"
#include "UserParameters.h"

namespace tarvek {

/// The current file is a .ms1 file with its .ms2 file next to it. claim: for the same file. begun:
/// the settings and the counts of an extraction; returned, and written next to the table, together
/// with the counts made here.
RunRecord processTextSpectra(const UserParameters& parameters, OutputClaim& claim,
                             const RunRecord& begun = {});

/// The same for an instrument file, which is extracted at the same time (InstrumentSource.h, which
/// also lists its errors). When the input cannot be read, writes nothing and leaves the output of
/// an earlier run alone.
RunRecord ProcessInstrumentSpectra(const UserParameters& parameters, OutputClaim& claim,
                                   const RunRecord& settings);

/// The same for spectra in binary form.
RunRecord processMsbSpectra(const UserParameters& parameters, OutputClaim& claim,
                            const RunRecord& begun = {});

/// The progress message of MS2 scans up to their number.
inline constexpr const char* kMs2Progress = "Extracting MS2, Scan Num = ";

/// The .ms2 file next to a .ms1 file.
std::string Ms2Path(const std::string& ms1_path);

/// Warns that a scan has no usable precursor.
void WarnWithoutPrecursor(const MS2Spectrum& scan);

/// Why a scan is not processed, the first reason found; empty when it is (IsProcessed).
std::string_view ReasonNotProcessed(const MS2Spectrum& scan);

/// Whether the MS1 scans read so far suffice to look for the precursors of a scan.
bool CanDetermine(const SpectrumSource& source, const Ms1Store& store, const MS2Spectrum& scan);

/// Drops precursors without m/z or charge, the last first, with one warning each.
void DropUnusablePrecursors(MS2Spectrum& scan);

}  // namespace tarvek
