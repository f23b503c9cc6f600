#include "ExtractorMain.h"

int main(int argc, char** argv) {
  return tarvek::extractor::RunVendorExtractor(argc, argv, tarvek::extractor::VendorKind::kWiff);
}
