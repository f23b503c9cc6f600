#include "SinkAside.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace tarvek::extractor {
namespace {

// A batch is handed on when its peaks have so many bytes; so many are on the way at most, and one where
// it is large.
constexpr std::size_t kBatchBytes = std::size_t{1} << 19;
constexpr std::size_t kMaxBatches = 4;
constexpr std::size_t kLargeBatchBytes = std::size_t{8} << 20;

/// Scans that are passed on together, with their peaks in one list: separate lists would all grow
/// to the size of the largest. An emptied batch keeps its capacity.
struct Batch {
  struct Place {
    OutputScan m_scan;
    std::size_t m_end = 0;  // of its peaks
  };
  std::vector<Place> m_places;
  std::size_t m_used = 0;  // of m_places
  std::vector<Peak> m_peaks;

  void Add(const OutputScan& scan, const std::vector<Peak>& peaks) {
    m_peaks.insert(m_peaks.end(), peaks.begin(), peaks.end());
    if (m_used == m_places.size()) m_places.emplace_back();
    m_places[m_used++] = {scan, m_peaks.size()};
  }
  [[nodiscard]] bool IsFull() const {
    return m_used * sizeof(Place) + m_peaks.size() * sizeof(Peak) >= kBatchBytes;
  }
  [[nodiscard]] bool IsLarge() const {
    return m_peaks.capacity() * sizeof(Peak) > kLargeBatchBytes;
  }
  void Empty() {
    m_used = 0;
    m_peaks.clear();
  }
};

class SinkAside final : public ScanSink {
 public:
  explicit SinkAside(std::unique_ptr<ScanSink> sink)
      : m_sink(std::move(sink)), m_thread([this] { WriteAll(); }) {}
  SinkAside(const SinkAside&) = delete;
  SinkAside& operator=(const SinkAside&) = delete;
  ~SinkAside() override {
    {
      const std::lock_guard lock(m_mutex);
      m_is_dropped = true;
    }
    End();
  }

  void Write(const OutputScan& scan, std::vector<Peak>& peaks) override {
    m_filling.Add(scan, peaks);
    if (m_filling.IsFull()) HandOn();
  }

  void Close() override {
    HandOn();
    End();
    if (m_failure) std::rethrow_exception(m_failure);
    m_sink->Close();
  }

  void Commit() override { m_sink->Commit(); }

 private:
  void HandOn() {
    std::unique_lock lock(m_mutex);
    m_has_room.wait(lock, [this] { return HasRoom() || m_failure; });
    if (m_failure) std::rethrow_exception(m_failure);
    m_batches.push_back(std::move(m_filling));
    m_filling = {};
    if (!m_emptied.empty()) {
      m_filling = std::move(m_emptied.back());
      m_emptied.pop_back();
    }
    m_has_batches.notify_one();
  }

  [[nodiscard]] bool HasRoom() const {
    if (m_batches.empty()) return true;
    return m_batches.size() < kMaxBatches && !m_filling.IsLarge() && !m_batches.back().IsLarge();
  }

  // No more batches come.
  void End() {
    {
      const std::lock_guard lock(m_mutex);
      m_is_complete = true;
      m_has_batches.notify_one();
    }
    if (m_thread.joinable()) m_thread.join();
  }

  // Runs in the thread, so no exception may leave it.
  void WriteAll() {
    try {
      Batch batch;
      while (NextBatch(batch)) WriteBatch(batch);
    } catch (...) {
      const std::lock_guard lock(m_mutex);
      m_failure = std::current_exception();
      m_has_room.notify_one();
    }
  }

  void WriteBatch(const Batch& batch) {
    const Peak* first = batch.m_peaks.data();
    for (std::size_t i = 0; i < batch.m_used && !IsDropped(); ++i) {
      const Peak* const end = batch.m_peaks.data() + batch.m_places[i].m_end;
      m_peaks.assign(first, end);
      m_sink->Write(batch.m_places[i].m_scan, m_peaks);
      first = end;
    }
  }

  // Returns the old batch emptied and takes the next; false at the end.
  bool NextBatch(Batch& batch) {
    std::unique_lock lock(m_mutex);
    const bool is_large = batch.IsLarge();
    batch.Empty();
    if (!batch.m_places.empty() && !is_large) m_emptied.push_back(std::move(batch));
    batch = {};
    m_has_batches.wait(lock, [this] { return !m_batches.empty() || m_is_complete; });
    if (m_batches.empty() || m_is_dropped) return false;
    batch = std::move(m_batches.front());
    m_batches.pop_front();
    m_has_room.notify_one();
    return true;
  }

  bool IsDropped() {
    const std::lock_guard lock(m_mutex);
    return m_is_dropped;
  }

  std::unique_ptr<ScanSink> m_sink;
  std::vector<Peak> m_peaks;  // the thread's
  Batch m_filling;
  std::mutex m_mutex;
  std::condition_variable m_has_room;
  std::condition_variable m_has_batches;
  std::deque<Batch> m_batches;
  std::vector<Batch> m_emptied;
  bool m_is_complete = false;
  bool m_is_dropped = false;
  std::exception_ptr m_failure;
  std::thread m_thread;
};

}  // namespace

std::unique_ptr<ScanSink> MakeSinkAside(std::unique_ptr<ScanSink> sink) {
  return std::make_unique<SinkAside>(std::move(sink));
}

}  // namespace tarvek::extractor
