// tests/support/BackgroundProcessTest.h: a child in the background for one test.
// Does:     starts support/background_child.cpp at a task, waits for its end and for the process
//           numbers that it prints.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ChildText.h"
#include "Platform.h"
#include "TestSupport.h"

namespace tarvek {

class BackgroundProcessTest : public testing::Test {
 protected:
  /// The child at this task; its outputs go to m_output.
  [[nodiscard]] BackgroundProcess Child(std::vector<std::string> arguments) const {
    return Child(std::move(arguments), m_output);
  }
  [[nodiscard]] static BackgroundProcess Child(std::vector<std::string> arguments,
                                               const std::string& output) {
    arguments.insert(arguments.begin(), test::BackgroundChild());
    return BackgroundProcess::Start(arguments, output);
  }

  /// The status once the process has ended; -2 when it still runs after twenty seconds.
  static int StatusOf(BackgroundProcess& process) {
    const std::int64_t deadline_ms = MonotonicMilliseconds() + 20'000;
    while (MonotonicMilliseconds() < deadline_ms) {
      if (const std::optional<int> status = process.Poll()) return *status;
      BackgroundProcess::WaitForAny({&process, 1}, 1000);
    }
    return -2;
  }

  /// The process numbers that the child printed; waits until there are so many.
  [[nodiscard]] std::vector<long> WaitForNumbers(std::size_t count) const {
    std::vector<long> numbers;
    for (int i = 0; i < 4000 && numbers.size() < count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      std::istringstream text(test::ReadFile(m_output));
      numbers.clear();
      for (std::string line; std::getline(text, line) && !text.eof();)
        numbers.push_back(std::stol(line));
    }
    EXPECT_EQ(numbers.size(), count) << "the child did not start";
    return numbers;
  }

  test::TemporaryDirectory m_directory;
  std::string m_output = m_directory / "output";
};

}  // namespace tarvek
