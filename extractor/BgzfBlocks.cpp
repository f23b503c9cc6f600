#include "BgzfBlocks.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace tarvek::extractor {
namespace {

// The start of a member: two bytes of gzip, deflate, the flag for an extra field only, four bytes
// of time, two of the packer, and the length of the extra field, 6. The field is "BC", its length
// 2, and the size of the whole member less 1.
constexpr std::string_view kStart = "\x1f\x8b\x08\x04";
constexpr std::size_t kExtraAt = 10;
constexpr std::string_view kExtra{"\x06\0BC\x02\0", 6};
constexpr std::size_t kSizeAt = 16;
constexpr std::size_t kHeaderBytes = 18;

constexpr std::size_t kMaxMemberBytes = std::size_t{1} << 16;  // packed and inflated
constexpr std::size_t kMembersPerBlock = 8;

// header: at least kHeaderBytes long.
bool IsHeader(std::string_view header) {
  return header.starts_with(kStart) && header.substr(kExtraAt).starts_with(kExtra);
}

std::size_t MemberSize(std::string_view header) {
  const auto low = static_cast<unsigned char>(header[kSizeAt]);
  const auto high = static_cast<unsigned char>(header[kSizeAt + 1]);
  return (std::size_t{high} << 8 | low) + 1;
}

struct FreeDecompressor {
  void operator()(libdeflate_decompressor* decompressor) const noexcept {
    libdeflate_free_decompressor(decompressor);
  }
};
using Decompressor = std::unique_ptr<libdeflate_decompressor, FreeDecompressor>;

// Appends bytes of the file until text has size bytes; false when the file ends before.
bool Gather(StoredFile& file, std::size_t size, std::string& text) {
  while (text.size() < size) {
    if (file.Ahead().empty() && !file.Refill()) return false;
    const std::string_view piece = file.Ahead().substr(0, size - text.size());
    text.append(piece);
    file.Take(piece.size());
  }
  return true;
}

// Inflates one whole member to out and returns the number of bytes; std::nullopt when any part of
// it is wrong.
std::optional<std::size_t> InflateMember(libdeflate_decompressor* decompressor,
                                         std::string_view member, char* out) {
  std::size_t taken = 0;
  std::size_t size = 0;
  const auto result = libdeflate_gzip_decompress_ex(decompressor, member.data(), member.size(), out,
                                                    kMaxMemberBytes, &taken, &size);
  if (result != LIBDEFLATE_SUCCESS || taken != member.size()) return std::nullopt;
  return size;
}

}  // namespace

bool BeginsBgzf(std::string_view bytes) { return bytes.size() >= kHeaderBytes && IsHeader(bytes); }

// Appends the next member to the packed bytes; false, without appending, when none follows.
bool BgzfBlocks::TakeMember(Block& block) {
  const std::size_t before = block.m_packed.size();
  const auto member = [&] { return std::string_view(block.m_packed).substr(before); };
  if (Gather(*m_file, before + kHeaderBytes, block.m_packed) && IsHeader(member()) &&
      MemberSize(member()) >= kHeaderBytes &&
      Gather(*m_file, before + MemberSize(member()), block.m_packed))
    return true;
  block.m_packed.resize(before);
  return false;
}

bool BgzfBlocks::Take(Block& block) {
  if (m_at_end) return false;
  block.m_packed.clear();
  block.m_offset = m_file->Offset();
  block.m_goes_on_at.reset();
  for (std::size_t i = 0; i < kMembersPerBlock && !m_at_end; ++i) m_at_end = !TakeMember(block);
  if (m_at_end)
    block.m_goes_on_at = block.m_offset + static_cast<std::int64_t>(block.m_packed.size());
  block.m_stored_bytes_read = m_file->BytesRead();
  return true;
}

void BgzfBlocks::Finish(Block& block) const {
  const Decompressor decompressor(libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();
  char* const begin = block.m_bytes.Prepare(kMembersPerBlock * kMaxMemberBytes);
  std::size_t size = 0;
  std::string_view rest = block.m_packed;
  while (!rest.empty()) {
    const std::string_view member = rest.substr(0, MemberSize(rest));
    const auto inflated = InflateMember(decompressor.get(), member, begin + size);
    if (!inflated) {
      const auto done = static_cast<std::int64_t>(block.m_packed.size() - rest.size());
      block.m_goes_on_at = block.m_offset + done;
      break;
    }
    size += *inflated;
    rest.remove_prefix(member.size());
  }
  block.m_bytes.Shrink(size);
}

}  // namespace tarvek::extractor
