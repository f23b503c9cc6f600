#include "mgf/Output.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "FileUtils.h"
#include "NumberText.h"
#include "StringUtils.h"
#include "TableReader.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kMapHeader =
    "file\tplace\tsource\trun\tscan\tprecursor\tcharge\tmz\trt_seconds\n";

constexpr std::string_view kMapEnding = ".ids.tsv";
constexpr std::string_view kEnding = ".mgf";
constexpr std::string_view kPackedEnding = ".mgf.gz";

std::string PartBase(const std::string& base, std::size_t number) {
  return base + "_part" + std::to_string(number);
}

// Deletes the MGF files of base, packed or not, that were not written now. Returns whether there
// were any, written or deleted.
bool RemoveOthers(const std::string& base, const std::set<std::string>& written) {
  bool any = false;
  for (const std::string_view ending : {kEnding, kPackedEnding}) {
    const std::string path = base + std::string(ending);
    if (!IsThere(path)) continue;
    any = true;
    if (!written.contains(path)) RemoveFile(path);
  }
  return any;
}

constexpr std::size_t kPieceBytes = std::size_t{1} << 30;  // zlib counts in 32 bits

/// gzip over an OutputFile. No time stamp, so that equal spectra give equal bytes.
class GzipStream {
 public:
  explicit GzipStream(std::string path) : m_path(std::move(path)) {
    constexpr int kGzipWindow = 15 + 16;
    constexpr int kDefaultMemory = 8;
    if (::deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kDefaultMemory,
                       Z_DEFAULT_STRATEGY) != Z_OK)
      throw "Cannot compress " + m_path;
  }
  GzipStream(const GzipStream&) = delete;
  ~GzipStream() { ::deflateEnd(&m_stream); }

  void Write(std::string_view bytes, OutputFile& out) {
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kPieceBytes)))
      Deflate(bytes.substr(0, kPieceBytes), Z_NO_FLUSH, out);
  }
  void Finish(OutputFile& out) { Deflate({}, Z_FINISH, out); }

 private:
  void Deflate(std::string_view bytes, int flush, OutputFile& out) {
    // zlib only reads them.
    m_stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    m_stream.avail_in = static_cast<uInt>(bytes.size());
    do {
      m_stream.next_out = reinterpret_cast<Bytef*>(m_block.data());
      m_stream.avail_out = static_cast<uInt>(m_block.size());
      if (::deflate(&m_stream, flush) == Z_STREAM_ERROR) throw "Cannot compress " + m_path;
      out.Write({m_block.data(), m_block.size() - m_stream.avail_out});
    } while (m_stream.avail_out == 0);
  }

  std::string m_path;
  z_stream m_stream{};
  std::array<char, 1 << 16> m_block{};
};

}  // namespace

/// A part, compressed or not.
class MgfOutput::Part {
 public:
  Part(std::string path, bool gzip) : m_file(std::move(path), "MGF") {
    if (gzip) m_gzip = std::make_unique<GzipStream>(m_file.Path());
  }

  void Write(std::string_view bytes) {
    m_bytes += bytes.size();
    if (m_gzip)
      m_gzip->Write(bytes, m_file.File());
    else
      m_file.File().Write(bytes);
  }

  /// Frees the memory of the compression, since there may be thousands of parts. Closing twice is
  /// harmless.
  void Close() {
    if (m_gzip) m_gzip->Finish(m_file.File());
    m_gzip.reset();
    m_file.Close();
  }

  void TakeName() { m_file.TakeName(); }

  [[nodiscard]] std::uint64_t Bytes() const noexcept { return m_bytes; }
  [[nodiscard]] const std::string& Path() const noexcept { return m_file.Path(); }

 private:
  UnfinishedFile m_file;
  std::unique_ptr<GzipStream> m_gzip;
  std::uint64_t m_bytes = 0;  // before compression
};

bool RemoveOutputOf(const std::string& base, const std::vector<std::string>& sources) {
  const std::string map = base + std::string(kMapEnding);
  if (!FileExists(map)) return false;
  {
    TextLines lines(map);
    std::string line;
    if (!lines.Next(line) || line + '\n' != kMapHeader || !lines.Next(line)) return false;
    constexpr int kSourceField = 2;
    const std::string_view source = TokenAt(line, '\t', kSourceField);
    if (std::ranges::find(sources, source) == sources.end()) return false;
  }
  RemoveFile(map);
  RemoveOthers(base, {});
  for (std::size_t number = 1; RemoveOthers(PartBase(base, number), {}); ++number) {
  }
  return true;
}

MgfOutput::MgfOutput(std::string base, const MgfOutputForm& form)
    : m_base(std::move(base)), m_form(form), m_map(m_base + std::string(kMapEnding), "MGF") {
  m_map.File().Write(kMapHeader);
  OpenPart();
}

MgfOutput::~MgfOutput() = default;

std::string MgfOutput::PartPath(std::size_t number) const {
  const std::string base = m_form.m_split_bytes > 0 ? PartBase(m_base, number) : m_base;
  return base + std::string(m_form.m_gzip ? kPackedEnding : kEnding);
}

void MgfOutput::OpenPart() {
  if (!m_parts.empty()) m_parts.back()->Close();
  m_parts.push_back(std::make_unique<Part>(PartPath(m_parts.size() + 1), m_form.m_gzip));
  m_place = 0;
}

void MgfOutput::WriteScan(std::span<const MgfBlock> blocks, const std::string& source) {
  RenderScan(blocks);
  const bool is_full = m_form.m_split_bytes > 0 && m_place > 0 &&
                       m_parts.back()->Bytes() + m_text.size() > m_form.m_split_bytes;
  if (is_full) {
    OpenPart();
    RenderScan(blocks);  // from 1 again, as places count within a part
  }
  m_parts.back()->Write(m_text);
  NoteScan(blocks, source);
  m_place += static_cast<std::int64_t>(blocks.size());
  m_block_count += static_cast<std::int64_t>(blocks.size());
}

void MgfOutput::RenderScan(std::span<const MgfBlock> blocks) {
  m_text.clear();
  std::int64_t place = m_place;
  for (const MgfBlock& block : blocks) AppendMgfBlock(m_text, block, *m_form.m_profile, ++place);
}

void MgfOutput::NoteScan(std::span<const MgfBlock> blocks, const std::string& source) {
  const std::string file(FileNameOf(m_parts.back()->Path()));
  std::int64_t place = m_place;
  for (const MgfBlock& block : blocks) {
    std::string row = file + '\t' + std::to_string(++place) + '\t' + source + '\t' + block.m_run;
    for (const std::int64_t number : {block.m_scan_no, block.m_index, block.m_charge}) {
      row += '\t';
      AppendInteger(row, number);
    }
    m_map.File().Write(row + '\t' + block.m_pepmass_text + '\t' + block.m_rt_text + '\n');
  }
}

void MgfOutput::Close() {
  m_parts.back()->Close();
  m_map.Close();
}

std::vector<std::string> MgfOutput::Finish() {
  Close();
  RemoveFile(m_map.Path());
  std::vector<std::string> paths;
  for (const auto& part : m_parts) {
    part->TakeName();
    paths.push_back(part->Path());
  }
  RemoveOldOutputs({paths.begin(), paths.end()});
  m_map.TakeName();
  return paths;
}

void MgfOutput::RemoveOldOutputs(const std::set<std::string>& written) const {
  RemoveOthers(m_base, written);
  for (std::size_t number = 1;; ++number) {
    const std::string base = PartBase(m_base, number);
    const bool is_another_run = FileExists(base + std::string(kMapEnding));
    if (is_another_run) continue;
    if (!RemoveOthers(base, written)) return;
  }
}

}  // namespace tarvek::tools
