// tests/program/FaultCases.h: promises about faults, and the cases that try them.
// Does:     says how many points a test is to try; counts cases and kept ones, and adds a line for
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

/// One of so many of the points, and at least one: how often what a test is about has to happen.
int OneIn(int points);

/// A moment in the life of something that takes so long, with the same chance for each.
std::chrono::microseconds MomentIn(std::chrono::microseconds duration, std::mt19937& random);

/// One promise, for the length of a test.
class Promise {
 public:
  explicit Promise(std::string text) : m_text(std::move(text)) {}
  Promise(const Promise&) = delete;
  Promise& operator=(const Promise&) = delete;
  ~Promise();

  /// Runs a case; it is kept when it adds no failure to the test.
  void Try(const std::string& name, const std::function<void()>& check);
  void Try(int number, const std::function<void()>& check) { Try(std::to_string(number), check); }
  /// Tries FaultPoints() points of a run. What happens at one is a matter of luck on a busy machine:
  /// further ones are tried until enough holds, ten times as many at most.
  void TryPoints(const std::function<void()>& check, const std::function<bool()>& enough);

 private:
  std::string m_text;
  int m_cases = 0;
  int m_kept = 0;
};

}  // namespace tarvek::test
