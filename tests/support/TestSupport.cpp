#include "TestSupport.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>

#include "Platform.h"

namespace tarvek::test {
namespace {

/// Redirects a stream into a string while it lives.
class StreamCapture {
 public:
  explicit StreamCapture(std::ostream& stream)
      : m_stream(stream), m_former(stream.rdbuf(m_text.rdbuf())) {}
  ~StreamCapture() { m_stream.rdbuf(m_former); }
  StreamCapture(const StreamCapture&) = delete;
  StreamCapture& operator=(const StreamCapture&) = delete;
  [[nodiscard]] std::string Text() const { return m_text.str(); }

 private:
  std::ostringstream m_text;
  std::ostream& m_stream;
  std::streambuf* m_former;
};

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::random_device random;
  const std::string start = (std::filesystem::temp_directory_path() / "tarvek_test_").string();
  do {
    m_path = start + std::to_string(random());
  } while (!std::filesystem::create_directory(m_path));  // false where there is one already
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryDirectory::operator/(std::string_view name) const {
  return m_path + kPathSeparator + std::string(name);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void WriteFile(const std::string& path, std::string_view content) {
  std::ofstream out(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
  out << content << std::flush;
  if (!out) throw std::runtime_error("cannot write " + path);
}

ConsoleText CaptureConsole(const std::function<void()>& action) {
  const StreamCapture out(std::cout);
  const StreamCapture err(std::cerr);
  action();
  return {out.Text(), err.Text()};
}

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const char* text) {
    return text;
  } catch (const std::string& text) {
    return text;
  } catch (const std::exception& error) {
    return error.what();
  }
  return kNothingThrown;
}

}  // namespace tarvek::test
