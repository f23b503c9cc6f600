#include "outputs/SpectrumNumbers.h"

#include <limits>

#include "FileUtils.h"
#include "NativeId.h"
#include "ShownText.h"
#include "TableReader.h"

namespace tarvek::tools {

SpectrumNumbers::SpectrumNumbers(const std::string& list_path) {
  if (!FileExists(list_path)) return;
  TableReader table(list_path);
  const auto [scan, id] = table.ReadHeader<2>({"scan", "nativeID"});
  while (table.NextRow()) m_ids.emplace(table.Integer(scan), table.Text(id));
}

std::optional<std::int32_t> SpectrumNumbers::Of(std::int64_t position, std::string_view id) const {
  if (position < std::numeric_limits<std::int32_t>::max()) {
    const auto place = static_cast<std::int32_t>(position + 1);
    const auto listed = m_ids.find(place);
    if (listed != m_ids.end() && listed->second == Shown(id)) return place;
  }
  const auto number = extractor::ScanNumberOf(id);
  // A listed number belongs to the spectrum at that position, whatever other ids say.
  if (!number || m_ids.contains(*number)) return std::nullopt;
  return number;
}

}  // namespace tarvek::tools
