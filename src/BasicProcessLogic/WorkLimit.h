// BasicProcessLogic/WorkLimit.h: the most work that the precursors of one input may take.
// Does:     tells it from the size of the input, so that a small file made for it cannot keep a
//           computer busy for hours.
// Throws:   nothing.
// Not here: the work of a scan (PrecursorDetermination::Work, JointDetermination::Work); what is
//           done beyond the limit (Ms2Loop.h).
#pragma once

#include <cstdint>
#include <optional>

#include "UserParameters.h"

namespace tarvek {

/// In the unit of Work. More where the parameters ask for more candidates than the default ones do.
/// input_bytes: its size; without one there is no limit.
std::int64_t MostWork(const UserParameters& parameters, std::optional<std::int64_t> input_bytes);

}  // namespace tarvek
