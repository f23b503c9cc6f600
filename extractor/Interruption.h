// extractor/Interruption.h: being told to stop.
// Does:     turns SIGINT and SIGTERM into a question that the work asks between two blocks, so that
//           it can remove its unfinished files.
// Throws:   ThrowIfInterrupted a std::string.
// Not here: removing anything.
#pragma once

namespace tarvek::extractor {

/// Called once at the start of a program.
void CatchInterruptions() noexcept;

/// Throws "interrupted" when a signal came.
void ThrowIfInterrupted();

}  // namespace tarvek::extractor
