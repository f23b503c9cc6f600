// The checksum of an mzML file against that of another library.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <array>
#include <string>

#include "TestSupport.h"
#include "simulate/Acquisition.h"
#include "simulate/MzmlSink.h"

namespace tarvek::tools {
namespace {

std::string Sha1Of(const std::string& bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, EVP_sha1(), nullptr) != 1)
    return "(no digest)";
  constexpr const char* kDigits = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < size; ++i) {
    hex += kDigits[digest[i] >> 4U];
    hex += kDigits[digest[i] & 15U];
  }
  return hex;
}

TEST(MzmlSink, StatesTheSha1OfAllThatComesBefore) {
  const test::TemporaryDirectory directory;
  SimulateOptions options;
  options.m_ms2_scans = 20;
  MzmlSink sink(directory / "run", options);
  SimulateRun(options, sink);
  const std::string mzml = test::ReadFile(directory / "run.mzML");
  const std::string tag = "<fileChecksum>";
  const std::size_t end = mzml.find(tag) + tag.size();
  EXPECT_EQ(mzml.substr(end, mzml.find('<', end) - end), Sha1Of(mzml.substr(0, end)));
}

}  // namespace
}  // namespace tarvek::tools
