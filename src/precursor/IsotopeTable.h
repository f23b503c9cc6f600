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

/// Row i is for singly protonated masses with the integer part i Da.
using IsotopeTable = std::vector<IsotopeRow>;

inline constexpr std::size_t kIsotopeTableRows = 15000;

/// Parses a table: numbers between white space, five per row. Missing numbers stay 0; rows beyond
/// the last are ignored. path only appears in the message for a token that is not a number.
IsotopeTable ParseIsotopeTable(std::string_view text, const std::string& path);

/// Reads the file at path with ParseIsotopeTable.
IsotopeTable ReadIsotopeTable(const std::string& path);

/// Loads the table at path as that of the process; keeps one that was loaded before.
void LoadIsotopeTable(const std::string& path);

/// Makes table that of the process, even when there was one before.
void InstallIsotopeTable(IsotopeTable table);

/// 16 hexadecimal digits that differ between tables with different numbers: FNV-1a (64 bits) over
/// the binary64 values, row by row, little-endian.
std::string IsotopeTableFingerprint(const IsotopeTable& table);

/// The fingerprint of the process's table; empty before one is loaded.
const std::string& InstalledTableFingerprint();

/// Whether LookUpIsotopeRow has a row for this precursor.
bool IsInIsotopeTable(const Precursor& precursor);

/// The row of the precursor's singly protonated mass. A mass without a row fails an internal check.
const IsotopeRow& LookUpIsotopeRow(const Precursor& precursor);

/// The singly protonated mass M+H in Da from m/z and charge; also for a negative ion with its
/// negative m/z.
double ProtonatedMassDa(const Precursor& precursor);

}  // namespace tarvek
