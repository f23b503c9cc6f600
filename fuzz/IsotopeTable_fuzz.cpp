// Any bytes as an isotope table.
#include <cmath>

#include "FuzzSupport.h"
#include "IsotopeTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvek;
  fuzz::ScratchDirectory();
  fuzz::RunReader([data, size] {
    const IsotopeTable table = ParseIsotopeTable(fuzz::InputText(data, size), "IPV.txt");
    fuzz::Require(table.size() == kIsotopeTableRows, "the table has its rows");
    // Every number takes a byte and a blank, so the rest of the table was not touched.
    const std::size_t rows = std::min(table.size(), size / 5 + 1);
    for (std::size_t row = 0; row < rows; ++row)
      for (const double value : table[row])
        fuzz::Require(std::isfinite(value), "every number is finite");
  });
  return 0;
}
