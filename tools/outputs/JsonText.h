// tools/outputs/JsonText.h: JSON as text that any console and any reader takes.
// Does:     writes a value, with the replacement character for bytes that are no UTF-8 (names of files
//           may have such), and with the delete character escaped, which JSON would let through.
// Throws:   nothing but std::bad_alloc.
// Not here: what is in the value.
#pragma once

#include <string>

namespace tarvek::tools {

/// json: of nlohmann's library. indent: blanks for each level; below 0 all is on one line.
template <class Json>
std::string JsonText(const Json& json, int indent) {
  std::string text;
  for (const char c : json.dump(indent, ' ', false, Json::error_handler_t::replace))
    if (c == '\x7f')
      text += "\\u007f";
    else
      text += c;
  return text;
}

}  // namespace tarvek::tools
