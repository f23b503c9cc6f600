// Any bytes, cut at each NUL, as the arguments of the extractor.
#include "ExtractorOptions.h"

#include "FuzzSupport.h"
#include "StringUtils.h"

namespace tarvek::fuzz {
namespace {

void Parse(std::string_view input) {
  std::vector<std::string> arguments;
  for (const std::string_view argument : Split(input, std::string_view("\0", 1)))
    arguments.emplace_back(argument);
  const extractor::ExtractorOptions options = extractor::ParseOptions(arguments);
  if (options.m_help || options.m_version) return;
  Require(!options.m_input.empty(), "there is an input");
  Require(options.m_base_name.find('/') == std::string::npos, "outputs stay in their directory");
  Require(options.m_mz_digits >= 0 && options.m_intensity_digits >= 0, "digits are checked");
}

}  // namespace
}  // namespace tarvek::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  fuzz::RunReader([&] { fuzz::Parse(fuzz::InputText(data, size)); });
  return 0;
}
