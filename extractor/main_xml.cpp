#include "ExtractorMain.h"

int main(int argc, char** argv) { return tarvek::extractor::RunXmlExtractor(argc, argv); }
