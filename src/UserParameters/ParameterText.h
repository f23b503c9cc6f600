// UserParameters/ParameterText.h: parameters shown to the user.
// Does:     the comment of each key, the template parameter file, the echo.
// Throws:   WriteParameterTemplate a std::string when the file cannot be made or written; the rest
//           nothing.
// Not here: the text form of a value (ToParameterTable in UserParameters.h), the usage text
//           (CommandLine.h).
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "Platform.h"
#include "UserParameters.h"

namespace tarvek {

struct KeyComment {
  std::string_view m_key;
  std::string_view m_comment;  // without the line feed of its last line
};

/// The comments of the keys, worded as in the files that users have.
extern const std::array<KeyComment, 20> ParameterComments;

/// The comment of key; empty when it has none.
std::string_view ParameterComment(std::string_view key);

/// Name of the template written at time: the date and time as numbers without leading zeros.
std::string TemplateFileName(const LocalTime& time);

/// The contents of the template.
std::string TemplateText();

/// Writes the template for time into the current directory. Leaves an existing file alone.
void WriteParameterTemplate(const LocalTime& time = CurrentLocalTime());

/// Gives one numbered notice for every parameter of record.
void EchoParameters(const UserParameters& record, NoticeTaker notice);

}  // namespace tarvek
