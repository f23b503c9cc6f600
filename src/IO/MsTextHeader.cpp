#include "MsTextHeader.h"

#include "Logger.h"

namespace tarvek {

std::string MsTextHeader(const LocalTime& creation_time) {
  // The version is that of the file layout, which has not changed since 2.0.8.
  return "H\tCreationDate\t" + AsctimeText(creation_time) +
         "H\tExtractor\tTarvek"
         "\nH\tExtractorVersion\t2.0.8"
         "\nH\tComments\tTarvek and the files it extracts belong to their users"
         "\nH\tDataType\tCentroided\n";
}

}  // namespace tarvek
