#include "InstrumentFile.h"

#include <memory>
#include <utility>

#include "ReadingLimits.h"
#include "XmlReaders.h"

namespace tarvek::extractor {
namespace {

/// Passes the elements to the reader for the format of the root element.
class FormatChooser final : public XmlHandler {
 public:
  FormatChooser(ScanConsumer& consumer, std::function<void(const std::string&)> on_format)
      : m_consumer(&consumer), m_on_format(std::move(on_format)) {}

  void OnStoredBytes(std::int64_t bytes) override {
    m_limits = SizeLimits(bytes);
    m_elements = ElementLimit(bytes);
  }

  void OnStart(std::string_view name, const XmlAttributes& attributes) override {
    m_elements.Take();
    if (!m_reader) Choose(name);
    m_reader->OnStart(name, attributes);
  }
  void OnEnd(std::string_view name) override { m_reader->OnEnd(name); }
  void OnText(std::string_view text) override { m_reader->OnText(text); }

 private:
  void Choose(std::string_view root) {
    if (root == "mzML" || root == "indexedmzML") {
      m_reader = MakeMzmlReader(*m_consumer, m_limits);
      m_on_format("mzML");
    } else if (root == "mzXML" || root == "msRun") {
      m_reader = MakeMzxmlReader(*m_consumer, m_limits);
      m_on_format("mzXML");
    } else {
      throw "neither mzML nor mzXML: the root element is " + std::string(root);
    }
  }

  ScanConsumer* m_consumer;
  std::function<void(const std::string&)> m_on_format;
  SizeLimits m_limits;
  ElementLimit m_elements;
  std::unique_ptr<XmlHandler> m_reader;
};

}  // namespace

void ReadInstrumentFile(const std::string& path, ScanConsumer& consumer,
                        const std::function<void(const std::string&)>& on_format,
                        const std::function<void(const ReadingState&)>& on_block) {
  FormatChooser chooser(consumer, on_format);
  ReadXmlFile(path, chooser, on_block);
}

}  // namespace tarvek::extractor
