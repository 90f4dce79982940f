#pragma once

#include <string>
#include <string_view>

namespace lumocam {

// The text as a JSON string literal, quotes included. Control characters and
// bytes a producer may put into names are escaped so the output always parses.
std::string JsonString(std::string_view text);

}  // namespace lumocam
