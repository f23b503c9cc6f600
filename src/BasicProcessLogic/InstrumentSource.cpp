#include "InstrumentSource.h"

#include <exception>
#include <iostream>
#include <new>
#include <ostream>
#include <streambuf>
#include <utility>

#include "Extractor.h"
#include "Logger.h"
#include "Ms2Loop.h"
#include "OutputSet.h"
#include "Platform.h"
#include "ShownText.h"
#include "Threads.h"

namespace tarvek {
namespace {

// Limit for peaks in the queue; about half a second of reading.
constexpr std::size_t kQueueBytes = std::size_t{16} << 20;

/// A stream that sends its lines to a queue.
class LineBuffer final : public std::streambuf {
 public:
  explicit LineBuffer(ScanQueue& queue) : m_queue(&queue) {}

 private:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    m_line += traits_type::to_char_type(c);
    if (m_line.back() == '\n') m_queue->PutLine(std::exchange(m_line, {}));
    return c;
  }

  ScanQueue* m_queue;
  std::string m_line;
};

/// Puts the scans of an extraction into the queue.
class QueueFiller final : public extractor::RecordTaker {
 public:
  QueueFiller(ScanQueue& queue, bool wants_peak_lines)
      : m_queue(&queue), m_wants_peak_lines(wants_peak_lines) {}

  [[nodiscard]] bool WantsPeakLines() const override { return m_wants_peak_lines; }
  void Take(MS1Spectrum& scan) override { m_queue->Put(scan); }
  void Take(MS2Spectrum& scan) override { m_queue->Put(scan); }
  void Start() override { m_queue->Restart(); }
  void OnBlock(const extractor::ReadingState& state) override {
    m_queue->ThrowIfClosed();
    if (state.m_bytes > 0)
      m_queue->SetFractionRead(static_cast<double>(state.m_bytes_read) /
                               static_cast<double>(state.m_bytes));
  }

 private:
  ScanQueue* m_queue;
  bool m_wants_peak_lines;
};

}  // namespace

extractor::ExtractorOptions OptionsOfExtraction(const UserParameters& parameters) {
  extractor::ExtractorOptions options = extractor::ParseOptions(ExtractorArguments(parameters));
  extractor::AddEnvironment(EnvironmentVariable, options.m_overrides);
  return options;
}

InstrumentSource::InstrumentSource(const UserParameters& parameters)
    : m_input(parameters.m_current_file),
      m_name(ExtractorName(parameters.m_input_format)),
      m_queue(kQueueBytes, ThreadsAllowed() > 1 ? QueueTurns::kTogether : QueueTurns::kOneByOne),
      m_ms1(OutputPath(parameters, ".ms1")),
      m_ms2(OutputPath(parameters, ".ms2")),
      m_wants_peak_lines(parameters.m_output_mgf),
      m_writes_spectra(!parameters.m_delete_msn),
      m_thread([this, options = OptionsOfExtraction(parameters)] { Read(options); }) {}

InstrumentSource::~InstrumentSource() {
  m_queue.Close();
  m_thread.join();
}

// Runs in the thread, so no exception may leave it.
void InstrumentSource::Read(const extractor::ExtractorOptions& options) {
  try {
    LineBuffer lines(m_queue);
    std::ostream report(&lines);
    extractor::Marker marker(options);
    QueueFiller filler(m_queue, m_wants_peak_lines);
    m_extraction =
        extractor::Extract(options, options.m_input, marker, report, {m_writes_spectra, &filler});
    m_queue.Finish();
  } catch (...) {
    m_queue.Fail(std::current_exception());
  }
}

void InstrumentSource::LogLines() {
  for (const std::string& line : m_queue.TakeLines()) logMessage(kSubprocess, line);
}

template <class Scan>
bool InstrumentSource::Next(Scan& scan, Announcer& announcer) {
  bool has_scan = false;
  const auto fail = [this](const std::string& reason) {
    LogLines();
    const std::string line = m_name + ": " + Shown(reason) + "\n";
    std::cerr << line << std::flush;
    appendToLog(line);
    throw ExtractionFailedText(m_input);
  };
  try {
    has_scan = m_queue.Take(scan);
  } catch (const std::string& reason) {
    fail(reason);
  } catch (const std::bad_alloc&) {
    fail(std::string(kNoMemory));
  } catch (const std::exception& reason) {
    fail(reason.what());
  }
  LogLines();
  if (!has_scan) return false;
  CompleteScan(scan, logMessage);
  announcer.CountRecord();
  return true;
}

bool InstrumentSource::NextMs1(MS1Spectrum& scan) { return Next(scan, m_ms1); }
bool InstrumentSource::NextMs2(MS2Spectrum& scan) { return Next(scan, m_ms2); }

RunRecord InstrumentSource::Extraction() {
  LogLines();
  return m_extraction;
}

}  // namespace tarvek
