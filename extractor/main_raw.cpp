#include "ExtractorMain.h"
#include "Platform.h"

int main(int argc, char** argv) {
  return tarvek::CallMain(argc, argv, [](int count, const char* const* arguments) {
    return tarvek::extractor::RunVendorExtractor(count, arguments,
                                                 tarvek::extractor::VendorKind::kRaw);
  });
}
