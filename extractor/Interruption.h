// extractor/Interruption.h: being told to stop.
// Does:     asks, between two blocks of the work, whether a stop was requested, so that unfinished
//           files can be removed.
// Throws:   ThrowIfInterrupted a std::string.
// Not here: listening for requests (NoteStopRequests in Platform.h); removing anything.
#pragma once

namespace tarvek::extractor {

/// Throws "interrupted" when a stop was requested.
void ThrowIfInterrupted();

}  // namespace tarvek::extractor
