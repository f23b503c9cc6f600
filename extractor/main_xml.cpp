#include "ExtractorMain.h"
#include "Platform.h"

int main(int argc, char** argv) {
  return tarvek::CallMain(argc, argv, &tarvek::extractor::RunXmlExtractor);
}
