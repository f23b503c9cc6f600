#include "psms/Readers.h"

#include <string_view>

#include "FileUtils.h"
#include "LineReader.h"
#include "StringUtils.h"

namespace tarvek::tools {
namespace {

// The beginning of a file, at most a block of its first line.
std::string BeginningOf(const std::string& path) {
  File file = OpenFile(path, "r", "result");
  LineReader lines(file);
  std::string_view piece;
  while (lines.ReadPiece(piece))
    if (!Trim(piece).empty()) return std::string(piece);
  return {};
}

bool IsXml(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF", kGzip = "\x1F\x8B";
  if (text.starts_with(kGzip)) return true;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  return TrimLeft(text).starts_with('<');
}

bool HasColumn(std::string_view header, std::string_view name) {
  for (const std::string_view column : Split(TrimRight(header), "\t"))
    if (column == name) return true;
  return false;
}

}  // namespace

void ReadMatches(const std::string& path, const MatchTaker& take) {
  const std::string beginning = BeginningOf(path);
  if (IsXml(beginning)) return ReadXmlMatches(path, take);
  if (beginning.starts_with("CometVersion") || HasColumn(beginning, "exp_neutral_mass"))
    return ReadCometText(path, take);
  if (HasColumn(beginning, "SpecId") && HasColumn(beginning, "Proteins"))
    return ReadCometPin(path, take);
  if (HasColumn(beginning, "scannum") && HasColumn(beginning, "hyperscore"))
    return ReadMsFragger(path, take);
  if (HasColumn(beginning, "scannr") && HasColumn(beginning, "hyperscore"))
    return ReadSage(path, take);
  if (beginning.starts_with("#SpecFile")) return ReadMsGf(path, take);
  throw path +
      ": not a result that is known here: Comet (.txt, .pin), X!Tandem (.xml), MSFragger, Sage or "
      "MS-GF+ (.tsv), mzIdentML";
}

}  // namespace tarvek::tools
