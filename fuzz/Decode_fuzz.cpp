// Any bytes as a base64 text, and as a zlib stream: the fast decoders against slow ones.
#include "Base64.h"
#include "Base64Twin.h"
#include "FuzzSupport.h"
#include "Inflater.h"
#include "ZlibArray.h"

namespace tarvek::fuzz {
namespace {

void CompareBase64(std::string_view text) {
  const auto slow = extractor::test::DecodeBase64Slowly(text);
  extractor::ByteBuffer bytes;
  Require(extractor::DecodeBase64(text, bytes) == slow.has_value(), "the same texts are base64");
  if (slow) Require(bytes.View() == *slow, "they hold the same bytes");
  Require(extractor::DecodeBase64Portably(text, bytes) == slow.has_value(), "on any processor");
  if (slow) Require(bytes.View() == *slow, "and the same bytes there");
}

// What zlib accepts, the fast inflater accepts too; what zlib refuses may pass if the checksum
// fits.
void CompareZlib(std::string_view packed, std::size_t max_bytes) {
  static extractor::ZlibArray array;
  static extractor::Inflater inflater(extractor::StreamKind::kZlib);
  std::string slow;
  extractor::ByteBuffer bytes;
  const bool is_taken = array.Inflate(packed, max_bytes, bytes);
  if (!inflater.InflateAll(packed, max_bytes, slow)) return;
  Require(is_taken, "what zlib inflates is inflated");
  const bool is_too_long = slow.size() > max_bytes;
  Require((bytes.View().size() > max_bytes) == is_too_long, "the same streams are too long");
  if (!is_too_long) Require(bytes.View() == slow, "the others hold the same bytes");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  const std::string_view text = fuzz::InputText(data, size);
  fuzz::CompareBase64(text);
  for (const std::size_t max_bytes : {std::size_t{100}, std::size_t{1} << 20})
    fuzz::CompareZlib(text, max_bytes);
  return 0;
}
