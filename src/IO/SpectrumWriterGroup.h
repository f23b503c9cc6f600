// IO/SpectrumWriterGroup.h: MS2 output split by activation and instrument type.
// Does:     opens one writer per pair of types when its first scan comes and hands scans to it.
// Owns:     the writers.
// Throws:   what the writers throw.
// Not here: a format. Writer has a constructor from path, mode, title, format options (More) and
//           the taker of its notices, and has WriteMs2 and Close.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "Notice.h"
#include "SpectrumRecords.h"
#include "UnfinishedFile.h"

namespace tarvek {

template <class Writer, class... More>
class SpectrumWriterGroup {
 public:
  /// base_path ends in an extension of four characters; the types go before it: "run1_.mgf" gives
  /// "run1_HCDFTMS.mgf".
  SpectrumWriterGroup(std::string base_path, std::string_view mode, std::string title, More... more,
                      NoticeTaker notice = TakeSilently, Naming naming = Naming::kAtOnce)
      : m_base_path(std::move(base_path)),
        m_mode(mode),
        m_title(std::move(title)),
        m_more(std::move(more)...),
        m_notice(notice),
        m_naming(naming) {}

  void Write(const MS2Spectrum& scan) { WriterFor(scan).WriteMs2(scan); }

  /// The writer for the scan's activation and instrument type; opens it when needed.
  Writer& WriterFor(const MS2Spectrum& scan) {
    m_key.assign(scan.m_activation_type).append(scan.m_instrument_type);
    const auto found = m_writers.find(m_key);
    if (found != m_writers.end()) return *found->second;
    auto writer = std::apply(
        [this](const More&... more) {
          return std::make_unique<Writer>(PathFor(m_key), m_mode, m_title, more..., m_notice,
                                          m_naming);
        },
        m_more);
    return *m_writers.emplace(m_key, std::move(writer)).first->second;
  }

  /// Closes the writers in the order of their keys and forgets them.
  void Close() {
    while (!m_writers.empty()) {
      m_writers.begin()->second->Close();
      m_writers.erase(m_writers.begin());
    }
  }

 private:
  static constexpr std::size_t kExtensionLength = 4;  // of ".mgf" and ".pf2"

  [[nodiscard]] std::string PathFor(const std::string& key) const {
    const std::size_t stem =
        m_base_path.size() < kExtensionLength ? 0 : m_base_path.size() - kExtensionLength;
    return m_base_path.substr(0, stem) + key + m_base_path.substr(stem);
  }

  std::string m_base_path;
  std::string m_mode;
  std::string m_title;
  std::tuple<More...> m_more;
  NoticeTaker m_notice;
  Naming m_naming;
  std::string m_key;  // reused from scan to scan
  std::map<std::string, std::unique_ptr<Writer>> m_writers;
};

}  // namespace tarvek
