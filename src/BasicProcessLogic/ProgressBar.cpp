#include "ProgressBar.h"

#include <algorithm>

#include "Logger.h"
#include "NumberText.h"
#include "Platform.h"

namespace tarvek {
namespace {

constexpr std::int64_t kIntervalMs = 100;
constexpr std::int64_t kScansPerLook = 16;  // between looks at the clock
constexpr std::size_t kBarWidth = 30;

// A smaller fraction is too little to estimate the time left.
constexpr double kMinFraction = 0.01;

}  // namespace

ProgressBar::ProgressBar(bool enabled) : m_enabled(enabled) {
  if (!enabled) return;
  m_start_ms = MonotonicMilliseconds();
  m_next_ms = m_start_ms + kIntervalMs;
}

ProgressBar::~ProgressBar() {
  if (m_shown) GlobalLogger().ShowStatus({});
}

void ProgressBar::Update(double fraction, std::int64_t scans) {
  if (!m_enabled || scans % kScansPerLook != 0) return;
  const std::int64_t now_ms = MonotonicMilliseconds();
  if (now_ms < m_next_ms) return;
  m_next_ms = now_ms + kIntervalMs;
  GlobalLogger().ShowStatus(ProgressLine(fraction, scans, now_ms - m_start_ms));
  m_shown = true;
}

std::string ProgressLine(double fraction, std::int64_t scans, std::int64_t elapsed_ms) {
  const double share = std::clamp(fraction, 0.0, 1.0);
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(kBarWidth));
  std::string line = "[";
  line.append(filled, '#').append(kBarWidth - filled, '.').append("] ");
  AppendInteger(line, static_cast<std::int64_t>(share * 100.0));
  line += " %, ";
  AppendInteger(line, scans * 1000 / std::max<std::int64_t>(elapsed_ms, 1));
  line += " scans/s";
  if (share < kMinFraction) return line;
  const double left_ms = static_cast<double>(elapsed_ms) * (1.0 - share) / share;
  return line + ", " + MinutesAndSeconds(static_cast<std::int64_t>(left_ms / 1000.0)) + " left";
}

std::string MinutesAndSeconds(std::int64_t seconds) {
  return std::to_string(seconds / 60) + (seconds % 60 < 10 ? ":0" : ":") +
         std::to_string(seconds % 60);
}

}  // namespace tarvek
