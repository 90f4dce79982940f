#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"

namespace lumocam {

// One "NAME=VALUE" of the command line; a command feature may come without a
// value (it is executed).
struct Assignment {
    std::string feature;
    std::optional<std::string> value;
};

// "Width=320 OffsetX=10" in order. The older two-word form "Width 320" (and a
// lone command name) is accepted when the first word has no '='. Throws a
// usage error naming the word that is neither.
std::vector<Assignment> ParseAssignments(const std::vector<std::string>& words);

// Applies the assignments in order, printing "NAME = VALUE read back" for each
// to `out`. Unknown names and missing values fail before anything is written;
// otherwise it stops at the first write that fails, with that failure's
// ToolError, whose message says which earlier ones were applied.
void ApplyAssignments(GenApi::INodeMap& map, const std::vector<Assignment>& assignments,
                      std::ostream* out);

}  // namespace lumocam
