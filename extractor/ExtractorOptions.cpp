#include "ExtractorOptions.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "FileUtils.h"
#include "InputFormats.h"
#include "NumberText.h"
#include "RunRecord.h"
#include "StringUtils.h"

namespace tarvek::extractor {
namespace {

constexpr int kMaxDigits = 9;

std::string_view WithoutGz(std::string_view name) {
  constexpr std::string_view kGz = ".gz";
  if (name.size() > kGz.size() && ToLower(name.substr(name.size() - kGz.size())) == kGz)
    name.remove_suffix(kGz.size());
  return name;
}

std::string FormatOf(std::string_view path) {
  const std::string_view name = WithoutGz(FileNameOf(path));
  std::string extension = ToLower(name.substr(std::min(name.rfind('.') + 1, name.size())));
  return IsInstrumentFormat(extension) ? extension : std::string();
}

// Puts name, the origin of a value, in front of the message.
void Named(const std::string& name, const std::function<void()>& action) {
  try {
    action();
  } catch (const std::string& message) {
    throw name + " " + message;
  }
}

/// Walks through the arguments.
class ArgumentReader {
 public:
  explicit ArgumentReader(std::span<const std::string> arguments) : m_rest(arguments) {}

  ExtractorOptions Read() {
    while (!m_rest.empty()) {
      std::string argument = Take();
      if (m_only_files || argument.size() < 2 || argument.front() != '-')
        TakeInput(argument);
      else
        TakeOption(argument);
    }
    if (m_options.m_help || m_options.m_version) return m_options;
    if (m_options.m_input.empty()) throw std::string("no instrument file is given; try --help");
    Complete();
    return m_options;
  }

 private:
  std::string Take() {
    std::string argument = m_rest.front();
    m_rest = m_rest.subspan(1);
    return argument;
  }

  std::string TakeValue(const std::string& option) {
    if (m_rest.empty()) throw "option " + option + " needs a value";
    return Take();
  }

  void TakeInput(const std::string& path) {
    if (path.empty()) throw std::string("the name of the instrument file is empty");
    if (!m_options.m_input.empty())
      throw "one instrument file at a time, please: " + m_options.m_input + " or " + path + "?";
    m_options.m_input = path;
  }

  int TakeDigits(const std::string& option) {
    const std::string value = TakeValue(option);
    int digits = -1;
    const char* const last = value.data() + value.size();
    const auto result = std::from_chars(value.data(), last, digits);
    if (result.ec != std::errc() || result.ptr != last || digits < 0 || digits > kMaxDigits)
      throw "option " + option + " needs a number of digits from 0 to 9, not \"" + value + "\"";
    return digits;
  }

  double TakeVoltage(const std::string& option) {
    const std::string value = TakeValue(option);
    const auto voltage = FiniteReal(value);
    if (!voltage) throw "option " + option + " needs a voltage, not \"" + value + "\"";
    return *voltage;
  }

  void TakeOverride(const std::string& option) {
    const std::string value = TakeValue(option);
    Named("option " + option, [&] {
      if (option == "--analyser")
        AddAnalyserOverride(value, m_options.m_overrides);
      else
        SetActivationOverride(value, m_options.m_overrides);
    });
  }

  void TakeOption(const std::string& option) {
    if (option == "--") {
      m_only_files = true;
    } else if (option == "--help" || option == "-h") {
      m_options.m_help = true;
    } else if (option == "--version") {
      m_options.m_version = true;
    } else if (option == "-ms" || option == "-mgf") {
      m_options.m_mgf = option == "-mgf";
    } else if (option == "-msb") {
      m_options.m_msb = true;
    } else if (option == "-i") {
      m_options.m_intensity_digits = TakeDigits(option);
    } else if (option == "-m") {
      m_options.m_mz_digits = TakeDigits(option);
    } else if (option == "-o") {
      m_options.m_output_directory = TakeValue(option);
    } else if (option == "--faims") {
      m_options.m_faims_volts = TakeVoltage(option);
    } else if (option == "--analyser" || option == "--activation") {
      TakeOverride(option);
    } else if (!FormatOf(option).empty()) {  // "-run.mzML"
      TakeInput(option);
    } else if (option != "-a") {
      throw "unknown option " + option + "; try --help";
    }
  }

  void Complete() {
    m_options.m_base_name = BaseNameOf(m_options.m_input);
    m_options.m_format = FormatOf(m_options.m_input);
    if (m_options.m_output_directory.empty())
      m_options.m_output_directory = FolderOf(m_options.m_input);
  }

  std::span<const std::string> m_rest;
  bool m_only_files = false;
  ExtractorOptions m_options;
};

}  // namespace

ExtractorOptions ParseOptions(std::span<const std::string> arguments) {
  return ArgumentReader(arguments).Read();
}

void AddEnvironment(const VariableOf& variable_of, ScanOverrides& overrides) {
  const std::string analyser = variable_of(kAnalyserVariable).value_or("");
  const std::string activation = variable_of(kActivationVariable).value_or("");
  if (AnalyserOverrideText(overrides).empty() && !analyser.empty())
    Named(kAnalyserVariable, [&] { AddAnalyserOverride(analyser, overrides); });
  if (overrides.m_activation.empty() && !activation.empty())
    Named(kActivationVariable, [&] { SetActivationOverride(activation, overrides); });
}

std::string BaseNameOf(std::string_view path) {
  const std::string_view name = WithoutGz(FileNameOf(path));
  const std::size_t dot = name.rfind('.');
  return std::string(dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot));
}

std::string HelpText(std::string_view program, std::string_view inputs) {
  return "Usage: " + std::string(program) + " [options] FILE\n\nExtracts spectra from " +
         std::string(inputs) +
         " for Tarvek.\n\n"
         "  -ms          BASE.ms1 and BASE.ms2 (the default)\n"
         "  -msb         BASE.FORMAT.msb and BASE.FORMAT.mscsv in their place\n"
         "  -mgf         BASE.mgf with the precursors that the file declares\n"
         "  -i DIGITS    decimals of intensities, 0 to 9 (1)\n"
         "  -m DIGITS    decimals of m/z, 0 to 9 (5)\n"
         "  -o DIR       directory of the outputs (that of FILE)\n"
         "  --faims CV   only scans of this FAIMS compensation voltage\n"
         "  --analyser A    FTMS or ITMS, for one level ms2=ITMS, against what the file says\n"
         "  --activation M  HCD, CID, ETD, ETHCD or ETCID for every MS2 scan, likewise\n"
         "  -a           accepted without effect\n"
         "  --help       this text\n"
         "  --version    name and version\n\n"
         "BASE is the name of FILE without its last extension, and without .gz before that.\n"
         "TARVEK_ANALYSER and TARVEK_ACTIVATION in the environment say what the two options say.\n"
         "BASE.morvex is written last and says that all outputs are complete.\n";
}

}  // namespace tarvek::extractor
