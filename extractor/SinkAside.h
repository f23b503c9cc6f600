// extractor/SinkAside.h: a sink that writes on a thread of its own.
// Does:     takes scans, keeps a few on the way, and has another sink write them in their order.
// Owns:     the other sink, the thread, the scans on the way.
// Throws:   what the other sink throws: out of a later Write, or out of Close.
// Not here: what is written (ScanSinks.h).
#pragma once

#include <memory>

#include "ScanSinks.h"

namespace tarvek::extractor {

/// sink: is called from the thread until Close has returned. When the result is destroyed before Close,
/// scans on the way are dropped.
std::unique_ptr<ScanSink> MakeSinkAside(std::unique_ptr<ScanSink> sink);

}  // namespace tarvek::extractor
