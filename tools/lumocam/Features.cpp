#include "Features.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <set>
#include <sstream>
#include <strings.h>

#include "ExitCodes.h"
#include "NodeLookup.h"

namespace lumocam {

using namespace GenApi;

namespace {

// Runs a node-map operation and turns the layer's exceptions into exit codes.
template <class Operation>
auto Guarded(const std::string& name, Operation&& operation) -> decltype(operation()) {
    try {
        return operation();
    } catch (const GenICam::AccessException& e) {
        throw ToolError(kExitAccessDenied, name + ": " + e.GetDescription());
    } catch (const GenICam::OutOfRangeException& e) {
        throw ToolError(kExitBadValue, name + ": " + e.GetDescription());
    } catch (const GenICam::InvalidArgumentException& e) {
        throw ToolError(kExitBadValue, name + ": " + e.GetDescription());
    } catch (const GenICam::GenericException& e) {
        throw ToolError(kExitFailure, name + ": " + e.GetDescription());
    }
}

}  // namespace

INode* RequireFeature(INodeMap& map, const std::string& name) {
    if (INode* node = map.GetNode(name.c_str())) {
        return node;
    }
    if (INode* meant = lumoclient::FeatureInOtherCase(map, name)) {
        throw ToolError(kExitUnknownFeature, "no feature '" + name + "'; did you mean '" +
                                                 meant->GetName().str() + "'?");
    }
    throw ToolError(kExitUnknownFeature, "no feature '" + name + "' in this node map");
}

namespace {

std::int64_t ParseInteger(const std::string& name, const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 0);  // decimal or 0x hex
    if (text.empty() || *end != '\0' || errno == ERANGE) {
        throw ToolError(kExitBadValue, name + ": '" + text + "' is not an integer");
    }
    return value;
}

double ParseFloat(const std::string& name, const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(value)) {
        throw ToolError(kExitBadValue, name + ": '" + text + "' is not a number");
    }
    return value;
}

bool ParseBoolean(const std::string& name, const std::string& text) {
    for (const char* yes : {"1", "true", "on", "yes"}) {
        if (strcasecmp(text.c_str(), yes) == 0)
            return true;
    }
    for (const char* no : {"0", "false", "off", "no"}) {
        if (strcasecmp(text.c_str(), no) == 0)
            return false;
    }
    throw ToolError(kExitBadValue, name + ": '" + text + "' is not a boolean (true/false)");
}

void WriteInteger(IInteger& node, const std::string& name, const std::string& text) {
    const std::int64_t value = ParseInteger(name, text);
    const std::int64_t min = node.GetMin();
    const std::int64_t max = node.GetMax();
    const std::int64_t inc = node.GetInc();
    if (value < min || value > max) {
        throw ToolError(kExitBadValue, name + ": " + text + " is out of range " +
                                           std::to_string(min) + " .. " + std::to_string(max));
    }
    if (inc > 1 && (value - min) % inc != 0) {
        throw ToolError(kExitBadValue, name + ": " + text + " is not " + std::to_string(min) +
                                           " plus a multiple of " + std::to_string(inc));
    }
    node.SetValue(value);
}

void WriteFloat(IFloat& node, const std::string& name, const std::string& text) {
    const double value = ParseFloat(name, text);
    const double min = node.GetMin();
    const double max = node.GetMax();
    if (value < min || value > max) {
        std::ostringstream message;
        message << name << ": " << text << " is out of range " << min << " .. " << max;
        throw ToolError(kExitBadValue, message.str());
    }
    node.SetValue(value);
}

void WriteEnumeration(IEnumeration& node, const std::string& name, const std::string& text) {
    IEnumEntry* entry = node.GetEntryByName(text.c_str());
    if (entry == nullptr || !IsAvailable(entry)) {
        throw ToolError(kExitBadValue, name + ": '" + text + "' is not one of its entries (" +
                                           lumoclient::AvailableEntryList(node) + ")");
    }
    node.SetIntValue(entry->GetValue());
}

std::string Indent(int depth) {
    return std::string(static_cast<std::size_t>(depth) * 2, ' ');
}

std::string Dotted(std::int64_t value) {
    const auto v = static_cast<std::uint64_t>(value);
    return std::to_string((v >> 24) & 0xFF) + "." + std::to_string((v >> 16) & 0xFF) + "." +
           std::to_string((v >> 8) & 0xFF) + "." + std::to_string(v & 0xFF);
}

std::string Mac(std::int64_t value) {
    char text[24];
    const auto v = static_cast<std::uint64_t>(value);
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X",
                  static_cast<unsigned>((v >> 40) & 0xFF), static_cast<unsigned>((v >> 32) & 0xFF),
                  static_cast<unsigned>((v >> 24) & 0xFF), static_cast<unsigned>((v >> 16) & 0xFF),
                  static_cast<unsigned>((v >> 8) & 0xFF), static_cast<unsigned>(v & 0xFF));
    return text;
}

// The value as a person reads it: addresses in their usual notation.
std::string ValueText(INode* node) {
    if (CIntegerPtr integer = CIntegerPtr(node)) {
        switch (integer->GetRepresentation()) {
            case IPV4Address:
                return Dotted(integer->GetValue());
            case MACAddress:
                return Mac(integer->GetValue());
            default:
                break;
        }
    }
    return CValuePtr(node)->ToString(true).str();
}

void PrintNode(std::ostream& out, INode* node, int depth, std::set<INode*>& seen) {
    if (!seen.insert(node).second) {
        return;  // a feature listed in two categories is shown once
    }
    if (node->GetPrincipalInterfaceType() == intfICategory) {
        out << Indent(depth) << node->GetName().str() << "\n";
        CCategoryPtr category(node);
        FeatureList_t children;
        category->GetFeatures(children);
        for (IValue* child : children) {
            PrintNode(out, child->GetNode(), depth + 1, seen);
        }
        return;
    }
    std::ostringstream line;
    line << Indent(depth) << node->GetName().str();
    out << std::left << std::setw(40) << line.str() << " " << std::setw(24) << DisplayValue(node)
        << " " << std::setw(2) << AccessModeName(node->GetAccessMode());
    const std::string unit = FeatureUnit(node);
    if (!unit.empty()) {
        out << " " << unit;
    }
    out << "\n";
}

}  // namespace

std::string FeatureUnit(INode* node) {
    if (CIntegerPtr integer = CIntegerPtr(node)) {
        return integer->GetUnit().str();
    }
    if (CFloatPtr floating = CFloatPtr(node)) {
        return floating->GetUnit().str();
    }
    return {};
}

std::string DisplayValue(INode* node) {
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    if (type == intfICommand) {
        return "(command)";
    }
    if (type == intfICategory || type == intfIPort) {
        return "";
    }
    if (!IsReadable(node)) {
        return IsImplemented(node) ? "(not readable now)" : "(not implemented)";
    }
    // A table wants a short reason; `get` gives the whole message.
    try {
        return ValueText(node);
    } catch (const GenICam::AccessException&) {
        return "(not available now)";
    } catch (const GenICam::TimeoutException&) {
        return "(timed out)";
    } catch (const GenICam::OutOfRangeException&) {
        return "(invalid value)";
    } catch (const GenICam::GenericException&) {
        return "(read failed)";
    }
}

std::string ReadFeature(INodeMap& map, const std::string& name) {
    INode* node = RequireFeature(map, name);
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    if (type == intfICommand || type == intfICategory || type == intfIPort) {
        throw ToolError(kExitUsage, name + " is a " + InterfaceTypeName(type) +
                                        (type == intfICommand ? "; run it with `set ... exec`"
                                                              : " and has no value"));
    }
    if (!IsReadable(node)) {
        throw ToolError(kExitAccessDenied, name + " is not readable now (access mode " +
                                               AccessModeName(node->GetAccessMode()) + ")");
    }
    return Guarded(name, [&] { return ValueText(node); });
}

std::string WriteFeature(INodeMap& map, const std::string& name, const std::string& value) {
    INode* node = RequireFeature(map, name);
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    if (!IsWritable(node)) {
        const EAccessMode mode = node->GetAccessMode();
        throw ToolError(kExitAccessDenied,
                        name + (mode == RO ? " is read-only" : " is not writable now") +
                            " (access mode " + AccessModeName(mode) + ")");
    }
    return Guarded(name, [&]() -> std::string {
        switch (type) {
            case intfIInteger:
                WriteInteger(*CIntegerPtr(node), name, value);
                break;
            case intfIFloat:
                WriteFloat(*CFloatPtr(node), name, value);
                break;
            case intfIBoolean:
                CBooleanPtr(node)->SetValue(ParseBoolean(name, value));
                break;
            case intfIEnumeration:
                WriteEnumeration(*CEnumerationPtr(node), name, value);
                break;
            case intfIString:
                CStringPtr(node)->SetValue(value.c_str());
                break;
            case intfICommand:
                if (!value.empty() && value != "exec") {
                    throw ToolError(kExitBadValue,
                                    name + " is a command; its only value is 'exec'");
                }
                CCommandPtr(node)->Execute();
                return "executed";
            default:
                throw ToolError(kExitUsage, name + " is a " + InterfaceTypeName(type) +
                                                " and cannot be set from the command line");
        }
        return IsReadable(node) ? ValueText(node) : value;
    });
}

void PrintFeatureTree(std::ostream& out, INodeMap& map) {
    std::set<INode*> seen;
    if (INode* root = map.GetNode("Root"); root != nullptr && CCategoryPtr(root)) {
        PrintNode(out, root, 1, seen);
        return;
    }
    // Without a Root category every feature is listed flat.
    NodeList_t nodes;
    map.GetNodes(nodes);
    for (INode* node : nodes) {
        if (node->IsFeature() && node->GetPrincipalInterfaceType() != intfICategory) {
            PrintNode(out, node, 1, seen);
        }
    }
}

}  // namespace lumocam
