#include "GzipStream.h"

namespace tarvek::extractor {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{1} << 18;

// On damage the output of the current step is lost, so a step is as small as a parser's request.
constexpr std::size_t kStepBytes = std::size_t{1} << 16;

}  // namespace

GzipStream::GzipStream(StoredFile& file, Place place) : m_file(&file) {
  if (place == Place::kBehindMember) StartNextMember();
}

std::size_t GzipStream::Read(char* bytes, std::size_t size) {
  while (!m_at_end) {
    if (m_file->Ahead().empty() && !m_file->Refill())
      throw TruncatedFile(m_file->Path() +
                          ": the compressed file is truncated; nothing was extracted");
    std::size_t written = size;
    std::string_view rest = m_file->Ahead();
    const auto status = m_inflater.InflateSome(rest, bytes, written);
    m_file->Take(m_file->Ahead().size() - rest.size());
    if (status == Inflater::Status::kDamaged)
      throw m_file->Path() + ": the compressed file is damaged; nothing was extracted";
    if (status == Inflater::Status::kStreamEnd) StartNextMember();
    if (written > 0) return written;
  }
  return 0;
}

// A gzip file may contain several members; other data after one is padding.
void GzipStream::StartNextMember() {
  if (m_file->Ahead().empty()) m_file->Refill();
  m_at_end = m_file->Ahead().empty() || m_file->Ahead().front() != kGzipMagic.front();
  m_inflater.Restart();
}

bool GzipBlocks::Take(Block& block) {
  if (m_error) std::rethrow_exception(m_error);
  char* const begin = block.m_bytes.Prepare(kBlockBytes);
  std::size_t size = 0;
  try {
    for (std::size_t read = 1; read > 0 && size + kStepBytes <= kBlockBytes; size += read)
      read = m_stream.Read(begin + size, kStepBytes);
  } catch (...) {
    if (size == 0) throw;
    m_error = std::current_exception();
  }
  block.m_bytes.Shrink(size);
  block.m_stored_bytes_read = m_file->BytesRead();
  block.m_goes_on_at.reset();
  return size > 0;
}

}  // namespace tarvek::extractor
