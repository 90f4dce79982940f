#include "FeatureDescription.h"

#include <cstdio>
#include <sstream>

#include "Features.h"
#include "Json.h"

namespace lumocam {

using namespace GenApi;

namespace {

const char* RepresentationName(ERepresentation representation) {
    switch (representation) {
        case Linear:
            return "linear";
        case Logarithmic:
            return "logarithmic";
        case Boolean:
            return "boolean";
        case PureNumber:
            return "pure number";
        case HexNumber:
            return "hexadecimal";
        case IPV4Address:
            return "IPv4 address";
        case MACAddress:
            return "MAC address";
        case _UndefinedRepresentation:
            break;
    }
    return "";
}

std::string Number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::vector<std::string> Names(const FeatureList_t& features) {
    std::vector<std::string> names;
    for (IValue* feature : features) {
        names.push_back(feature->GetNode()->GetName().str());
    }
    return names;
}

// Ranges may depend on other features that cannot be read now.
template <class Read>
std::string Guard(Read&& read) {
    try {
        return read();
    } catch (const GenICam::GenericException&) {
        return "(not available now)";
    }
}

void DescribeRange(INode* node, FeatureDescription& facts) {
    if (!IsReadable(node)) {
        return;
    }
    if (CIntegerPtr integer = CIntegerPtr(node)) {
        facts.min = Guard([&] { return std::to_string(integer->GetMin()); });
        facts.max = Guard([&] { return std::to_string(integer->GetMax()); });
        facts.increment = Guard([&] { return std::to_string(integer->GetInc()); });
        facts.unit = integer->GetUnit().str();
        facts.representation = RepresentationName(integer->GetRepresentation());
    } else if (CFloatPtr floating = CFloatPtr(node)) {
        facts.min = Guard([&] { return Number(floating->GetMin()); });
        facts.max = Guard([&] { return Number(floating->GetMax()); });
        if (floating->HasInc()) {
            facts.increment = Guard([&] { return Number(floating->GetInc()); });
        }
        facts.unit = floating->GetUnit().str();
        facts.representation = RepresentationName(floating->GetRepresentation());
    }
}

void DescribeEntries(INode* node, FeatureDescription& facts) {
    CEnumerationPtr enumeration(node);
    if (!enumeration) {
        return;
    }
    std::int64_t current = -1;
    if (IsReadable(node)) {
        try {
            current = enumeration->GetIntValue();
        } catch (const GenICam::GenericException&) {
            current = -1;  // no entry is marked current
        }
    }
    NodeList_t entries;
    enumeration->GetEntries(entries);
    for (INode* item : entries) {
        CEnumEntryPtr entry(item);
        if (!entry) {
            continue;
        }
        FeatureDescription::Entry described;
        described.name = entry->GetSymbolic().str();
        described.value = std::to_string(entry->GetValue());
        described.available = IsAvailable(entry);
        described.current = entry->GetValue() == current;
        facts.entries.push_back(described);
    }
}

void Row(std::ostream& out, const char* label, const std::string& value) {
    if (!value.empty()) {
        char head[24];
        std::snprintf(head, sizeof head, "  %-16s", label);
        out << head << value << "\n";
    }
}

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

std::string JsonList(const std::vector<std::string>& names) {
    std::string text = "[";
    for (const auto& name : names) {
        text += (text.size() > 1 ? ", " : "") + JsonString(name);
    }
    return text + "]";
}

}  // namespace

FeatureDescription DescribeFeature(INode* node) {
    FeatureDescription facts;
    facts.name = node->GetName().str();
    facts.type = InterfaceTypeName(node->GetPrincipalInterfaceType());
    facts.access = AccessModeName(node->GetAccessMode());
    facts.value = DisplayValue(node);
    DescribeRange(node, facts);
    DescribeEntries(node, facts);
    facts.displayName = node->GetDisplayName().str();
    facts.visibility = lumoclient::VisibilityName(node->GetVisibility());
    facts.toolTip = node->GetToolTip().str();
    facts.description = node->GetDescription().str();
    FeatureList_t features;
    node->GetSelectingFeatures(features);
    facts.selectedBy = Names(features);
    features.clear();
    node->GetSelectedFeatures(features);
    facts.selects = Names(features);
    facts.streamable = node->IsStreamable();
    return facts;
}

void PrintDescription(std::ostream& out, const FeatureDescription& facts) {
    out << facts.name << "\n";
    Row(out, "display name", facts.displayName);
    Row(out, "type", facts.type);
    Row(out, "access", facts.access);
    Row(out, "value", facts.value);
    Row(out, "minimum", facts.min);
    Row(out, "maximum", facts.max);
    Row(out, "increment", facts.increment);
    Row(out, "unit", facts.unit);
    Row(out, "representation", facts.representation);
    if (!facts.entries.empty()) {
        out << "  entries         (* available now, > current)\n";
        for (const auto& entry : facts.entries) {
            out << "    " << (entry.current ? '>' : ' ') << (entry.available ? '*' : ' ') << " "
                << entry.name << " (" << entry.value << ")\n";
        }
    }
    Row(out, "selected by", Joined(facts.selectedBy));
    Row(out, "selects", Joined(facts.selects));
    Row(out, "visibility", facts.visibility);
    Row(out, "streamable", facts.streamable ? "yes" : "no");
    Row(out, "tooltip", facts.toolTip);
    Row(out, "description", facts.description);
}

std::string DescriptionJson(const FeatureDescription& facts) {
    std::ostringstream out;
    out << "{\"name\": " << JsonString(facts.name) << ", \"type\": " << JsonString(facts.type)
        << ", \"access\": " << JsonString(facts.access)
        << ", \"value\": " << JsonString(facts.value);
    const std::pair<const char*, const std::string*> optional[] = {
        {"min", &facts.min},
        {"max", &facts.max},
        {"increment", &facts.increment},
        {"unit", &facts.unit},
        {"representation", &facts.representation}};
    for (const auto& [key, value] : optional) {
        if (!value->empty()) {
            out << ", \"" << key << "\": " << JsonString(*value);
        }
    }
    if (!facts.entries.empty()) {
        out << ", \"entries\": [";
        const char* separator = "";
        for (const auto& entry : facts.entries) {
            out << separator << "{\"name\": " << JsonString(entry.name)
                << ", \"value\": " << entry.value
                << ", \"available\": " << (entry.available ? "true" : "false")
                << ", \"current\": " << (entry.current ? "true" : "false") << "}";
            separator = ", ";
        }
        out << "]";
    }
    out << ", \"displayName\": " << JsonString(facts.displayName)
        << ", \"visibility\": " << JsonString(facts.visibility)
        << ", \"toolTip\": " << JsonString(facts.toolTip)
        << ", \"description\": " << JsonString(facts.description)
        << ", \"selectedBy\": " << JsonList(facts.selectedBy)
        << ", \"selects\": " << JsonList(facts.selects)
        << ", \"streamable\": " << (facts.streamable ? "true" : "false") << "}\n";
    return out.str();
}

}  // namespace lumocam
