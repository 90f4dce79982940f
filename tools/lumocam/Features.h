#pragma once

#include <ostream>
#include <string>

#include "GenApi/GenApi.h"
#include "NodeText.h"

namespace lumocam {

using lumoclient::AccessModeName;
using lumoclient::InterfaceTypeName;
// The unit of an integer or float feature; empty for other types.
std::string FeatureUnit(GenApi::INode* node);
// The node of a feature; throws ToolError (unknown feature) when there is none.
GenApi::INode* RequireFeature(GenApi::INodeMap& map, const std::string& name);
// The value for a table: addresses dotted, and a short reason in brackets
// instead of the value when it cannot be read. Never throws.
std::string DisplayValue(GenApi::INode* node);
// The current value as text (enumerations by entry name); throws ToolError.
std::string ReadFeature(GenApi::INodeMap& map, const std::string& name);
// Parses `value` for the feature's type, checks access and range, writes it
// and answers the value read back. Commands take "exec". Throws ToolError.
std::string WriteFeature(GenApi::INodeMap& map, const std::string& name, const std::string& value);
// Every feature under the map's Root category, indented by category, with
// value, access mode and unit.
void PrintFeatureTree(std::ostream& out, GenApi::INodeMap& map);

}  // namespace lumocam
