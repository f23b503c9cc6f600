#include "mgf/Blocks.h"

#include "FileUtils.h"
#include "MgfText.h"
#include "StringUtils.h"

namespace tarvek::tools {
namespace {

// No line of ours is that long; a file of another kind must not be read into memory as one line.
constexpr std::size_t kMaxLineBytes = std::size_t{1} << 20;

}  // namespace

MgfBlockReader::MgfBlockReader(const std::string& path)
    : m_path(path), m_file(OpenFile(path, "r", "MGF")) {}

bool MgfBlockReader::ReadNext(MgfBlock& block) {
  if (!FindBlock()) return false;
  block.m_run.clear();
  block.m_charge_text.clear();
  block.m_rt_text.clear();
  block.m_pepmass_text.clear();
  block.m_peaks.clear();
  std::string_view bytes;
  while (ReadLine(bytes)) {
    const MgfLine line = ReadMgfLine(bytes);
    if (line.m_token == MgfToken::kPeak) {
      if (!bytes.ends_with('\n')) Fail("the file ends inside a block");
      block.m_peaks += bytes;
    } else if (line.m_token == MgfToken::kEnd && line.m_text.empty()) {
      CheckComplete(block);
      return true;
    } else {
      TakeHeader(line, block);
    }
  }
  Fail("the file ends inside a block");
}

/// Moves past the next BEGIN IONS; false at the end of the file.
bool MgfBlockReader::FindBlock() {
  std::string_view bytes;
  while (ReadLine(bytes)) {
    const MgfLine line = ReadMgfLine(bytes);
    if (line.m_token == MgfToken::kBegin && line.m_text.empty()) return true;
    if (!TrimRight(bytes).empty()) Fail("expected BEGIN IONS");
  }
  return false;
}

/// The next line with its end, valid until the next call. The last one may have no end.
bool MgfBlockReader::ReadLine(std::string_view& line) {
  m_bytes.Consume(m_last_line_bytes);
  m_last_line_bytes = 0;
  std::size_t searched = 0;
  std::size_t end = std::string_view::npos;
  while ((end = m_bytes.View().find('\n', searched)) == std::string_view::npos) {
    searched = m_bytes.View().size();
    if (searched > kMaxLineBytes) Fail("a line of more than a mebibyte");
    if (!m_bytes.Refill()) break;
  }
  line = m_bytes.View().substr(0, end == std::string_view::npos ? end : end + 1);
  m_last_line_bytes = line.size();
  if (!line.empty()) ++m_line_no;
  return !line.empty();
}

void MgfBlockReader::TakeHeader(const MgfLine& line, MgfBlock& block) const {
  switch (line.m_token) {
    case MgfToken::kTitle:
      return TakeTitle(line.m_text, block);
    case MgfToken::kCharge:
      block.m_charge_text = line.m_text;
      return;
    case MgfToken::kTime:
      block.m_rt_text = line.m_text;
      return;
    case MgfToken::kPepmass:
      block.m_pepmass_text = line.m_text;
      return;
    default:
      RefuseLine(line.m_text);
  }
}

void MgfBlockReader::RefuseLine(std::string_view text) const {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) Fail("a line that is neither a key nor a peak");
  Fail("the key " + std::string(text.substr(0, equals)) + " is none of those that tarvek writes");
}

void MgfBlockReader::TakeTitle(std::string_view text, MgfBlock& block) const {
  const auto title = ParseMgfTitle(text);
  if (!title || !title->m_is_whole)
    Fail("the title is not of the form run.scan.scan.charge.index.dta");
  block.m_run = title->m_run;
  block.m_scan_no = title->m_scan_no;
  block.m_charge = title->m_charge;
  block.m_index = title->m_index;
}

void MgfBlockReader::CheckComplete(const MgfBlock& block) const {
  if (block.m_run.empty()) Fail("the block has no TITLE");
  if (block.m_charge_text.empty()) Fail("the block has no CHARGE");
  if (block.m_rt_text.empty()) Fail("the block has no RTINSECONDS");
  if (block.m_pepmass_text.empty()) Fail("the block has no PEPMASS");
}

void MgfBlockReader::Fail(const std::string& what) const {
  throw m_path + ":" + std::to_string(m_line_no) + ": " + what;
}

}  // namespace tarvek::tools
