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

// A batch is handed on when its peaks have so many bytes; so many are on the way at most.
constexpr std::size_t kBatchBytes = std::size_t{1} << 19;
constexpr std::size_t kMaxBatches = 4;

struct ScanOnTheWay {
  OutputScan m_scan;
  std::vector<Peak> m_peaks;
};

/// Scans that are handed on together; emptied ones keep their room.
struct Batch {
  std::vector<ScanOnTheWay> m_scans;
  std::size_t m_used = 0;
  std::size_t m_bytes = 0;

  void Add(const OutputScan& scan, std::vector<Peak>& peaks) {
    if (m_used == m_scans.size()) m_scans.emplace_back();
    ScanOnTheWay& place = m_scans[m_used++];
    place.m_scan = scan;
    place.m_peaks.swap(peaks);
    m_bytes += sizeof(ScanOnTheWay) + place.m_peaks.size() * sizeof(Peak);
  }
  void Empty() { m_used = m_bytes = 0; }
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
    if (m_filling.m_bytes >= kBatchBytes) HandOn();
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
    m_has_room.wait(lock, [this] { return m_batches.size() < kMaxBatches || m_failure; });
    if (m_failure) std::rethrow_exception(m_failure);
    m_batches.push_back(std::move(m_filling));
    m_filling = {};
    if (!m_emptied.empty()) {
      m_filling = std::move(m_emptied.back());
      m_emptied.pop_back();
    }
    m_has_batches.notify_one();
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

  // Of the thread: nothing may leave it.
  void WriteAll() {
    try {
      Batch batch;
      while (NextBatch(batch))
        for (std::size_t i = 0; i < batch.m_used && !IsDropped(); ++i)
          m_sink->Write(batch.m_scans[i].m_scan, batch.m_scans[i].m_peaks);
    } catch (...) {
      const std::lock_guard lock(m_mutex);
      m_failure = std::current_exception();
      m_has_room.notify_one();
    }
  }

  // batch: goes back emptied; false at the end.
  bool NextBatch(Batch& batch) {
    std::unique_lock lock(m_mutex);
    batch.Empty();
    if (!batch.m_scans.empty()) m_emptied.push_back(std::move(batch));
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
