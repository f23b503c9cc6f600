// IO/PrecursorTable.h: the layout of the precursor table (.csv), for its writer and its reader.
// Not here: the meaning of the columns (docs/formats/precursor-csv.md).
#pragma once

#include <cstddef>
#include <string_view>

#include "SpectrumRecords.h"

namespace tarvek {

/// The suffix of a complete table's file name.
inline constexpr std::string_view kTableEnding = ".csv";

/// The header names five slots; rows have as many as needed. "Totle": frozen, see
/// docs/frozen-names.md.
inline constexpr std::string_view kPrecursorTableHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
    "PrecursorIdentifier, MZ, Charge\n";

/// The number of fields before the determined precursors, and of those for each precursor.
inline constexpr std::size_t kPrecursorTableFixedFields = 6;
inline constexpr std::size_t kPrecursorTableSlotFields = 3;

/// No scan has more precursors: at most 1000 are determined, and fewer declared.
inline constexpr std::size_t kMostTablePrecursors = 2000;

/// The declared precursor in the row of a scan without one.
inline constexpr Precursor kNothingDeclared = {-1.0, -1};

}  // namespace tarvek
