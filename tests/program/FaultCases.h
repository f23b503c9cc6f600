// tests/program/FaultCases.h: promises about faults, and the cases that test them.
// Does:     says how many points a test tries; counts cases and kept promises, and adds a line for
//           each promise to the file that TARVEK_FAULT_TABLE names ("./dev faults" prints it).
#pragma once

#include <chrono>
#include <functional>
#include <random>
#include <string>
#include <utility>

namespace tarvek::test {

/// How many points of a run, or sizes of a file, a test tries: TARVEK_FAULT_POINTS, or 25.
int FaultPoints();

/// One of so many of the points, and at least one: how often the tested event must happen.
int OneIn(int points);

/// A random moment, evenly distributed, in something that takes this long.
std::chrono::microseconds MomentIn(std::chrono::microseconds duration, std::mt19937& random);

/// One promise during a test.
class Promise {
 public:
  explicit Promise(std::string text) : m_text(std::move(text)) {}
  Promise(const Promise&) = delete;
  Promise& operator=(const Promise&) = delete;
  ~Promise();

  /// Runs a case; it is kept when it adds no failure to the test.
  void Try(const std::string& name, const std::function<void()>& check);
  void Try(int number, const std::function<void()>& check) { Try(std::to_string(number), check); }
  /// Tries FaultPoints() points of a run. The outcome at a point is random on a busy machine: more
  /// points are tried until enough holds, at most ten times as many.
  void TryPoints(const std::function<void()>& check, const std::function<bool()>& enough);

 private:
  std::string m_text;
  int m_cases = 0;
  int m_kept = 0;
};

}  // namespace tarvek::test
