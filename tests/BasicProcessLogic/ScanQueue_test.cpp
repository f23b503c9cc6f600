#include "ScanQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tarvek {
namespace {

constexpr std::size_t kRoom = std::size_t{1} << 16;

template <class Scan>
Scan Numbered(std::int32_t scan_no, std::size_t peaks = 10) {
  Scan scan;
  scan.m_scan_no = scan_no;
  scan.m_peaks.assign(peaks, {static_cast<double>(scan_no), 1.0});
  return scan;
}

template <class Scan>
void PutNumbered(ScanQueue& queue, std::int32_t scan_no, std::size_t peaks = 10) {
  Scan scan = Numbered<Scan>(scan_no, peaks);
  queue.Put(scan);
}

class ScanQueueTest : public testing::TestWithParam<QueueTurns> {
 protected:
  ScanQueue m_queue{kRoom, GetParam()};
};

TEST_P(ScanQueueTest, DeliversEachKindInItsOrder) {
  constexpr std::int32_t kScans = 20001;
  std::thread reader([this] {
    for (std::int32_t i = 1; i <= kScans; ++i) {
      if (i % 7 == 1)
        PutNumbered<MS1Spectrum>(m_queue, i);
      else
        PutNumbered<MS2Spectrum>(m_queue, i);
    }
    m_queue.Finish();
  });
  MS1Spectrum survey;
  MS2Spectrum fragments;
  std::int32_t last_survey = 1 - 7;
  std::int32_t last_fragments = 0;
  while (m_queue.Take(fragments)) {
    EXPECT_EQ(fragments.m_scan_no, last_fragments + (last_fragments % 7 == 0 ? 2 : 1));
    EXPECT_EQ(fragments.m_peaks.size(), 10u);
    EXPECT_EQ(fragments.m_peaks[9].m_mz, fragments.m_scan_no);
    last_fragments = fragments.m_scan_no;
    // The other side is ahead by some surveys, as in a run.
    while (last_survey < last_fragments + 35 && m_queue.Take(survey)) {
      EXPECT_EQ(survey.m_scan_no, last_survey + 7);
      last_survey = survey.m_scan_no;
    }
  }
  reader.join();
  EXPECT_EQ(last_fragments, kScans);
  EXPECT_FALSE(m_queue.Take(survey));
  EXPECT_FALSE(m_queue.Take(fragments));
  EXPECT_TRUE(fragments.m_peaks.empty());
}

TEST_P(ScanQueueTest, HoldsTheReaderBack) {
  std::thread reader([this] {
    EXPECT_THROW(for (std::int32_t i = 1;; ++i) PutNumbered<MS2Spectrum>(m_queue, i),
                 QueueIsClosed);
  });
  MS2Spectrum fragments;
  EXPECT_TRUE(m_queue.Take(fragments));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  m_queue.Close();  // a reader that is not held back would never end
  reader.join();
}

TEST_P(ScanQueueTest, EndsTheReaderWhenItIsFullOfTheOtherKind) {
  std::thread reader([this] {
    try {
      for (std::int32_t i = 1;; ++i) PutNumbered<MS1Spectrum>(m_queue, i);
    } catch (const OrderNeedsFiles&) {
      m_queue.Fail(std::current_exception());
    }
  });
  MS2Spectrum fragments;
  EXPECT_THROW(m_queue.Take(fragments), OrderNeedsFiles);
  reader.join();
}

TEST_P(ScanQueueTest, DeliversTheFailureOfTheReader) {
  std::thread reader([this] { m_queue.Fail(std::make_exception_ptr(std::string("damaged"))); });
  MS2Spectrum fragments;
  EXPECT_THROW(m_queue.Take(fragments), std::string);
  reader.join();
}

TEST_P(ScanQueueTest, StartsAnewWhenNothingWasTaken) {
  std::thread reader([this] {
    PutNumbered<MS2Spectrum>(m_queue, 1);
    m_queue.Restart();
    PutNumbered<MS2Spectrum>(m_queue, 2);
    m_queue.Finish();
  });
  MS2Spectrum fragments;
  EXPECT_TRUE(m_queue.Take(fragments));
  EXPECT_EQ(fragments.m_scan_no, 2);
  EXPECT_FALSE(m_queue.Take(fragments));
  reader.join();
}

INSTANTIATE_TEST_SUITE_P(Turns, ScanQueueTest,
                         testing::Values(QueueTurns::kTogether, QueueTurns::kOneByOne),
                         [](const auto& turns) {
                           return turns.param == QueueTurns::kTogether ? "Together" : "OneByOne";
                         });

TEST(ScanQueue, CannotStartAnewWhenScansWereTaken) {
  ScanQueue queue(kRoom, QueueTurns::kTogether);
  PutNumbered<MS2Spectrum>(queue, 1);
  MS2Spectrum fragments;
  EXPECT_TRUE(queue.Take(fragments));
  EXPECT_THROW(queue.Restart(), OrderNeedsFiles);
}

TEST(ScanQueue, PassesLinesAndProgressOn) {
  ScanQueue queue(kRoom, QueueTurns::kTogether);
  queue.PutLine("a\n");
  queue.PutLine("b\n");
  queue.SetFractionRead(0.25);
  EXPECT_EQ(queue.TakeLines(), (std::vector<std::string>{"a\n", "b\n"}));
  EXPECT_TRUE(queue.TakeLines().empty());
  EXPECT_EQ(queue.FractionRead(), 0.25);
}

TEST(ScanQueue, OneByOneWorksOnOneSideAtATime) {
  ScanQueue queue(std::size_t{8} << 20, QueueTurns::kOneByOne);
  std::thread reader([&] {
    for (std::int32_t i = 1; i <= 100; ++i) PutNumbered<MS2Spectrum>(queue, i, 10'000);
    queue.Finish();
  });
  MS2Spectrum fragments;
  EXPECT_TRUE(queue.Take(fragments));
  // 1 MiB of scans of 160 kB was queued before this side was woken; no more comes until it waits.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(queue.WaitingScans(), 6u);
  int taken = 1;
  while (queue.Take(fragments)) ++taken;
  EXPECT_EQ(taken, 100);
  reader.join();
}

}  // namespace
}  // namespace tarvek
