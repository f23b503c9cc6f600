#include "XmlStream.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "ByteSource.h"
#include "ExpatParser.h"
#include "HeaderRepair.h"
#include "XmlPlace.h"
#include "XmlScanner.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kLargeTokenBytes = std::size_t{1} << 16;

// A longer prolog goes to expat, because the scanner reads it again with every block.
constexpr std::size_t kMaxPrologBytes = std::size_t{1} << 16;

/// Bytes that were read and not yet taken, with room for a block after them.
class PendingBytes {
 public:
  /// Room after the pending bytes, valid until the next call.
  std::span<char> Room(std::size_t size) {
    if (m_begin > 0) std::memmove(m_bytes.data(), m_bytes.data() + m_begin, Size());
    m_end -= std::exchange(m_begin, 0);
    if (m_bytes.size() < m_end + size + 1) m_bytes.resize(2 * m_end + size + 1);
    return {m_bytes.data() + m_end, size};
  }

  /// Adds size bytes that were written to the room. A zero follows them, for the scanner.
  void Add(std::size_t size) {
    m_end += size;
    m_bytes[m_end] = '\0';
  }

  void Take(std::size_t size) { m_begin += size; }

  [[nodiscard]] std::size_t Size() const { return m_end - m_begin; }
  [[nodiscard]] std::string_view Text() const { return {m_bytes.data() + m_begin, Size()}; }

 private:
  std::vector<char> m_bytes = std::vector<char>(1);
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};

/// The scanner, and expat from the place where the scanner stops.
class XmlReader {
 public:
  XmlReader(const std::string& path, XmlHandler& handler, bool by_expat_alone)
      : m_path(path), m_handler(&handler), m_scanner(handler) {
    if (by_expat_alone) m_expat.emplace(path, handler);
  }

  /// Reads what it can of the pending bytes.
  void Read(PendingBytes& pending, bool is_last) {
    if (!m_expat) Scan(pending, is_last);
    if (!m_expat) return;
    m_expat->Parse(pending.Text(), is_last);
    pending.Take(pending.Size());
  }

  [[nodiscard]] bool IsByExpat() const { return m_expat.has_value(); }

 private:
  void Scan(PendingBytes& pending, bool is_last) {
    if (!is_last && pending.Size() < m_bytes_to_wait_for) return;
    const XmlScanner::Outcome outcome = ScanPlaced(pending.Text());
    m_place.Pass(pending.Text().substr(0, m_scanner.TakenBytes()));
    pending.Take(m_scanner.TakenBytes());
    const bool is_odd_prolog = !m_scanner.HasRoot() && pending.Size() > kMaxPrologBytes;
    const bool is_odd_end = is_last && !(m_scanner.IsComplete() && pending.Size() == 0);
    if (outcome == XmlScanner::Outcome::kOdd || is_odd_prolog || is_odd_end) return GiveToExpat();
    if (pending.Size() > kMaxXmlTokenBytes) throw Placed(kHugeXmlToken);
    // A token that is cut off is scanned again from its start; a large one only after twice as many
    // bytes have come, so that it is not scanned too often.
    m_bytes_to_wait_for =
        pending.Size() < kLargeTokenBytes ? 0 : std::min(2 * pending.Size(), kMaxXmlTokenBytes + 1);
  }

  XmlScanner::Outcome ScanPlaced(std::string_view bytes) {
    try {
      return m_scanner.Scan(bytes);
    } catch (const std::string& detail) {
      m_place.Pass(bytes.substr(0, m_scanner.TakenBytes()));
      throw Placed(detail);
    }
  }

  void GiveToExpat() { m_expat.emplace(m_path, *m_handler, m_place, m_scanner.Opening()); }

  [[nodiscard]] std::string Placed(const std::string& detail) const {
    return m_path + ": " + m_place.Text() + detail;
  }

  std::string m_path;
  XmlHandler* m_handler;
  XmlScanner m_scanner;
  XmlPlace m_place;  // of the first pending byte
  std::size_t m_bytes_to_wait_for = 0;
  std::optional<ExpatParser> m_expat;
};

}  // namespace

void ReadXmlFile(const std::string& path, XmlHandler& handler,
                 const std::function<void(const ReadingState&)>& on_block,
                 const XmlReading& reading) {
  ByteSource source(path);
  handler.OnStoredBytes(source.StoredBytes());
  XmlReader reader(path, handler, reading.m_by_expat_alone);
  PendingBytes pending;
  bool is_header = true;
  for (std::size_t size = 1; size > 0;) {
    const std::span<char> room = pending.Room(reading.m_block_bytes);
    size = source.Read(room.data(), room.size());
    if (std::exchange(is_header, false)) BlankRepeatedAttributes(room.first(size));
    pending.Add(size);
    reader.Read(pending, size == 0);
    on_block({source.StoredBytes(), source.StoredBytesRead(), reader.IsByExpat()});
  }
}

}  // namespace tarvek::extractor
