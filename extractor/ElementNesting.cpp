#include "ElementNesting.h"

#include <string>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::string_view kRoot = "/";
constexpr std::string_view kAnyHolder = "*";

// The first slot in the search for a name.
std::size_t HashOf(std::string_view name) {
  if (name.empty()) return 0;
  const std::size_t first = static_cast<unsigned char>(name.front());
  const std::size_t middle = static_cast<unsigned char>(name[name.size() / 2]);
  const std::size_t last = static_cast<unsigned char>(name.back());
  return name.size() * 31 + first * 7 + middle * 3 + last;
}

}  // namespace

ElementNesting::ElementNesting(std::span<const ElementRule> rules)
    : m_rules(rules), m_is_allowed(rules.size() * rules.size()), m_is_root(rules.size()) {
  m_rule_of_slot.fill(kFree);
  for (std::size_t i = 0; i < m_rules.size(); ++i) TakeSlot(i);
  for (std::size_t i = 0; i < m_rules.size(); ++i)
    for (const std::string_view parent : Split(m_rules[i].m_parents, " ")) Allow(i, parent);
}

void ElementNesting::TakeSlot(std::size_t rule) {
  std::size_t slot = HashOf(m_rules[rule].m_name) % kSlots;
  while (m_rule_of_slot[slot] != kFree) slot = (slot + 1) % kSlots;
  m_rule_of_slot[slot] = static_cast<std::uint8_t>(rule);
}

// The number of rules for an unknown name.
std::size_t ElementNesting::RuleOf(std::string_view name) const {
  for (std::size_t slot = HashOf(name) % kSlots; m_rule_of_slot[slot] != kFree;
       slot = (slot + 1) % kSlots)
    if (m_rules[m_rule_of_slot[slot]].m_name == name) return m_rule_of_slot[slot];
  return m_rules.size();
}

void ElementNesting::Allow(std::size_t rule, std::string_view parent) {
  if (parent == kRoot) {
    m_is_root[rule] = true;
  } else if (parent == kAnyHolder) {
    for (std::size_t i = 0; i < m_rules.size(); ++i)
      if (m_rules[i].m_holds_elements) m_is_allowed[PairOf(rule, i)] = true;
  } else {
    m_is_allowed[PairOf(rule, RuleOf(parent))] = true;
  }
}

std::size_t ElementNesting::PairOf(std::size_t rule, std::size_t parent) const {
  return rule * m_rules.size() + parent;
}

Element ElementNesting::ElementOf(std::size_t rule) const {
  return rule < m_rules.size() ? m_rules[rule].m_element : Element::kPassedOver;
}

void ElementNesting::Check(std::size_t rule) const {
  const std::string_view name = m_rules[rule].m_name;
  if (m_open.empty()) {
    if (!m_is_root[rule]) throw "element " + std::string(name) + " must not be the root";
    return;
  }
  const std::size_t parent = m_open.back();
  if (!m_is_allowed[PairOf(rule, parent)])
    throw "element " + std::string(name) + " must not be inside " +
        std::string(m_rules[parent].m_name);
}

Element ElementNesting::Enter(std::string_view name) {
  if (m_open.size() >= kMaxDepth) throw std::string("elements are nested too deep");
  if (name.size() > kMaxNameBytes)
    throw std::string("the name of an element has more than 1000 bytes");
  const bool is_passed_over = !m_open.empty() && m_open.back() == m_rules.size();
  const std::size_t rule = is_passed_over ? m_rules.size() : RuleOf(name);
  if (rule < m_rules.size()) Check(rule);
  m_open.push_back(rule);
  return ElementOf(m_open.back());
}

Element ElementNesting::Leave() {
  const Element element = Outer(0);
  m_open.pop_back();
  return element;
}

Element ElementNesting::Outer(std::size_t steps) const {
  return ElementOf(steps < m_open.size() ? m_open[m_open.size() - 1 - steps] : m_rules.size());
}

}  // namespace tarvek::extractor
