// Any bytes as an XML file: the scanner and expat must report the same.
#include <cstdio>

#include "FuzzSupport.h"
#include "XmlRecorder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  static const std::string path = fuzz::ScratchPath("run.xml");
  const std::string text(fuzz::InputText(data, size));
  fuzz::WriteInput(path, text);
  // A block of the whole file, and blocks that cut tags everywhere.
  for (const std::size_t block : {std::size_t{1} << 16, 2 + size % 23}) {
    const extractor::test::ReadBothWays both(path, text, block);
    if (both.m_events != both.m_by_expat)
      std::fprintf(stderr, "%s\nby expat:%s\n", both.m_events.c_str(), both.m_by_expat.c_str());
    fuzz::Require(both.m_events == both.m_by_expat, "the scanner reads what expat reads");
  }
  return 0;
}
