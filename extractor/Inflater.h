// extractor/Inflater.h: zlib and gzip streams.
// Does:     inflates one array at once, or a gzip file piece by piece.
// Owns:     the state of one zlib stream, reused from call to call.
// Throws:   nothing but std::bad_alloc; failures are return values.
// Not here: files (ByteSource.h).
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace tarvek::extractor {

enum class StreamKind { kZlib, kGzip };

class Inflater {
 public:
  explicit Inflater(StreamKind kind);
  ~Inflater();
  Inflater(Inflater&&) noexcept;
  Inflater& operator=(Inflater&&) = delete;

  /// Replaces bytes by the contents of the one stream in packed; stops after max_bytes, so that a
  /// small stream cannot fill the memory. False when the stream is damaged or does not end in
  /// packed.
  bool InflateAll(std::string_view packed, std::size_t max_bytes, std::string& bytes);

  enum class Status { kMore, kStreamEnd, kDamaged };

  /// Inflates from the front of packed into out and removes the consumed bytes from packed; size
  /// becomes the number of bytes written. After kStreamEnd, call Restart before the next stream.
  Status InflateSome(std::string_view& packed, char* out, std::size_t& size);
  void Restart();

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace tarvek::extractor
