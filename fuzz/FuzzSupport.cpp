#include "FuzzSupport.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

#include "Check.h"
#include "Logger.h"
#include "Platform.h"

// A reader's blocks are large; keeping freed blocks for long costs more than it finds.
extern "C" const char* __asan_default_options();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=16"; }

namespace tarvek::fuzz {
namespace {

void ThrowCheckFailure(const char* expression, const char* module) {
  throw CheckFailure(std::string(expression) + ", module " + module);
}

/// Set up once, at the first input.
class Scratch {
 public:
  Scratch() {
    const std::filesystem::path memory = "/dev/shm";
    const auto parent =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    // A name of its own: a killed target leaves its folder, and process numbers come again.
    m_path = (parent / "tarvek-fuzz-XXXXXX").string();
    if (::mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no folder " + m_path);
    std::filesystem::create_symlink("/dev/null", m_path + "/" + std::string(kLogFileName));
    std::cout.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    SetCheckFailureHandler(&ThrowCheckFailure);
    setLogDirectory(m_path);
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  [[nodiscard]] const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

}  // namespace

const std::string& ScratchDirectory() {
  static const Scratch scratch;
  return scratch.Path();
}

std::string ScratchPath(std::string_view name) {
  return ScratchDirectory() + "/" + std::string(name);
}

void WriteInput(const std::string& path, std::string_view content) {
  File file = File::Open(path, "w");
  Require(file.IsOpen() && file.Write(content) && file.Close(), "the input can be written");
}

void RunReader(const std::function<void()>& read) {
  try {
    read();
  } catch (const char*) {
  } catch (const std::string&) {
  } catch (const CheckFailure&) {
  }
}

void Require(bool promise, const char* text) {
  if (promise) return;
  std::fprintf(stderr, "Broken promise: %s\n", text);
  std::abort();
}

}  // namespace tarvek::fuzz
