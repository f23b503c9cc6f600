// extractor/SinkAside.h: a sink that writes in its own thread.
// Does:     takes scans, queues a few, and has another sink write them in order.
// Owns:     the other sink, the thread, the queued scans.
// Throws:   what the other sink throws: out of a later Write, or out of Close.
// Not here: what is written (ScanSinks.h).
#pragma once

#include <memory>

#include "ScanSinks.h"

namespace tarvek::extractor {

/// sink: the thread calls it until Close has returned. When the result is destroyed before Close,
/// it drops the queued scans.
std::unique_ptr<ScanSink> MakeSinkAside(std::unique_ptr<ScanSink> sink);

}  // namespace tarvek::extractor
