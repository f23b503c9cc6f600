#include "mgf/Blocks.h"

#include "FileUtils.h"
#include "StringUtils.h"
#include "mgf/Title.h"

namespace tarvek::tools {
namespace {

constexpr std::string_view kBegin = "BEGIN IONS";
constexpr std::string_view kEnd = "END IONS";

// No line of ours comes near; a file of something else is not read into memory as one line.
constexpr std::size_t kMaxLineBytes = std::size_t{1} << 20;

bool IsPeakLine(std::string_view line) {
  return !line.empty() && line.front() >= '0' && line.front() <= '9';
}

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
  std::string_view line;
  while (ReadLine(line)) {
    if (IsPeakLine(line)) {
      if (!line.ends_with('\n')) Fail("the file ends inside a block");
      block.m_peaks += line;
    } else if (TrimRight(line) == kEnd) {
      CheckComplete(block);
      return true;
    } else {
      ReadHeader(TrimRight(line), block);
    }
  }
  Fail("the file ends inside a block");
}

/// Goes behind the next BEGIN IONS; false at the end of the file.
bool MgfBlockReader::FindBlock() {
  std::string_view line;
  while (ReadLine(line)) {
    const std::string_view text = TrimRight(line);
    if (text == kBegin) return true;
    if (!text.empty()) Fail("expected BEGIN IONS");
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

void MgfBlockReader::ReadHeader(std::string_view line, MgfBlock& block) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) Fail("a line that is neither a key nor a peak");
  const std::string_view key = line.substr(0, equals);
  const std::string_view value = line.substr(equals + 1);
  if (key == "TITLE")
    ReadTitle(value, block);
  else if (key == "CHARGE")
    block.m_charge_text = value;
  else if (key == "RTINSECONDS")
    block.m_rt_text = value;
  else if (key == "PEPMASS")
    block.m_pepmass_text = value;
  else
    Fail("the key " + std::string(key) + " is none of those that tarvek writes");
}

void MgfBlockReader::ReadTitle(std::string_view text, MgfBlock& block) {
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
