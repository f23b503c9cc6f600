// tools/simulate/Random.h: random numbers that are the same with every standard library.
// Does:     draws from the usual distributions over std::mt19937_64. The standard fixes the numbers
//           of this generator, but not those of its distributions.
// Owns:     the state of the generator.
// Throws:   nothing.
// Not here: what is drawn.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace tarvek::tools {

class Random {
 public:
  /// Generators of one seed and different streams are independent.
  explicit Random(std::uint64_t seed, std::uint64_t stream = 0);

  double Uniform();  // in [0, 1)
  double Uniform(double low, double high);
  std::size_t Below(std::size_t count);  // 0 .. count - 1; count above 0
  bool Chance(double probability);
  double Normal();  // mean 0, standard deviation 1
  double LogNormal(double median, double ln_deviation);
  double Exponential(double mean);

  /// Mean not negative; above a mean of 30, rounded normal numbers.
  std::size_t Poisson(double mean);

  /// A seed for another generator.
  std::uint64_t Bits() { return m_engine(); }

 private:
  std::mt19937_64 m_engine;
  double m_spare_normal = 0.0;
  bool m_has_spare = false;
};

}  // namespace tarvek::tools
