#pragma once

#include <string>

namespace LumoSim {

// What a camera's description says about a feature besides its registers:
// the texts a viewer shows, and unit and representation of numbers. Fields
// may be empty.
struct FeatureDoc {
    const char* displayName;
    const char* toolTip;
    const char* description;
    const char* unit;
    const char* representation;  // GenApi ERepresentation name, e.g. "IPV4Address"
};

// The documentation of a standard feature or category name; null when there is none.
const FeatureDoc* FindFeatureDoc(const std::string& name);

}  // namespace LumoSim
