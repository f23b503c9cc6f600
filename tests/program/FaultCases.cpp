#include "FaultCases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>

namespace tarvek::test {
namespace {

constexpr int kUsualPoints = 25;

int FailuresSoFar() {
  return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

}  // namespace

int FaultPoints() {
  const char* const points = std::getenv("TARVEK_FAULT_POINTS");
  return points == nullptr ? kUsualPoints : std::max(1, std::atoi(points));
}

int OneIn(int points) { return std::max(1, FaultPoints() / points); }

std::chrono::microseconds MomentIn(std::chrono::microseconds duration, std::mt19937& random) {
  return std::chrono::microseconds(static_cast<std::uint64_t>(duration.count()) * random() >> 32);
}

Promise::~Promise() {
  const char* const table = std::getenv("TARVEK_FAULT_TABLE");
  if (table != nullptr)
    std::ofstream(table, std::ios::app) << m_text << '\t' << m_cases << '\t' << m_kept << '\n';
}

void Promise::Try(const std::string& name, const std::function<void()>& check) {
  const testing::ScopedTrace trace(__FILE__, __LINE__, m_text + ": " + name);
  const int before = FailuresSoFar();
  ++m_cases;  // also when an exception leaves it
  check();
  if (FailuresSoFar() == before) ++m_kept;
}

void Promise::TryPoints(const std::function<void()>& check, const std::function<bool()>& enough) {
  const int points = FaultPoints();
  for (int i = 0; i < points || (i < 10 * points && !enough()); ++i) Try(i, check);
}

}  // namespace tarvek::test
