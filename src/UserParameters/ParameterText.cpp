#include "ParameterText.h"

#include <algorithm>
#include <initializer_list>
#include <set>

#include "CommandLine.h"
#include "FileUtils.h"
#include "NumberText.h"
#include "OutputFile.h"
#include "ProductTexts.h"

namespace tarvek {
namespace {

constexpr std::string_view kDataPathComment =
    "\t\t# The directory contains input files / the input file path.";
constexpr std::string_view kDefaultDirectoryComment =
    "\t\t# Default value is the directory of data_path.";

constexpr std::string_view kMarsModelComment =
    "\t\t# 0: 11 features, trained on a HeLa data set;\n"
    "\t\t# 1: Velos data set 1, 11 features;\n"
    "\t\t# 2: Velos data set 1, 5 features;\n"
    "\t\t# 3: QE data set 1, 9 features;\n"
    "\t\t# 4: 9 features (Recommended); formerly an 11-feature model;\n"
    "\t\t# 5: N15, 9 features;\n"
    "\t\t# 15: best between N15, 9 features and QE data set 2, 9 features [Experimental];\n"
    "\t\t# 250: QE data set 2, 9 features;\n"
    "\t\t# 1024: 9 features [Experimental].";

// Appends a line "key = default" and the comment of the key.
void AppendEntry(std::string& text, const std::string& key, ParameterTable& defaults) {
  text += key + " = " + defaults[key] + "\n";
  text.append(ParameterComment(key)).append("\n");
}

std::set<std::string> AdvancedKeys() {
  std::set<std::string> keys;
  for (const auto& option : OptionLetters) keys.emplace(option.m_key);
  keys.erase("datapath");  // belongs to the basic keys, numbered
  return keys;
}

}  // namespace

// Tabs, blanks and spellings: frozen, see docs/frozen-names.md.
constexpr std::array<KeyComment, 20> ParameterComments = {{
    {"check_activationcenter", "\t\t# 0 Do Not check;\n\t\t# 1 Check(Recommended)."},
    {"charge_range",
     "\t\t# Tarvek will try to enumerate each charge state within this range together with each "
     "candidate ms1 peak. e.g: 2t6"},
    {"co-elute",
     "\t\t# 0 Output single precursor for single scan;\n"
     "\t\t# 1 Output all co - eluted precursors."},
    {"cut_similiar_mono",
     "\t\t# Do not change this usually.\n"
     "\t\t# 0 Output single precursor for single scan;\n"
     "\t\t# 1 Keep one precursor in 20ppm with same charge."},
    {"datanum", "\t\t# The number of datapath."},
    {"datapath1", kDataPathComment},
    {"datapath", kDataPathComment},
    {"delete_msn",
     "\t\t# 0 Keep the MS1/MS2 files [recommended];\n"
     "\t\t# 1 Delete the MS1/MS2 files."},
    {"input_format", "\t\t# Options: raw / mzXML / mzML / ms1 / mgf."},
    {"intensity", "\t\t# The digits of intensity to output"},
    {"isolation_width", "\t\t# Options: 2 / 2.5 / 3 / 4."},
    {"logfilepath", kDefaultDirectoryComment},
    {"mars_model", kMarsModelComment},
    {"mars_threshold", "\t\t# Be careful with this. Never try to revise this one."},
    {"m/z", "\t\t# The digits of m/z to output"},
    {"outputpath", kDefaultDirectoryComment},
    {"output_mgf", "\t\t# 0 Do Not output MGF;\n\t\t\t\t# 1 Output MGF."},
    {"output_pf", "\t\t# 0 Do Not output PF;\n\t\t# 1 Output PF."},
    {"output_msb",
     "\t\t#Will stop output ms1, ms2, pf1, pf2. 0 Do Not output MSB;\n\t\t# 1 Output MSB."},
    {"rewrite_files",
     "\t\t# 0 Do Not rewrite file if exist;\n"
     "\t\t# 1 Rewrite files anyway."},
}};

std::string_view ParameterComment(std::string_view key) {
  const auto row = std::ranges::find(ParameterComments, key, &KeyComment::m_key);
  return row == ParameterComments.end() ? std::string_view() : row->m_comment;
}

std::string TemplateFileName(const LocalTime& time) {
  std::string name = "Tarvek";
  for (const int field :
       {time.m_year, time.m_month, time.m_day, time.m_hour, time.m_minute, time.m_second})
    AppendInteger(name, field);
  return name + ".cfg";
}

std::string TemplateText() {
  ParameterTable defaults = ToParameterTable(UserParameters());
  std::string text = "# Tarvek.cfg params template\n# For help: mail to ";
  text += kSupportAddress;
  text += "\n[Basic Options]\n";
  for (const char* const key : {"datanum", "datapath1"}) AppendEntry(text, key, defaults);
  text += "[Advanced Options]\n";
  for (const std::string& key : AdvancedKeys()) AppendEntry(text, key, defaults);
  return text;
}

void WriteParameterTemplate(const LocalTime& time) {
  const std::string name = TemplateFileName(time);
  if (FileExists(name)) return;
  // Without a purpose word: the message of a failure has two blanks before "File".
  OutputFile file(name, "w", "");
  file.Write(TemplateText());
  file.Close();
}

void EchoParameters(const UserParameters& record, NoticeTaker notice) {
  notice(kInfo, "--------- BEGIN PARAMETERS -----------");
  int number = 0;
  for (const auto& [key, value] : ToParameterTable(record)) {
    ++number;
    std::string line = number < 10 ? "0" : "";
    AppendInteger(line, number);
    notice(kInfo, line + ": " + key + " = " + value);
  }
  notice(kInfo, "--------- END PARAMETERS -------------");
}

}  // namespace tarvek
