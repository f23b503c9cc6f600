// IO/PrecursorTable.h: the layout of the precursor table (.csv), for its writer and its reader.
// Not here: what the columns mean, which docs/formats/precursor-csv.md says.
#pragma once

#include <cstddef>
#include <string_view>

#include "SpectrumRecords.h"

namespace tarvek {

/// What the name of a complete table ends in.
inline constexpr std::string_view kTableEnding = ".csv";

/// Five slots are named; rows hold as many as there are. "Totle": frozen, see docs/frozen-names.md.
inline constexpr std::string_view kPrecursorTableHeader =
    "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
    "PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, "
    "PrecursorIdentifier, MZ, Charge\n";

/// The fields of a row before those of the determined precursors, and those of each precursor.
inline constexpr std::size_t kPrecursorTableFixedFields = 6;
inline constexpr std::size_t kPrecursorTableSlotFields = 3;

/// What a row says of the declared precursor of a scan that has none.
inline constexpr Precursor kNothingDeclared = {-1.0, -1};

}  // namespace tarvek
