// Any bytes as a gzip file: inflated ahead by threads, and member by member for comparison.
#include "ByteSource.h"
#include "FuzzSupport.h"
#include "Platform.h"
#include "Threads.h"

namespace tarvek::fuzz {
namespace {

// A few bytes can inflate to a thousand times as many; more than this teaches nothing new.
constexpr std::size_t kMostBytes = std::size_t{1} << 22;

struct Outcome {
  std::string m_bytes;
  bool m_is_whole = false;
};

template <class Source>
Outcome ReadAll(Source& source) {
  Outcome outcome;
  std::string block(std::size_t{1} << 16, '\0');
  RunReader([&] {
    while (outcome.m_bytes.size() < kMostBytes) {
      const std::size_t count = source.Read(block.data(), block.size());
      Require(count <= block.size(), "no more comes than was asked for");
      if (count == 0) break;
      outcome.m_bytes.append(block, 0, count);
    }
    outcome.m_is_whole = true;
  });
  return outcome;
}

void Compare(const std::string& path) {
  extractor::ByteSource source(path);
  const Outcome fast = ReadAll(source);
  Require(source.StoredBytesRead() <= source.StoredBytes(), "no more is read than there is");
  extractor::StoredFile file(path);
  file.Refill();
  if (!file.Ahead().starts_with(extractor::kGzipMagic)) return;
  extractor::GzipStream stream(file, extractor::GzipStream::Place::kFirstMember);
  const Outcome slow = ReadAll(stream);
  if (fast.m_bytes.size() >= kMostBytes || slow.m_bytes.size() >= kMostBytes) return;
  Require(fast.m_bytes.starts_with(slow.m_bytes), "both give the same bytes");
  if (slow.m_is_whole) Require(fast.m_is_whole && fast.m_bytes == slow.m_bytes, "to the end");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const bool has_threads = SetEnvironment(kThreadsVariable, "3");
  fuzz::Require(has_threads, "the number of threads is set");
  static const std::string path = fuzz::ScratchPath("run.mzML.gz");
  fuzz::WriteInput(path, fuzz::InputText(data, size));
  fuzz::RunReader([] { fuzz::Compare(path); });
  return 0;
}
