// fuzz/FuzzSupport.h: what every fuzz target needs.
// Does:     gives a scratch directory for input files, keeps console and log silent, turns failed
//           checks into exceptions, and stops the process on a broken promise.
// Owns:     the scratch directory of the process, removed at a normal exit.
// Throws:   CheckFailure from failed checks; RunReader lets through only what a reader must not
//           throw.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "SpectrumRecords.h"

namespace tarvek::fuzz {

/// Thrown instead of aborting when an internal check fails.
struct CheckFailure : std::logic_error {
  using std::logic_error::logic_error;
};

/// The bytes of one input as text.
inline std::string_view InputText(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The path of a file in the scratch directory, which is in memory where possible.
std::string ScratchPath(std::string_view name);

/// The scratch directory itself. The log of the process is discarded there.
const std::string& ScratchDirectory();

/// Replaces the content of a file.
void WriteInput(const std::string& path, std::string_view content);

/// Calls read. The documented errors of readers (a text, a failed check) are fine; any other
/// exception passes through and counts as a finding.
void RunReader(const std::function<void()>& read);

/// Ends the process as a finding unless promise holds.
void Require(bool promise, const char* text);

inline void RequireAscending(std::span<const Peak> peaks) {
  const auto descends = [](const Peak& a, const Peak& b) { return a.m_mz > b.m_mz; };
  Require(std::ranges::adjacent_find(peaks, descends) == peaks.end(), "peaks ascend in m/z");
}

}  // namespace tarvek::fuzz
