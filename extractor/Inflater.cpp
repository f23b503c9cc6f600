#include "Inflater.h"

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>

namespace tarvek::extractor {

struct Inflater::State {
  explicit State(StreamKind kind) {
    constexpr int kGzipFlag = 16;
    const int window_bits = MAX_WBITS + (kind == StreamKind::kGzip ? kGzipFlag : 0);
    if (inflateInit2(&m_stream, window_bits) != Z_OK) throw std::bad_alloc();
  }
  ~State() { inflateEnd(&m_stream); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  z_stream m_stream{};
};

namespace {

// zlib counts in unsigned int.
uInt Portion(std::size_t size) {
  return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

}  // namespace

Inflater::Inflater(StreamKind kind) : m_state(std::make_unique<State>(kind)) {}
Inflater::~Inflater() = default;
Inflater::Inflater(Inflater&&) noexcept = default;

void Inflater::Restart() { inflateReset(&m_state->m_stream); }

Inflater::Status Inflater::InflateSome(std::string_view& packed, char* out, std::size_t& size) {
  z_stream& stream = m_state->m_stream;
  const uInt given = Portion(packed.size());
  const uInt room = Portion(size);
  // zlib does not change its input, but by default declares it without const.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = given;
  stream.next_out = reinterpret_cast<Bytef*>(out);
  stream.avail_out = room;
  const int result = inflate(&stream, Z_NO_FLUSH);
  packed.remove_prefix(given - stream.avail_in);
  size = room - stream.avail_out;
  if (result == Z_STREAM_END) return Status::kStreamEnd;
  return result == Z_OK || result == Z_BUF_ERROR ? Status::kMore : Status::kDamaged;
}

bool Inflater::InflateAll(std::string_view packed, std::size_t max_bytes, std::string& bytes) {
  Restart();
  std::size_t used = 0;
  for (;;) {
    const std::size_t more = std::max<std::size_t>(packed.size() * 4, 4096);
    bytes.resize(std::max(bytes.size(), std::min(used + more, max_bytes + 1)));
    std::size_t size = bytes.size() - used;
    const Status status = InflateSome(packed, bytes.data() + used, size);
    used += size;
    const bool ended = status == Status::kStreamEnd;
    if (ended || used > max_bytes) {
      bytes.resize(used);
      return true;
    }
    if (status == Status::kDamaged || (packed.empty() && used < bytes.size())) return false;
  }
}

}  // namespace tarvek::extractor
