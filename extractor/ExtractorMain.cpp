#include "ExtractorMain.h"

#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "Extraction.h"
#include "FileUtils.h"
#include "Platform.h"
#include "ProductTexts.h"
#include "ShownText.h"

namespace tarvek::extractor {
namespace {

constexpr int kFailed = 1;
constexpr int kBadCommandLine = 2;

struct ProgramTexts {
  std::string m_name;
  std::string m_inputs;
};

// The exit status: success, or status_of_failure after an error line on standard error.
int Guarded(const ProgramTexts& texts, const std::function<void()>& action, int status_of_failure) {
  const auto say = [&](const std::string& message) {
    std::cerr << texts.m_name << ": " << message << std::endl;
  };
  try {
    action();
    return EXIT_SUCCESS;
  } catch (const LinesMessage& message) {
    say(ShownLines(message));
  } catch (const std::string& message) {
    say(Shown(message));
  } catch (const std::exception& error) {
    say(Shown(error.what()));
  }
  return status_of_failure;
}

// A failed request for memory becomes a message that names the input.
void NamingInput(const ExtractorOptions& options, const std::function<void()>& action) {
  try {
    action();
  } catch (const std::bad_alloc&) {
    throw options.m_input + ": " + std::string(kNoMemory);
  }
}

int Run(int argc, const char* const* argv, const ProgramTexts& texts,
        const std::function<void(const ExtractorOptions&)>& extract) {
  NoteStopRequests();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  ExtractorOptions options;
  const int status = Guarded(
      texts, [&] { options = ParseOptions(arguments); }, kBadCommandLine);
  if (status != EXIT_SUCCESS) return status;
  if (options.m_help) {
    std::cout << HelpText(texts.m_name, texts.m_inputs);
    return EXIT_SUCCESS;
  }
  if (options.m_version) {
    std::cout << texts.m_name << ' ' << ProductVersion() << std::endl;
    return EXIT_SUCCESS;
  }
  const int status_of_environment = Guarded(
      texts, [&] { AddEnvironment(EnvironmentVariable, options.m_overrides); }, kBadCommandLine);
  if (status_of_environment != EXIT_SUCCESS) return status_of_environment;
  return Guarded(
      texts, [&] { NamingInput(options, [&] { extract(options); }); }, kFailed);
}

void ExtractXmlFile(const ExtractorOptions& options) {
  Marker marker(options);
  Extract(options, options.m_input, marker, std::cout);
}

void ExtractVendorFile(const ExtractorOptions& options, VendorKind kind) {
  Marker marker(options);
  if (!PathExists(options.m_input)) throw "Cannot open instrument File, Path: " + options.m_input;
  if (kind == VendorKind::kWiff && !FileExists(options.m_input + ".scan"))
    throw options.m_input + ": its spectra are in " + options.m_input +
        ".scan, which is not next to it";
  const auto converter =
      FindConverter(kind, EnvironmentVariable(TemplateVariable(kind)).value_or(std::string()),
                    EnvironmentVariable("PATH").value_or(std::string()));
  if (!converter)
    throw LinesMessage(Shown(options.m_input) + ": cannot be read.\n" + NoConverterText(kind));
  const ConvertedFile converted(options, *converter, std::cout);
  Extract(options, converted.MzmlPath(), marker, std::cout);
}

}  // namespace

int RunXmlExtractor(int argc, const char* const* argv) {
  const ProgramTexts texts{"morvex_xml.exe", "mzML and mzXML files, plain or gzipped,"};
  return Run(argc, argv, texts, ExtractXmlFile);
}

int RunVendorExtractor(int argc, const char* const* argv, VendorKind kind) {
  const bool is_raw = kind == VendorKind::kRaw;
  const ProgramTexts texts{is_raw ? "morvex_raw.exe" : "morvex_wiff.exe",
                           is_raw ? "raw files (through a converter that you have installed)"
                                  : "WIFF files (through a converter that you have installed)"};
  return Run(argc, argv, texts,
             [&](const ExtractorOptions& options) { ExtractVendorFile(options, kind); });
}

}  // namespace tarvek::extractor
