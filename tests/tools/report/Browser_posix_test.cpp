// The pages in a browser: Debian's chromium, without a window.
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
    ASSERT_TRUE(Succeeds(here + tools + " report . -I '" TARVEK_SOURCE_DIR "/data/IPV.txt'"));
  }

  [[nodiscard]] static std::string Page() { return s_folder + "/run.report.html"; }

  /// Starts the browser on a page. A new profile each time, since a used one may be locked.
  static bool Browse(const std::string& page, const std::string& options, const std::string& out) {
    const test::TemporaryDirectory profile;
    const std::string command =
        "timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
        "--disable-background-networking --disable-component-update --disable-sync "
        "--hide-scrollbars --user-data-dir='" +
        profile.Path() + "' " + options + " 'file://" + page + "' >'" + out + "' 2>/dev/null";
    return std::system(command.c_str()) == 0;
  }

  /// name: of the picture in the folder of screenshots.
  static PngPicture Screenshot(const std::string& page, bool is_dark, const std::string& name,
                               int width = 1280, int height = 2400) {
    fs::create_directories(TARVEK_SCREENSHOT_FOLDER);
    const std::string path = TARVEK_SCREENSHOT_FOLDER "/" + name + ".png";
    fs::remove(path);
    EXPECT_TRUE(Browse(page,
                       "--window-size=" + std::to_string(width) + "," + std::to_string(height) +
                           " --virtual-time-budget=10000 --blink-settings=preferredColorScheme=" +
                           std::string(is_dark ? "0" : "1") + " --screenshot='" + path + "'",
                       "/dev/null"));
    return DecodePng(ReadFile(path));
  }

  [[nodiscard]] static std::string ScanPage() { return s_folder + "/run.scans.html"; }

  /// The document after running a script in the page of scans. The script ends with a call of done;
  /// its text goes into the element "log".
  static std::string DomAfter(const std::string& script, const std::string& window) {
    std::string page = ReadFile(ScanPage());
    const std::size_t end = page.rfind("</body>");
    page.insert(end,
                "<pre id=\"log\"></pre><script>(async function () {"
                "var key = function (k) { document.dispatchEvent(new KeyboardEvent('keydown', { "
                "key: k })); };"
                "var seen = function () { var h = document.querySelector('#scan h2'); return h ? "
                "h.textContent : ''; };"
                "var wait = async function (ok) { for (var i = 0; i < 400 && !ok(); ++i) "
                "await new Promise(function (go) { setTimeout(go, 10); }); };"
                "var done = function (text) { document.getElementById('log').textContent = text; };"
                "await wait(seen);" +
                    script + "})();</script>");
    test::WriteFile(s_folder + "/driven.html", page);
    const std::string dom_path = s_folder + "/driven.dom";
    EXPECT_TRUE(Browse(s_folder + "/driven.html",
                       "--window-size=" + window + " --virtual-time-budget=20000 --dump-dom",
                       dom_path));
    return ReadFile(dom_path);
  }

  static std::string LogOf(const std::string& dom) {
    const std::string start = "<pre id=\"log\">";
    const std::size_t from = dom.rfind(start);
    if (from == std::string::npos) return {};
    return dom.substr(from + start.size(), dom.find("</pre>", from) - from - start.size());
  }

  static inline std::string s_folder;
};

std::map<std::uint32_t, std::size_t> ColoursOf(const PngPicture& picture) {
  std::map<std::uint32_t, std::size_t> colours;
  for (const std::uint32_t pixel : picture.m_pixels) ++colours[pixel];
  return colours;
}

void ExpectDrawn(const PngPicture& picture, std::uint32_t ground, std::uint32_t bars,
                 std::size_t least_bars = 5000) {
  ASSERT_EQ(picture.m_width, 1280u);
  ASSERT_EQ(picture.m_height, 2400u);
  EXPECT_EQ(picture.m_pixels.front(), ground);
  auto colours = ColoursOf(picture);
  EXPECT_GT(colours.size(), 100u);  // a blank page has one, text alone a few dozen greys
  EXPECT_GT(colours[bars], least_bars);
  for (const auto& [colour, pixels] : colours)
    EXPECT_LT(pixels, picture.m_pixels.size() * 9 / 10) << std::hex << colour;
}

TEST_F(ReportBrowser, DrawsThePageInTheColoursOfTheReader) {
  ExpectDrawn(Screenshot(Page(), false, "run-light"), kLightGround, kLightBars);
  ExpectDrawn(Screenshot(Page(), true, "run-dark"), kDarkGround, kDarkBars);
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
  const PngPicture picture = Screenshot(s_folder + "/tarvek_report.html", false, "batch-light");
  EXPECT_EQ(picture.m_pixels.front(), kLightGround);
  EXPECT_GT(ColoursOf(picture).size(), 30u);
}

TEST_F(ReportBrowser, DrawsAScanInTheColoursOfTheReader) {
  ExpectDrawn(Screenshot(ScanPage(), false, "scans-light"), kLightGround, kLightBars, 800);
  ExpectDrawn(Screenshot(ScanPage(), true, "scans-dark"), kDarkGround, kDarkBars, 800);
}

TEST_F(ReportBrowser, DrawsPagesForAPhone) {
  for (const auto& [page, name] :
       {std::pair(ScanPage(), "scans-narrow"), std::pair(Page(), "run-narrow"),
        std::pair(s_folder + "/tarvek_report.html", "batch-narrow")}) {
    const PngPicture picture = Screenshot(page, false, name, 360, 2400);
    EXPECT_EQ(picture.m_width, 360u);
    EXPECT_GT(ColoursOf(picture).size(), 30u);
  }
}

TEST_F(ReportBrowser, ShowsAnyScanWithItsPicturesAndCandidates) {
  const std::string dom = DomAfter("done('drawn');", "1280,1600");
  EXPECT_EQ(LogOf(dom), "drawn");
  EXPECT_THAT(dom, HasSubstr("<h2>Scan 2</h2>"));
  EXPECT_THAT(dom, HasSubstr("aria-label=\"The survey around the isolation window\""));
  EXPECT_THAT(dom, HasSubstr("aria-label=\"Elution over the ten surveys\""));
  EXPECT_THAT(dom, HasSubstr("kept: the score is above the threshold of -0.34"));
  EXPECT_THAT(dom, HasSubstr("400 scans; the isolation window is 2 m/z wide"));
}

TEST_F(ReportBrowser, GoesFromScanToScanByKeyboard) {
  const std::string dom = DomAfter(
      "var texts = [seen()]; var next = async function (act) { var old = seen(); act();"
      "await wait(function () { return seen() !== old; }); texts.push(seen()); };"
      "await next(function () { key('ArrowRight'); }); await next(function () { key('ArrowLeft'); "
      "});"
      "await next(function () { key('End'); });"
      "key('/'); texts.push(document.activeElement.id);"
      "var find = function (text) { return function () { document.getElementById('query').value = "
      "text;"
      "document.getElementById('find').requestSubmit(); }; };"
      "await next(find('3')); await next(find('9999 min')); await next(find('2'));"
      "var mz = JSON.parse(await new Response(new "
      "Blob([Uint8Array.from(atob(document.getElementById("
      "'index').textContent), function (c) { return c.charCodeAt(0); })]).stream().pipeThrough("
      "new DecompressionStream('deflate'))).text()).mz;"
      "await next(find(mz[mz.length - 1].toFixed(3) + ' m/z')); done(texts.join('; '));",
      "1280,1600");
  const std::string log = LogOf(dom);
  EXPECT_TRUE(log.starts_with("Scan 2; Scan 3; Scan 2; Scan ")) << log;
  EXPECT_THAT(log, HasSubstr("; query; Scan 3; Scan "));
  EXPECT_THAT(dom, HasSubstr("Scan "));
  EXPECT_EQ(std::ranges::count(log, ';'), 8) << log;
}

TEST_F(ReportBrowser, UnpacksWhatIsShownAlone) {
  const std::string dom = DomAfter(
      "var calls = 0, real = window.atob; window.atob = function (text) { ++calls; return "
      "real(text); };"
      "var counts = []; var next = async function (name) { var old = seen(); key(name);"
      "await wait(function () { return seen() !== old; }); counts.push(calls); };"
      "await next('ArrowRight'); await next('End'); await next('ArrowLeft'); await next('Home');"
      "done(counts.join(' '));",
      "1280,1600");
  EXPECT_EQ(LogOf(dom), "0 1 1 1");  // one piece for the last scans; the first one is kept
}

TEST_F(ReportBrowser, OffersTenScansOfEachKind) {
  const std::string dom = DomAfter(
      "var texts = []; for (var k = 0; k < 4; ++k) { var old = "
      "document.getElementById('list').value; key('l');"
      "await wait(function () { return document.getElementById('list').value !== old; });"
      "texts.push(document.getElementById('list').value + ' ' + "
      "document.querySelectorAll('#offers button').length); } done(texts.join('; '));",
      "1280,1600");
  EXPECT_EQ(LogOf(dom), "sure 10; doubtful 10; changed 10; chimeric 10");
}

TEST_F(ReportBrowser, NeedsNoScrollingAcrossOnAPhone) {
  const std::string dom = DomAfter(
      "document.documentElement.style.width = '360px'; window.dispatchEvent(new Event('resize'));"
      "await wait(function () { var s = document.querySelector('#scan svg');"
      "return s && s.getBoundingClientRect().width < 360; });"
      "var wide = 0; document.querySelectorAll('main, h1, .card, svg, .find, #query, "
      "#list').forEach(function (e) {"
      "wide = Math.max(wide, e.getBoundingClientRect().right); }); done(String(wide <= 360));",
      "360,1600");
  EXPECT_EQ(LogOf(dom), "true");
}

}  // namespace
}  // namespace tarvek::tools
