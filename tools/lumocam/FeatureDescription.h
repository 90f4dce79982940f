#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"

namespace lumocam {

// Everything the description file and the node say about one feature, as
// `describe` shows it. Fields that do not apply to the feature's type stay
// empty and are left out of the output.
struct FeatureDescription {
    struct Entry {
        std::string name;
        std::string value;
        bool available = false;
        bool current = false;
    };
    std::string name;
    std::string type;
    std::string access;
    std::string value;
    std::string min;
    std::string max;
    std::string increment;
    std::vector<Entry> entries;
    std::string unit;
    std::string representation;
    std::string displayName;
    std::string visibility;
    std::string toolTip;
    std::string description;
    std::vector<std::string> selectedBy;  // selectors this feature depends on
    std::vector<std::string> selects;     // features this selector switches
    bool streamable = false;
};

// Reads the facts of a node; values that cannot be read now are given as a
// short reason in brackets. Never throws for a readable node map.
FeatureDescription DescribeFeature(GenApi::INode* node);
void PrintDescription(std::ostream& out, const FeatureDescription& description);
std::string DescriptionJson(const FeatureDescription& description);

}  // namespace lumocam
