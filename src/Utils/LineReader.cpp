#include "LineReader.h"

#include <algorithm>

namespace tarvek {
namespace {

constexpr std::size_t kMaxPiece = kMaxLineLength - 1;

}  // namespace

bool LineReader::ReadPiece(std::string_view& piece) {
  while (true) {
    const std::string_view ahead = m_bytes.View().substr(0, kMaxPiece);
    const std::size_t line_feed = ahead.find('\n');
    if (line_feed != std::string_view::npos) {
      piece = Take(line_feed + 1);
      return true;
    }
    if (ahead.size() == kMaxPiece || (m_at_end && !ahead.empty())) {
      piece = Take(ahead.size());
      return true;
    }
    if (m_at_end) return false;
    Refill();
  }
}

void LineReader::Refill() {
  m_at_end = !m_bytes.Refill();
  m_has_nul = m_bytes.View().find('\0') != std::string_view::npos;
}

std::string_view LineReader::Take(std::size_t size) {
  std::string_view piece = m_bytes.View().substr(0, size);
  m_bytes.Consume(size);
  if (m_has_nul) piece = piece.substr(0, piece.find('\0'));
  return piece;
}

}  // namespace tarvek
