#include "Assignments.h"

#include "ExitCodes.h"
#include "Features.h"

namespace lumocam {

namespace {

Assignment Split(const std::string& word) {
    const auto equals = word.find('=');
    if (equals == std::string::npos) {
        return {word, std::nullopt};
    }
    if (equals == 0) {
        throw ToolError(kExitUsage, "'" + word + "' has no feature name before '='");
    }
    return {word.substr(0, equals), word.substr(equals + 1)};
}

}  // namespace

std::vector<Assignment> ParseAssignments(const std::vector<std::string>& words) {
    if (words.empty()) {
        throw ToolError(kExitUsage, "give at least one NAME=VALUE");
    }
    if (words.front().find('=') == std::string::npos) {
        // "set 0 Width 320": the value may itself contain '='.
        if (words.size() > 2) {
            throw ToolError(kExitUsage, "'" + words[2] +
                                            "': write several settings as NAME=VALUE, e.g. "
                                            "Width=320 OffsetX=10");
        }
        return {
            {words[0], words.size() == 2 ? std::optional<std::string>(words[1]) : std::nullopt}};
    }
    std::vector<Assignment> assignments;
    for (const auto& word : words) {
        assignments.push_back(Split(word));
    }
    return assignments;
}

void ApplyAssignments(GenApi::INodeMap& map, const std::vector<Assignment>& assignments,
                      std::ostream* out) {
    // Names and missing values are checked first: a typo in the last word
    // must not leave the first ones written.
    for (const auto& assignment : assignments) {
        GenApi::INode* node = RequireFeature(map, assignment.feature);
        if (!assignment.value && node->GetPrincipalInterfaceType() != GenApi::intfICommand) {
            throw ToolError(kExitUsage, assignment.feature + " needs a value (" +
                                            assignment.feature + "=VALUE)");
        }
    }
    std::string applied;
    for (const auto& assignment : assignments) {
        try {
            const std::string written =
                WriteFeature(map, assignment.feature, assignment.value.value_or("exec"));
            if (out != nullptr) {
                *out << assignment.feature << " = " << written << "\n" << std::flush;
            }
        } catch (const ToolError& e) {
            throw ToolError(e.Code(),
                            std::string(e.what()) +
                                (applied.empty() ? "" : " (already applied: " + applied + ")"));
        }
        applied += (applied.empty() ? "" : ", ") + assignment.feature;
    }
}

}  // namespace lumocam
