#include "psms/ResultLimits.h"

#include <algorithm>
#include <limits>

#include "ReadingLimits.h"

namespace tarvek::tools {
namespace {

using extractor::kSmallFileBytes;

constexpr std::int64_t kMb = std::int64_t{1} << 20;
constexpr std::int64_t kMostOfSpectrum = 48 * kMb;

// That a map takes for an entry beyond its value, and a match for a protein beyond its letters.
constexpr std::size_t kEntryBytes = 40;
constexpr std::size_t kProteinBytes = 64;

// The size of a file, up to kSmallFileBytes and beyond.
struct Parts {
  explicit Parts(std::int64_t stored_bytes)
      : m_small(std::min(stored_bytes, kSmallFileBytes)), m_beyond(stored_bytes - m_small) {}
  std::int64_t m_small, m_beyond;
};

std::int64_t MostKept(std::int64_t stored_bytes) {
  const Parts parts(stored_bytes);
  return 40 * kMb + 5 * parts.m_small + 20 * parts.m_beyond;
}

// Packed results have more than 30 bytes for each match.
std::int64_t MostMatches(std::int64_t stored_bytes) {
  const Parts parts(stored_bytes);
  return 100'000 + parts.m_small / 20 + parts.m_beyond / 4;
}

// As much as a file of this size may unpack to.
std::int64_t MostText(std::int64_t stored_bytes) {
  return extractor::kFreeUnpackedBytes + extractor::kMaxUnpackedRatio * stored_bytes;
}

}  // namespace

void CheckXmlText(std::size_t bytes, std::string_view what) {
  if (bytes > kMostXmlTextBytes)
    throw std::string(what) + " of more than " + std::to_string(kMostXmlTextBytes) +
        " bytes, which cannot be";
}

XmlResultLimits::XmlResultLimits(std::int64_t stored_bytes)
    : m_most_kept(MostKept(stored_bytes)),
      m_most_matches(MostMatches(stored_bytes)),
      m_most_text(MostText(stored_bytes)) {
  if (stored_bytes <= 0)
    m_most_kept = m_most_matches = m_most_text = std::numeric_limits<std::int64_t>::max();
}

void XmlResultLimits::Keep(std::size_t bytes) {
  m_kept += static_cast<std::int64_t>(kEntryBytes + bytes);
  if (m_kept > m_most_kept)
    throw std::string("the file has more proteins and peptides than one of its size can");
}

void XmlResultLimits::Hold(const EngineMatch& match) {
  if (++m_matches > m_most_matches)
    throw std::string("the file has more matches than one of its size can");
  HoldText(sizeof(EngineMatch) + match.m_run.size() + match.m_title.size() +
           match.m_peptide.size() + match.m_sequence.size());
}

void XmlResultLimits::HoldProtein(std::string_view protein) {
  HoldText(kProteinBytes + protein.size());
}

void XmlResultLimits::Repeat(std::size_t text_bytes) {
  m_text += static_cast<std::int64_t>(text_bytes);
  if (m_text > m_most_text)
    throw std::string("the matches of the file repeat more text than those of one of its size can");
}

void XmlResultLimits::HoldText(std::size_t bytes) {
  Repeat(bytes);
  m_of_spectrum += static_cast<std::int64_t>(bytes);
  if (m_of_spectrum > kMostOfSpectrum)
    throw "the matches of a spectrum take more than " + std::to_string(kMostOfSpectrum / kMb) +
        " MB, which cannot be";
}

}  // namespace tarvek::tools
