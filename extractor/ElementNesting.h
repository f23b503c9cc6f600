// extractor/ElementNesting.h: checks which element of an XML format is inside which.
// Does:     follows the open elements of a file; rejects a known element in a wrong place; skips
//           elements with other names, including their contents.
// Owns:     the open elements; borrows the rules, which are constants.
// Throws:   std::string, a sentence without file and place; the reader adds these.
// Not here: what the elements mean (MzmlReader.cpp, MzxmlReader.cpp).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "XmlElements.h"

namespace tarvek::extractor {

class ElementNesting {
 public:
  /// No file of these formats nests so deeply; one that does is damaged.
  static constexpr std::size_t kMaxDepth = 256;

  /// No element has a longer name, of any format.
  static constexpr std::size_t kMaxNameBytes = 1000;

  explicit ElementNesting(std::span<const ElementRule> rules);

  /// Opens an element and says which it is. Throws when it must not be where it is, the nesting is
  /// too deep, or the name too long.
  Element Enter(std::string_view name);

  /// Closes the innermost element and returns what Enter returned for it. One must be open.
  Element Leave();

  /// An open element, counted from the innermost, which is 0; kPassedOver beyond the outermost.
  [[nodiscard]] Element Outer(std::size_t steps) const;

 private:
  // At most one of four slots is taken, so that a search is short.
  static constexpr std::size_t kSlots = 256;
  static constexpr std::uint8_t kFree = 255;

  void TakeSlot(std::size_t rule);
  [[nodiscard]] std::size_t RuleOf(std::string_view name) const;
  void Allow(std::size_t rule, std::string_view parent);
  void Check(std::size_t rule) const;
  [[nodiscard]] std::size_t PairOf(std::size_t rule, std::size_t parent) const;
  [[nodiscard]] Element ElementOf(std::size_t rule) const;

  // A rule is known by its index; the number of rules means a skipped element.
  std::span<const ElementRule> m_rules;
  std::array<std::uint8_t, kSlots> m_rule_of_slot{};
  std::vector<bool> m_is_allowed;   // by PairOf
  std::vector<bool> m_is_root;      // may be the root
  std::vector<std::size_t> m_open;  // the innermost last
};

}  // namespace tarvek::extractor
