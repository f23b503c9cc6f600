// BasicProcessLogic/Ms2Loop.h: the MS2 scans of one extracted input file, from reader to writers.
// Does:     streams the MS2 scans in file order beside the store of MS1 scans, has the precursors
//           of each determined, and writes every scan that keeps a usable precursor.
// Owns:     readers, writers and store of the one file.
// Throws:   what reading and writing throw; that ends the run. A bad scan is logged and left out.
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

/// The current file is a .ms1 file; the .ms2 file is beside it. claim: of the same file. begun: the
/// settings and what an extraction counted; it is returned, and written beside the table, with what
/// was counted here.
RunRecord processTextSpectra(const UserParameters& parameters, OutputClaim& claim,
                             const RunRecord& begun = {});

/// The same of the current file as an instrument file, which is extracted at the same time
/// (InstrumentSource.h, also for what it throws); of an input that cannot be read nothing is written,
/// and what an earlier run wrote is left alone.
RunRecord ProcessInstrumentSpectra(const UserParameters& parameters, OutputClaim& claim,
                                   const RunRecord& settings);

/// The same with the current file's spectra in binary form.
RunRecord processMsbSpectra(const UserParameters& parameters, OutputClaim& claim,
                            const RunRecord& begun = {});

/// Start of the progress message of MS2 scans; their number follows.
inline constexpr const char* kMs2Progress = "Extracting MS2, Scan Num = ";

/// The .ms2 file beside a .ms1 file.
std::string Ms2Path(const std::string& ms1_path);

/// Warns that a scan has no usable precursor.
void WarnWithoutPrecursor(const MS2Spectrum& scan);

/// Why a scan is not processed; of several reasons the one that is tested first. Empty for one that
/// is (IsProcessed).
std::string_view ReasonNotProcessed(const MS2Spectrum& scan);

/// Whether the precursors of a scan can be looked for in the MS1 scans read so far.
bool CanDetermine(const SpectrumSource& source, const Ms1Store& store, const MS2Spectrum& scan);

/// Drops precursors without m/z or charge, the last first, with one warning each.
void DropUnusablePrecursors(MS2Spectrum& scan);

}  // namespace tarvek
