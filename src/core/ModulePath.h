#pragma once

#include <string>

namespace VEXOGENICAM {

// The directory of the library's own file, ending in "/": producers are looked
// for there, not in the working directory or on a search path.
std::string GetModulePath();

}  // namespace VEXOGENICAM
