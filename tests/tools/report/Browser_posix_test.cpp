// The pages as a browser shows them: Debian's chromium, without a window.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "PngPicture.h"
#include "TestSupport.h"

namespace tarvek::tools {
namespace {

namespace fs = std::filesystem;
using test::DecodePng;
using test::PngPicture;
using test::ReadFile;
using testing::HasSubstr;

constexpr std::uint32_t kLightGround = 0xf4f6f8;  // of report/Style.h
constexpr std::uint32_t kDarkGround = 0x11161c;
constexpr std::uint32_t kLightBars = 0x0072b2;
constexpr std::uint32_t kDarkBars = 0x56b4e9;

bool Succeeds(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

bool HasBrowser() { return Succeeds("command -v chromium"); }

/// A simulated run that tarvek processed, with its page; made once.
class ReportBrowser : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasBrowser()) GTEST_SKIP() << "needs chromium: ./dev report-test installs it";
    static const test::TemporaryDirectory directory;
    s_folder = directory.Path();
    if (fs::exists(Page())) return;
    const std::string tools = "'" TARVEK_TOOLS_PROGRAM "'";
    const std::string tarvek =
        "'" + (fs::path(TARVEK_TOOLS_PROGRAM).parent_path() / "tarvek").string() + "'";
    const std::string here = "cd '" + s_folder + "' && ";
    ASSERT_TRUE(Succeeds(here + tools + " simulate --seed 1 --ms2 400 run"));
    ASSERT_TRUE(
        Succeeds(here + tarvek + " -D run.ms1 -O . -L . -I '" TARVEK_SOURCE_DIR "/data/IPV.txt'"));
    ASSERT_TRUE(Succeeds(here + tools + " report ."));
  }

  [[nodiscard]] static std::string Page() { return s_folder + "/run.report.html"; }

  /// Starts the browser on a page. A profile of its own each time: a used one may be locked.
  static bool Browse(const std::string& page, const std::string& options, const std::string& out) {
    const test::TemporaryDirectory profile;
    const std::string command =
        "timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
        "--disable-background-networking --disable-component-update --disable-sync "
        "--hide-scrollbars --user-data-dir='" +
        profile.Path() + "' " + options + " 'file://" + page + "' >'" + out + "' 2>/dev/null";
    return std::system(command.c_str()) == 0;
  }

  static PngPicture Screenshot(const std::string& page, bool is_dark) {
    const std::string path = s_folder + "/shot.png";
    fs::remove(path);
    EXPECT_TRUE(Browse(page,
                       "--window-size=1280,2400 --blink-settings=preferredColorScheme=" +
                           std::string(is_dark ? "0" : "1") + " --screenshot='" + path + "'",
                       "/dev/null"));
    return DecodePng(ReadFile(path));
  }

  static inline std::string s_folder;
};

std::map<std::uint32_t, std::size_t> ColoursOf(const PngPicture& picture) {
  std::map<std::uint32_t, std::size_t> colours;
  for (const std::uint32_t pixel : picture.m_pixels) ++colours[pixel];
  return colours;
}

void ExpectDrawn(const PngPicture& picture, std::uint32_t ground, std::uint32_t bars) {
  ASSERT_EQ(picture.m_width, 1280u);
  ASSERT_EQ(picture.m_height, 2400u);
  EXPECT_EQ(picture.m_pixels.front(), ground);
  auto colours = ColoursOf(picture);
  EXPECT_GT(colours.size(), 100u);  // a blank page has one, text alone a few dozen greys
  EXPECT_GT(colours[bars], 5000u);
  for (const auto& [colour, pixels] : colours)
    EXPECT_LT(pixels, picture.m_pixels.size() * 9 / 10) << std::hex << colour;
}

TEST_F(ReportBrowser, DrawsThePageInTheColoursOfTheReader) {
  ExpectDrawn(Screenshot(Page(), false), kLightGround, kLightBars);
  ExpectDrawn(Screenshot(Page(), true), kDarkGround, kDarkBars);
}

TEST_F(ReportBrowser, ShowsEveryPictureAndItsWords) {
  const std::string dom_path = s_folder + "/dom.html";
  ASSERT_TRUE(Browse(Page(), "--dump-dom", dom_path));
  const std::string dom = ReadFile(dom_path);
  EXPECT_THAT(dom, HasSubstr("<h1>run</h1>"));
  EXPECT_THAT(dom, HasSubstr("400 HCD FT scans; isolation width 2 m/z (as the record says)"));
  for (const char* title :
       {"Precursors per scan", "Monoisotopic peak against the declared one",
        "Declared against determined charge", "m/z difference over retention time",
        "Isolation purity", "Total ion current with its MS2 scans", "Scans left out"})
    EXPECT_THAT(dom, HasSubstr("<h2>" + std::string(title) + "</h2>"));
  std::size_t pictures = 0;
  for (std::size_t at = dom.find("<svg "); at != std::string::npos; at = dom.find("<svg ", at + 1))
    ++pictures;
  EXPECT_EQ(pictures, 7u);
}

TEST_F(ReportBrowser, PrintsThePage) {
  const std::string path = s_folder + "/page.pdf";
  ASSERT_TRUE(Browse(Page(), "--no-pdf-header-footer --print-to-pdf='" + path + "'", "/dev/null"));
  const std::string pdf = ReadFile(path);
  EXPECT_TRUE(pdf.starts_with("%PDF-"));
  EXPECT_GT(pdf.size(), 20000u);
}

TEST_F(ReportBrowser, DrawsTheBatch) {
  const PngPicture picture = Screenshot(s_folder + "/tarvek_report.html", false);
  EXPECT_EQ(picture.m_pixels.front(), kLightGround);
  EXPECT_GT(ColoursOf(picture).size(), 30u);
}

}  // namespace
}  // namespace tarvek::tools
