// BasicProcessLogic/ScanQueue.h: scans on their way from the thread that reads an instrument file to
// the one that determines precursors.
// Does:     keeps MS1 and MS2 scans, each kind in order, until they are taken; makes the reader
//           wait when the queue is full; ends both sides when one fails.
// Owns:     the scans on their way, and emptied records for reuse.
// Throws:   Put see below; Take the reader's error.
// Not here: reading, determining, the threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "SpectrumRecords.h"

namespace tarvek {

/// How a queue shares the processor.
enum class QueueTurns {
  kTogether,  // both sides work at the same time
  kOneByOne   // the reader works only while the other side waits
};

/// Put throws this when the taker has closed the queue.
struct QueueIsClosed {};

/// Put, and Take after it, throw this when a file cannot be read in one go: the taker waits for one
/// kind of scan while the queue is full of the other, or scans were already taken and the file must
/// be read again from its start.
struct OrderNeedsFiles {};

class ScanQueue {
 public:
  /// max_bytes: limit for the peaks in the queue.
  ScanQueue(std::size_t max_bytes, QueueTurns turns) : m_max_bytes(max_bytes), m_turns(turns) {}

  // The reader's side.

  void Put(const MS1Spectrum& scan);
  void Put(const MS2Spectrum& scan);
  /// Discards all scans, because the file is read again from its start.
  void Restart();
  /// A line for the log.
  void PutLine(std::string line);
  /// The share of the file that was read, 0 to 1.
  void SetFractionRead(double fraction);
  /// Throws QueueIsClosed when the taker has closed the queue.
  void ThrowIfClosed();
  void Finish();
  void Fail(std::exception_ptr failure);

  // The other side.

  /// The next scan of a kind; false at the end. Waits for it.
  bool Take(MS1Spectrum& scan);
  bool Take(MS2Spectrum& scan);
  /// The lines put since the last call.
  std::vector<std::string> TakeLines();
  [[nodiscard]] double FractionRead();
  [[nodiscard]] std::size_t WaitingScans();
  void Close();

 private:
  template <class Scan>
  struct Lane {
    std::deque<Scan> m_scans;
    std::vector<Scan> m_emptied;
    bool m_is_awaited = false;
  };

  template <class Scan>
  void PutInto(Lane<Scan>& lane, const Scan& scan);
  template <class Scan>
  bool TakeFrom(Lane<Scan>& lane, Scan& scan);
  [[nodiscard]] bool IsStarved() const;
  [[nodiscard]] bool MayPut() const;
  void WakeTaker();

  std::size_t m_max_bytes;
  QueueTurns m_turns;
  std::mutex m_mutex;
  std::condition_variable m_can_put;
  std::condition_variable m_can_take;
  Lane<MS1Spectrum> m_ms1;
  Lane<MS2Spectrum> m_ms2;
  std::vector<std::string> m_lines;
  std::size_t m_bytes = 0;
  double m_fraction_read = 0.0;
  bool m_has_given = false;  // whether a scan was taken
  bool m_is_finished = false;
  bool m_is_closed = false;
  std::exception_ptr m_failure;
};

}  // namespace tarvek
