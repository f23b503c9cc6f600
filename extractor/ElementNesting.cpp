#include "ElementNesting.h"

#include <string>

#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr std::string_view kRoot = "/";
constexpr std::string_view kAnyHolder = "*";

}  // namespace

ElementNesting::ElementNesting(std::span<const ElementRule> rules)
    : m_rules(rules), m_is_allowed(rules.size() * rules.size()), m_is_root(rules.size()) {
  for (const ElementRule& rule : m_rules) m_element_of_name[rule.m_name] = rule.m_element;
  for (const ElementRule& rule : m_rules)
    for (const std::string_view parent : Split(rule.m_parents, " ")) Allow(rule.m_element, parent);
}

void ElementNesting::Allow(int element, std::string_view parent) {
  if (parent == kRoot) {
    m_is_root[static_cast<std::size_t>(element)] = true;
  } else if (parent == kAnyHolder) {
    for (const ElementRule& rule : m_rules)
      if (rule.m_holds_elements) m_is_allowed[PairOf(element, rule.m_element)] = true;
  } else {
    m_is_allowed[PairOf(element, m_element_of_name.at(parent))] = true;
  }
}

std::size_t ElementNesting::PairOf(int element, int parent) const {
  return static_cast<std::size_t>(element) * m_rules.size() + static_cast<std::size_t>(parent);
}

void ElementNesting::Check(const ElementRule& rule) const {
  if (m_open.empty()) {
    if (!m_is_root[static_cast<std::size_t>(rule.m_element)])
      throw "element " + std::string(rule.m_name) + " must not be the root";
    return;
  }
  const int parent = m_open.back();
  if (!m_is_allowed[PairOf(rule.m_element, parent)])
    throw "element " + std::string(rule.m_name) + " must not be inside " +
        std::string(m_rules[static_cast<std::size_t>(parent)].m_name);
}

int ElementNesting::Enter(std::string_view name) {
  if (m_open.size() >= kMaxDepth) throw std::string("elements are nested too deep");
  const bool is_passed_over = !m_open.empty() && m_open.back() == kNone;
  const auto found = m_element_of_name.find(name);
  const bool is_known = !is_passed_over && found != m_element_of_name.end();
  if (is_known) Check(m_rules[static_cast<std::size_t>(found->second)]);
  m_open.push_back(is_known ? found->second : kNone);
  return m_open.back();
}

int ElementNesting::Leave() {
  const int element = m_open.back();
  m_open.pop_back();
  return element;
}

int ElementNesting::Outer(std::size_t steps) const {
  return steps < m_open.size() ? m_open[m_open.size() - 1 - steps] : kNone;
}

}  // namespace tarvek::extractor
