#include "ScanQueue.h"

#include <algorithm>

namespace tarvek {
namespace {

// Waking the other side costs more than one scan does, so we do it once per so many bytes.
constexpr std::size_t kBatchBytes = std::size_t{1} << 20;

// So many emptied records are kept of each kind, for the capacity of their peaks.
constexpr std::size_t kMaxEmptied = 256;

std::size_t BytesOf(const MS1Spectrum& scan) {
  return sizeof scan + scan.m_peaks.size() * sizeof(Peak);
}
std::size_t BytesOf(const MS2Spectrum& scan) {
  return sizeof scan + scan.m_peaks.size() * sizeof(Peak) + scan.m_peak_lines.size();
}

}  // namespace

bool ScanQueue::IsStarved() const {
  return (m_ms1.m_is_awaited && m_ms1.m_scans.empty()) ||
         (m_ms2.m_is_awaited && m_ms2.m_scans.empty());
}

bool ScanQueue::MayPut() const {
  if (m_is_closed || IsStarved()) return true;
  if (m_turns == QueueTurns::kTogether) return m_bytes < m_max_bytes;
  return (m_ms1.m_is_awaited || m_ms2.m_is_awaited) && m_bytes < std::min(kBatchBytes, m_max_bytes);
}

void ScanQueue::WakeTaker() {
  if ((m_ms1.m_is_awaited || m_ms2.m_is_awaited) && !IsStarved()) m_can_take.notify_one();
}

template <class Scan>
void ScanQueue::PutInto(Lane<Scan>& lane, const Scan& scan) {
  std::unique_lock lock(m_mutex);
  if (!MayPut()) {
    WakeTaker();
    m_can_put.wait(lock, [this] { return MayPut(); });
  }
  if (m_is_closed) throw QueueIsClosed();
  if (m_bytes >= m_max_bytes && !(lane.m_is_awaited && lane.m_scans.empty()))
    throw OrderNeedsFiles();
  m_bytes += BytesOf(scan);
  if (lane.m_emptied.empty()) lane.m_emptied.emplace_back();
  lane.m_scans.push_back(std::move(lane.m_emptied.back()));
  lane.m_emptied.pop_back();
  // A copy, so that each kind's lists keep their own capacity.
  lane.m_scans.back() = scan;
  if (m_bytes >= kBatchBytes || m_bytes >= m_max_bytes) WakeTaker();
}

template <class Scan>
bool ScanQueue::TakeFrom(Lane<Scan>& lane, Scan& scan) {
  std::unique_lock lock(m_mutex);
  if (lane.m_scans.empty() && !m_is_finished) {
    lane.m_is_awaited = true;
    m_can_put.notify_one();
    m_can_take.wait(lock, [&] { return !lane.m_scans.empty() || m_is_finished; });
    lane.m_is_awaited = false;
  }
  if (m_failure) std::rethrow_exception(m_failure);
  if (lane.m_scans.empty()) {
    Clear(scan);
    return false;
  }
  m_has_given = true;
  m_bytes -= BytesOf(lane.m_scans.front());
  std::swap(lane.m_scans.front(), scan);
  if (lane.m_emptied.size() < kMaxEmptied)
    lane.m_emptied.push_back(std::move(lane.m_scans.front()));
  lane.m_scans.pop_front();
  // Not at every scan: the reader continues when half of the queue is free.
  if (m_turns == QueueTurns::kTogether && m_bytes < m_max_bytes / 2) m_can_put.notify_one();
  return true;
}

void ScanQueue::Put(const MS1Spectrum& scan) { PutInto(m_ms1, scan); }
void ScanQueue::Put(const MS2Spectrum& scan) { PutInto(m_ms2, scan); }
bool ScanQueue::Take(MS1Spectrum& scan) { return TakeFrom(m_ms1, scan); }
bool ScanQueue::Take(MS2Spectrum& scan) { return TakeFrom(m_ms2, scan); }

void ScanQueue::Restart() {
  const std::lock_guard lock(m_mutex);
  if (m_has_given) throw OrderNeedsFiles();
  m_ms1.m_scans.clear();
  m_ms2.m_scans.clear();
  m_bytes = 0;
}

void ScanQueue::PutLine(std::string line) {
  const std::lock_guard lock(m_mutex);
  m_lines.push_back(std::move(line));
}

void ScanQueue::SetFractionRead(double fraction) {
  const std::lock_guard lock(m_mutex);
  m_fraction_read = fraction;
}

void ScanQueue::ThrowIfClosed() {
  const std::lock_guard lock(m_mutex);
  if (m_is_closed) throw QueueIsClosed();
}

void ScanQueue::Finish() { Fail(nullptr); }

void ScanQueue::Fail(std::exception_ptr failure) {
  const std::lock_guard lock(m_mutex);
  m_failure = std::move(failure);
  m_is_finished = true;
  m_can_take.notify_one();
}

std::vector<std::string> ScanQueue::TakeLines() {
  const std::lock_guard lock(m_mutex);
  return std::exchange(m_lines, {});
}

double ScanQueue::FractionRead() {
  const std::lock_guard lock(m_mutex);
  return m_fraction_read;
}

std::size_t ScanQueue::WaitingScans() {
  const std::lock_guard lock(m_mutex);
  return m_ms1.m_scans.size() + m_ms2.m_scans.size();
}

void ScanQueue::Close() {
  const std::lock_guard lock(m_mutex);
  m_is_closed = true;
  m_can_put.notify_one();
}

}  // namespace tarvek
