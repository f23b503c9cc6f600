// precursor/IsotopeTable.h: the expected isotope envelopes of peptides.
// Does:     reads the isotope pattern table once per process and looks rows up by precursor.
// Owns:     the process-wide table m_h_IPV_Matrix; it lives until exit.
// Throws:   loading: the message of OpenFile, or a std::string naming file and line.
// Not here: how the table is computed (the companion program's ipv subcommand).
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek {

/// Relative intensities of the monoisotopic peak and of the +1, +2, +3 and +4 isotope peaks.
using IsotopeRow = std::array<double, 5>;

/// Row i belongs to a singly protonated mass whose integer part is i Da.
using IsotopeTable = std::vector<IsotopeRow>;

inline constexpr std::size_t kIsotopeTableRows = 15000;

/// The table in text: numbers between white space, five a row; what is missing stays 0 and rows
/// beyond the last are not read. path only serves the message of a token that is no number.
IsotopeTable ParseIsotopeTable(std::string_view text, const std::string& path);

/// The table of the file at path, as ParseIsotopeTable reads it.
IsotopeTable ReadIsotopeTable(const std::string& path);

/// Makes the table at path that of the process; does nothing when one has been read already.
void LoadIsotopeTable(const std::string& path);

/// Makes table the one of the process, whether or not there was one.
void InstallIsotopeTable(IsotopeTable table);

/// 16 hexadecimal digits that tell tables with other numbers apart: FNV-1a (64 bits) over the
/// binary64 values, row by row, little-endian.
std::string IsotopeTableFingerprint(const IsotopeTable& table);

/// That of the table of the process; empty before there is one.
const std::string& InstalledTableFingerprint();

/// Whether LookUpIsotopeRow has a row for this precursor.
bool IsInIsotopeTable(const Precursor& precursor);

/// The row of the precursor's singly protonated mass. A mass without a row fails an internal check.
const IsotopeRow& LookUpIsotopeRow(const Precursor& precursor);

/// m/z and charge as the singly protonated mass M+H in Da; also of a negative ion whose m/z is
/// negative.
double ProtonatedMassDa(const Precursor& precursor);

}  // namespace tarvek
