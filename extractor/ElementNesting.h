// extractor/ElementNesting.h: which element of an XML format may be inside which.
// Does:     follows the open elements of a file; refuses an element of the format where it must not
//           be; passes over elements of other names with everything in them.
// Owns:     the open elements; borrows the rules, which are constants.
// Throws:   std::string, a sentence without file and place, which the reader puts before it.
// Not here: what the elements mean (MzmlReader.h, MzxmlReader.h).
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarvek::extractor {

/// Where one element may be.
struct ElementRule {
  int m_element;  // from 0, the place of the rule in its table
  std::string_view m_name;
  // Names of elements between blanks. "/" is the top of the file; "*" every element of the format
  // that may hold elements.
  std::string_view m_parents;
  bool m_holds_elements = true;
};

/// Whether each rule has its place; for a static_assert beside the table.
constexpr bool AreInOrder(std::span<const ElementRule> rules) {
  for (int i = 0; const ElementRule& rule : rules)
    if (rule.m_element != i++) return false;
  return true;
}

class ElementNesting {
 public:
  static constexpr int kNone = -1;

  /// No file of the formats nests as deep; a deeper one is damaged.
  static constexpr std::size_t kMaxDepth = 256;

  explicit ElementNesting(std::span<const ElementRule> rules);

  /// Opens an element. Returns its m_element, or kNone for one that is passed over: of another
  /// name, or inside such a one. Throws when it must not be where it is, or the nesting is too deep.
  int Enter(std::string_view name);

  /// Closes the innermost element and returns what Enter said of it. There must be one.
  int Leave();

  /// An open element, counted from the innermost, which is 0; kNone when there is none, or when it
  /// is passed over.
  [[nodiscard]] int Outer(std::size_t steps) const;

 private:
  void Allow(int element, std::string_view parent);
  void Check(const ElementRule& rule) const;
  [[nodiscard]] std::size_t PairOf(int element, int parent) const;

  std::span<const ElementRule> m_rules;
  std::unordered_map<std::string_view, int> m_element_of_name;
  std::vector<bool> m_is_allowed;  // by PairOf
  std::vector<bool> m_is_root;     // by element: may be the root
  std::vector<int> m_open;         // the innermost last
};

}  // namespace tarvek::extractor
