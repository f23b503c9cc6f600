#include "simulate/Random.h"

#include <algorithm>
#include <cmath>

namespace tarvek::tools {
namespace {

constexpr double kLargestCountedMean = 30.0;

// SplitMix64 (Steele, Lea and Flood, OOPSLA 2014): spreads near-by seeds over all 64 bits.
std::uint64_t Spread(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15u;
  value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
  value = (value ^ value >> 27) * 0x94D049BB133111EBu;
  return value ^ value >> 31;
}

}  // namespace

Random::Random(std::uint64_t seed, std::uint64_t stream)
    : m_engine(Spread(Spread(seed) + stream)) {}

double Random::Uniform() { return static_cast<double>(m_engine() >> 11) * 0x1p-53; }

double Random::Uniform(double low, double high) { return low + (high - low) * Uniform(); }

std::size_t Random::Below(std::size_t count) {
  return std::min(count - 1, static_cast<std::size_t>(Uniform() * static_cast<double>(count)));
}

bool Random::Chance(double probability) { return Uniform() < probability; }

// Marsaglia's polar method: two numbers at a time.
double Random::Normal() {
  if (m_has_spare) {
    m_has_spare = false;
    return m_spare_normal;
  }
  double x = 0.0;
  double y = 0.0;
  double square = 0.0;
  do {
    x = Uniform(-1.0, 1.0);
    y = Uniform(-1.0, 1.0);
    square = x * x + y * y;
  } while (square >= 1.0 || square == 0.0);
  const double scale = std::sqrt(-2.0 * std::log(square) / square);
  m_spare_normal = y * scale;
  m_has_spare = true;
  return x * scale;
}

double Random::LogNormal(double median, double ln_deviation) {
  return median * std::exp(ln_deviation * Normal());
}

double Random::Exponential(double mean) { return -mean * std::log(1.0 - Uniform()); }

std::size_t Random::Poisson(double mean) {
  if (mean > kLargestCountedMean)
    return static_cast<std::size_t>(std::max(0.0, std::round(mean + std::sqrt(mean) * Normal())));
  const double floor = std::exp(-mean);
  std::size_t count = 0;
  double product = Uniform();
  while (product > floor) {
    product *= Uniform();
    ++count;
  }
  return count;
}

}  // namespace tarvek::tools
