#pragma once

#include <string>
#include <vector>

#include "GenApi/GenApi.h"

namespace lumoclient {

// The feature whose name differs from `name` only in case; null where there
// is none. A case slip is the usual mistake behind an unknown feature name.
GenApi::INode* FeatureInOtherCase(GenApi::INodeMap& map, const std::string& name);
// The symbolic names of the entries that can be chosen now, in node order.
std::vector<std::string> AvailableEntryNames(GenApi::IEnumeration& enumeration);
// The same, joined by ", " for a message.
std::string AvailableEntryList(GenApi::IEnumeration& enumeration);

}  // namespace lumoclient
