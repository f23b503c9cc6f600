#include "psms/Peptide.h"

#include <algorithm>

namespace tarvek::tools {
namespace {

constexpr std::size_t kMostShownBytes = 60;

constexpr bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }

// Spreads every bit over all: the last step of splitmix64.
std::uint64_t Mixed(std::uint64_t key) {
  key = (key ^ (key >> 30)) * 0xBF58476D1CE4E5B9u;
  key = (key ^ (key >> 27)) * 0x94D049BB133111EBu;
  return key ^ (key >> 31);
}

// FNV-1a of the text with letter applied to each byte.
template <class Letter>
std::uint64_t KeyOf(std::string_view text, Letter letter) {
  std::uint64_t key = 0xCBF29CE484222325u;
  for (const char c : text) key = (key ^ static_cast<unsigned char>(letter(c))) * 0x100000001B3u;
  return Mixed(key);
}

// A dot separates the neighbours from the peptide if it is the second or the last but one
// character.
std::string_view WithoutNeighbours(std::string_view peptide) {
  if (peptide.size() > 2 && peptide[1] == '.') peptide.remove_prefix(2);
  if (peptide.size() > 2 && peptide[peptide.size() - 2] == '.') peptide.remove_suffix(2);
  return peptide;
}

}  // namespace

std::string SequenceOf(std::string_view peptide) {
  std::string sequence;
  int depth = 0;
  for (const char c : WithoutNeighbours(peptide)) {
    if (c == '[' || c == '(') ++depth;
    if (depth == 0 && IsCapital(c)) sequence += c;
    if ((c == ']' || c == ')') && depth > 0) --depth;
  }
  return sequence;
}

std::string WhyNoSequence(std::string_view text) {
  if (text.empty()) return "a match without a peptide";
  if (std::ranges::all_of(text, IsCapital)) return {};
  return "the peptide '" + std::string(text.substr(0, kMostShownBytes)) +
         "' has other than capital letters";
}

std::uint64_t TextKey(std::string_view text) {
  return KeyOf(text, [](char c) { return c; });
}

std::uint64_t JoinedKey(std::uint64_t key, std::uint64_t other) {
  return Mixed(key * 0x9E3779B97F4A7C15u + other);
}

std::uint64_t SequenceKey(std::string_view sequence) {
  return KeyOf(sequence, [](char c) { return c == 'I' ? 'L' : c; });
}

DecoyNames::DecoyNames(const std::string& prefix) {
  if (!prefix.empty()) {
    m_prefixes = {prefix};
    return;
  }
  m_prefixes = {"rev_", "DECOY_", "XXX_", "decoy_"};
  m_ending = ":reversed";
}

std::string_view DecoyNames::MarkOf(std::string_view protein) const {
  for (const std::string& prefix : m_prefixes)
    if (protein.starts_with(prefix)) return prefix;
  return !m_ending.empty() && protein.ends_with(m_ending) ? std::string_view(m_ending)
                                                          : std::string_view();
}

bool DecoyNames::AreDecoys(std::span<const std::string> proteins) {
  const bool are_decoys = !proteins.empty() && std::ranges::all_of(proteins, [this](const auto& p) {
    return IsDecoy(p);
  });
  if (are_decoys) {
    const std::string_view mark = MarkOf(proteins.front());
    const auto known = m_seen.find(mark);
    if (known == m_seen.end())
      m_seen.emplace(mark, 1);
    else
      ++known->second;
  }
  return are_decoys;
}

std::uint64_t DecoyNames::GroupKey(std::span<const std::string> proteins, bool is_decoy) const {
  std::vector<std::string_view> names;
  for (const std::string_view protein : proteins) {
    const std::string_view mark = MarkOf(protein);
    if (!is_decoy && !mark.empty()) continue;
    const bool is_ending = !mark.empty() && !protein.starts_with(mark);
    names.push_back(is_ending ? protein.substr(0, protein.size() - mark.size())
                              : protein.substr(mark.size()));
  }
  std::ranges::sort(names);
  std::uint64_t key = 0;
  for (const std::string_view name : names) key = JoinedKey(key, TextKey(name));
  return key;
}

std::vector<std::string> DecoyNames::MarksSeen() const {
  std::vector<std::string> marks;
  for (const auto& [mark, count] : m_seen) marks.push_back(mark);
  return marks;
}

}  // namespace tarvek::tools
