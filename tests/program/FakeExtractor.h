// tests/program/FakeExtractor.h: shell scripts that stand in for the extractor.
// Does:     a ProgramTest with an instrument file, an isotope table and prepared spectra for the
//           script to copy; keeps a note of every start of it.
// Not here: the real extractor.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "BinaryPair.h"
#include "ProgramTest.h"

namespace tarvek::test {

/// Lines of a script that leave .ms1 and .ms2 in the output directory, and the marker.
inline constexpr const char* kCopyTextPair =
    "cp prepared/run.ms1 \"$out/$base.ms1\"\n"
    "cp prepared/run.ms2 \"$out/$base.ms2\"\n"
    "echo done > \"$out/$base.morvex\"\n";

/// The same for the binary pair; its name keeps the format.
inline constexpr const char* kCopyBinaryPair =
    "cp prepared/run.msb \"$out/$base.$format.msb\"\n"
    "cp prepared/run.mscsv \"$out/$base.$format.mscsv\"\n"
    "echo done > \"$out/$base.morvex\"\n";

/// Lines of a script that report their position and wait for permission to go on, at most as long
/// as the test's directory exists.
inline constexpr const char* kWaitForLeave =
    ": > started\n"
    "while [ -e started ] && [ ! -e leave ]; do sleep 0.01; done\n";

class FakeExtractorTest : public ProgramTest {
 protected:
  FakeExtractorTest() {
    PlaceTable();
    MakeFolder("prepared");
    PlacePair("prepared");
    Write("run.raw", "x");
  }

  /// A script at path (below the test's directory) that notes its name and arguments in calls.txt
  /// and then runs body with $out, $base and $format set.
  void PlaceExtractor(const std::string& body, const std::string& path = "morvex_raw.exe") const {
    Write(path,
          "#!/bin/sh\n"
          "printf '%s\\n' \"${0##*/}\" \"$@\" . >> calls.txt\n"
          "out=$8\n"
          "name=${9##*/}\n"
          "base=${name%.*}\n"
          "format=$(printf %s \"${name##*.}\" | tr A-Z a-z)\n" +
              body);
    std::filesystem::permissions(Path(path), std::filesystem::perms::owner_all);
  }
  void PrepareBinaryPair(const std::vector<BinaryScan>& scans) const {
    Write("prepared/run.msb", MsbBytes(scans));
    Write("prepared/run.mscsv", ScanTableText(scans));
  }

  /// Program name and arguments of every start, one a line, with "." after each start.
  [[nodiscard]] std::string Calls() const {
    return Exists("calls.txt") ? Content("calls.txt") : "";
  }
  [[nodiscard]] int Starts(const std::string& name = "morvex_raw.exe") const {
    const std::vector<std::string> lines = LinesOf(Calls());
    return static_cast<int>(std::count(lines.begin(), lines.end(), name));
  }
};

}  // namespace tarvek::test
