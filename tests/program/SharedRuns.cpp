#include "SharedRuns.h"

#include <openssl/evp.h>
#include <zlib.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "StringUtils.h"
#include "TestSupport.h"

namespace tarvek::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// "| run | variant | options | CSV rows | precursors | warnings |"; other lines have no numbers
// there.
bool ParseRow(const std::string& line, SharedRun& run) {
  const std::vector<std::string_view> cells = Split(line, "|");
  if (cells.size() < 7) return false;
  const auto cell = [&](std::size_t index) { return std::string(Trim(cells[index])); };
  if (cell(4).find_first_not_of("0123456789") != std::string::npos) return false;
  run.m_name = cell(1);
  run.m_variant = cell(2);
  if (cell(3) != "(none)") run.m_options = Words(cell(3));
  run.m_rows = std::stoul(cell(4));
  run.m_precursors = std::stoul(cell(5));
  run.m_warnings = std::stoul(cell(6));
  return true;
}

std::string Unpack(const std::string& path) {
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), &gzclose);
  if (!file) throw std::runtime_error("cannot open " + path);
  std::string content;
  std::array<char, 1 << 16> block{};
  int count = 0;
  while ((count = gzread(file.get(), block.data(), block.size())) > 0)
    content.append(block.data(), static_cast<std::size_t>(count));
  if (count < 0) throw std::runtime_error("cannot unpack " + path);
  return content;
}

}  // namespace

void PrintTo(const SharedRun& run, std::ostream* out) {
  *out << run.m_name << " " << run.m_variant;
}

std::string SharedFolder() {
  const char* const named = std::getenv("TARVEK_SHARED");
  return named != nullptr ? named : TARVEK_SHARED_FOLDER;
}

std::vector<SharedRun> SharedRuns() {
  const std::string table = SharedFolder() + "/expected/README.md";
  if (!fs::exists(table)) return {SharedRun{}};
  std::vector<SharedRun> runs;
  std::istringstream lines(ReadFile(table));
  for (std::string line; std::getline(lines, line);) {
    SharedRun run;
    if (ParseRow(line, run)) runs.push_back(std::move(run));
  }
  return runs;
}

std::string ExpectedFolder(const SharedRun& run) {
  return SharedFolder() + "/expected/" + run.m_name + "/" + run.m_variant;
}

std::map<std::string, std::string> ExpectedHashes(const SharedRun& run) {
  std::map<std::string, std::string> hashes;
  std::istringstream lines(ReadFile(ExpectedFolder(run) + "/SHA256SUMS"));
  for (std::string hash, name; lines >> hash >> name;) hashes[name] = hash;
  return hashes;
}

std::string Sha256(const std::string& bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("no SHA-256");
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    text.push_back(kDigits[digest.at(i) >> 4]);
    text.push_back(kDigits[digest.at(i) & 15]);
  }
  return text;
}

std::string SharedInput(const std::string& name, const std::string& ending) {
  for (const fs::directory_entry& folder : fs::directory_iterator(SharedFolder() + "/data")) {
    const fs::path packed = folder.path() / (name + ending + ".gz");
    if (fs::exists(packed)) return Unpack(packed.string());
  }
  throw std::runtime_error("no data for " + name);
}

}  // namespace tarvek::test
