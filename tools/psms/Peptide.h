// tools/psms/Peptide.h: the names of peptides and proteins, compared.
// Does:     extracts the letters of a peptide with modifications; turns texts into numbers to
//           compare them; removes repeated names; recognises decoys by the names of their proteins.
// Throws:   nothing but std::bad_alloc.
// Not here: what decoys are for (psms/Competition.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tarvek::tools {

/// The capital letters of a peptide outside [] and (), without what is before the first and after
/// the last dot of the form "K.PEPTIDE.R": "K.M[15.9949]PEP+57.02C.R" gives "MPEPC".
std::string SequenceOf(std::string_view peptide);

/// What is wrong with a text that is no sequence of capital letters, without a full stop; empty for
/// a sequence.
std::string WhyNoSequence(std::string_view text);

/// A number of 64 bits for a text. The probability that any two of ten million different texts
/// share one is 3 in a million.
std::uint64_t TextKey(std::string_view text);
std::uint64_t JoinedKey(std::uint64_t key, std::uint64_t other);

/// The key of a sequence; isoleucine and leucine, which have one mass, count as equal.
std::uint64_t SequenceKey(std::string_view sequence);

/// Removes the names that an earlier one equals; the others keep their order. Linear in the number of
/// names. Name: a std::string or a std::string_view.
template <class Name>
void RemoveRepeats(std::vector<Name>& names) {
  constexpr std::size_t kFew = 16;
  std::vector<bool> is_repeat(names.size());
  std::unordered_set<std::string_view> many;
  for (std::size_t i = 0; i < names.size(); ++i)
    is_repeat[i] = names.size() > kFew
                       ? !many.insert(names[i]).second
                       : std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i),
                                   names[i]) != names.begin() + static_cast<std::ptrdiff_t>(i);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (is_repeat[i]) continue;
    if (kept != i) names[kept] = std::move(names[i]);
    ++kept;
  }
  names.resize(kept);
}

/// Recognises decoys by the beginning of their protein names.
class DecoyNames {
 public:
  /// prefix: the one to look for; empty for the usual ones (rev_, DECOY_, XXX_, decoy_) and the
  /// ending ":reversed".
  explicit DecoyNames(const std::string& prefix);

  /// Whether the name belongs to a decoy.
  [[nodiscard]] bool IsDecoy(std::string_view protein) const { return !MarkOf(protein).empty(); }

  /// Whether there are proteins and all of them are decoys. Notes what marks them.
  bool AreDecoys(std::span<const std::string> proteins);

  /// The key of a group of proteins in any order: of those that are not decoys, or, for decoys, of
  /// the proteins that they were made from.
  [[nodiscard]] std::uint64_t GroupKey(std::span<const std::string> proteins, bool is_decoy) const;

  /// The marks of the decoys so far, in alphabetical order.
  [[nodiscard]] std::vector<std::string> MarksSeen() const;

 private:
  /// The beginning or ending that marks the name as a decoy; empty without one. Borrows from this.
  [[nodiscard]] std::string_view MarkOf(std::string_view protein) const;

  std::vector<std::string> m_prefixes;
  std::string m_ending;
  std::map<std::string, std::int64_t, std::less<>> m_seen;
};

}  // namespace tarvek::tools
