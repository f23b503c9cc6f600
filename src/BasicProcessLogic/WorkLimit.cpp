#include "WorkLimit.h"

#include <cmath>
#include <limits>

namespace tarvek {
namespace {

// About two seconds, and eight for ten megabytes. Real runs take at most 1 per byte.
constexpr double kWorkOfAnyInput = 2e7;
constexpr double kWorkPerByte = 8.0;

constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

double CandidatesPerPeak(const UserParameters& parameters) {
  return static_cast<double>(parameters.m_charge_max) - parameters.m_charge_min + 1.0;
}

// How many times as many candidates the parameters allow as the default ones, at least one.
double ShareOfDefault(const UserParameters& parameters) {
  const UserParameters defaults;
  const double charges = CandidatesPerPeak(parameters) / CandidatesPerPeak(defaults);
  const double width = parameters.m_candidate_halfwidth / defaults.m_candidate_halfwidth;
  return std::fmax(1.0, charges) * std::fmax(1.0, width);  // fmax: a NaN counts as one
}

}  // namespace

std::int64_t MostWork(const UserParameters& parameters, std::optional<std::int64_t> input_bytes) {
  if (!input_bytes) return kNoLimit;
  const double most = (kWorkOfAnyInput + kWorkPerByte * static_cast<double>(*input_bytes)) *
                      ShareOfDefault(parameters);
  return most < static_cast<double>(kNoLimit) ? static_cast<std::int64_t>(most) : kNoLimit;
}

}  // namespace tarvek
