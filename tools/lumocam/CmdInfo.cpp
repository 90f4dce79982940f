#include <cstdio>
#include <iostream>
#include <set>
#include <sstream>

#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
#include "Json.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

void PrintField(const char* label, const std::string& value) {
    std::printf("  %-22s %s\n", label, value.c_str());
}

std::string Text(const char* value) {
    return value != nullptr ? value : "";
}

// The network keys of a GigE Vision record, as the table and the JSON name them.
struct NetworkKey {
    EX_INFOID id;
    const char* label;
    const char* key;
};
constexpr NetworkKey kNetwork[] = {{EX_INFO_IP, "IP address", "ip"},
                                   {EX_INFO_MAC, "MAC address", "mac"},
                                   {EX_INFO_NET_ADDR_3, "subnet mask", "subnetMask"},
                                   {EX_INFO_NET_ADDR_4, "gateway", "gateway"}};

void PrintRecord(ICameraInfo* info) {
    std::printf("Device\n");
    PrintField("TL type", TlTypeName(info->GetTLType()));
    PrintField("vendor", Text(info->GetManufacture()));
    PrintField("model", Text(info->GetModel()));
    PrintField("serial number", Text(info->GetSN()));
    PrintField("user name", Text(info->GetUserDefineName()));
    PrintField("display name", Text(info->GetDisplayName()));
    PrintField("device ID", Text(info->GetID()));
    PrintField("version", Text(info->GetVersion()));
    PrintField("access status", AccessStatusName(info->GetAccessStatus()));
    const long long frequency = info->GetTimestampFrequency();
    PrintField("timestamp frequency",
               frequency > 0 ? std::to_string(frequency) + " Hz" : "unknown");
    for (const auto& item : kNetwork) {
        if (const char* value = info->GetExInfo(item.id)) {
            PrintField(item.label, value);
        }
    }
}

void PrintDescriptionFiles(ICamera* camera) {
    std::printf("\nDescription files\n");
    for (Module module :
         {Module::System, Module::Interface, Module::Device, Module::Remote, Module::Stream}) {
        IXml* xml = ModuleXml(camera, module);
        const std::string name = xml != nullptr ? xml->GetFileName() : "";
        if (name.empty()) {
            std::printf("  %-10s (none)\n", ModuleName(module));
            continue;
        }
        std::printf("  %-10s %-36s %-4s %zu bytes\n", ModuleName(module), name.c_str(),
                    xml->GetFileSuffix().c_str(), xml->GetFileContent().size());
    }
}

void JsonField(std::ostream& out, const char* key, const std::string& value) {
    out << ", " << JsonString(key) << ": " << JsonString(value);
}

void RecordJson(std::ostream& out, ICameraInfo* info) {
    out << "{\"tlType\": " << JsonString(TlTypeName(info->GetTLType()));
    JsonField(out, "vendor", Text(info->GetManufacture()));
    JsonField(out, "model", Text(info->GetModel()));
    JsonField(out, "serial", Text(info->GetSN()));
    JsonField(out, "userName", Text(info->GetUserDefineName()));
    JsonField(out, "displayName", Text(info->GetDisplayName()));
    JsonField(out, "id", Text(info->GetID()));
    JsonField(out, "version", Text(info->GetVersion()));
    JsonField(out, "accessStatus", AccessStatusName(info->GetAccessStatus()));
    out << ", \"timestampFrequency\": " << info->GetTimestampFrequency();
    for (const auto& item : kNetwork) {
        if (const char* value = info->GetExInfo(item.id)) {
            JsonField(out, item.key, value);
        }
    }
    out << "}";
}

void DescriptionFilesJson(std::ostream& out, ICamera* camera) {
    out << "[";
    const char* separator = "";
    for (Module module :
         {Module::System, Module::Interface, Module::Device, Module::Remote, Module::Stream}) {
        IXml* xml = ModuleXml(camera, module);
        const std::string name = xml != nullptr ? xml->GetFileName() : "";
        out << separator << "{\"module\": " << JsonString(ModuleName(module));
        if (!name.empty()) {
            JsonField(out, "file", name);
            JsonField(out, "suffix", xml->GetFileSuffix());
            out << ", \"bytes\": " << xml->GetFileContent().size();
        }
        out << "}";
        separator = ", ";
    }
    out << "]";
}

void NodeJson(std::ostream& out, GenApi::INode* node, std::set<GenApi::INode*>& seen) {
    out << "{\"name\": " << JsonString(node->GetName().str());
    JsonField(out, "type", InterfaceTypeName(node->GetPrincipalInterfaceType()));
    if (GenApi::CCategoryPtr category = GenApi::CCategoryPtr(node)) {
        out << ", \"features\": [";
        GenApi::FeatureList_t children;
        category->GetFeatures(children);
        const char* separator = "";
        for (GenApi::IValue* child : children) {
            // A feature listed in two categories is given once.
            if (seen.insert(child->GetNode()).second) {
                out << separator;
                NodeJson(out, child->GetNode(), seen);
                separator = ", ";
            }
        }
        out << "]}";
        return;
    }
    JsonField(out, "value", DisplayValue(node));
    JsonField(out, "access", AccessModeName(node->GetAccessMode()));
    const std::string unit = FeatureUnit(node);
    if (!unit.empty()) {
        JsonField(out, "unit", unit);
    }
    out << "}";
}

void PrintInfoJson(ICameraInfo* info, ICamera* camera, Module module) {
    std::ostringstream out;
    out << "{\"device\": ";
    RecordJson(out, info);
    out << ", \"descriptionFiles\": ";
    DescriptionFilesJson(out, camera);
    out << ", \"module\": " << JsonString(ModuleName(module)) << ", \"features\": ";
    GenApi::INodeMap& map = ModuleNodeMap(camera, module);
    std::set<GenApi::INode*> seen;
    GenApi::INode* root = map.GetNode("Root");
    if (root != nullptr && GenApi::CCategoryPtr(root)) {
        seen.insert(root);
        NodeJson(out, root, seen);
    } else {
        out << "null";
    }
    out << "}\n";
    std::cout << out.str();
}

}  // namespace

int RunInfo(const InfoOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    ICameraInfo* info = records.Select(options.camera);
    if (options.json) {
        CameraPtr camera = OpenForReading(info);
        PrintInfoJson(info, camera.get(), module);
        return 0;
    }
    PrintRecord(info);
    CameraPtr camera = OpenForReading(info);
    PrintDescriptionFiles(camera.get());

    std::printf("\nFeatures of the %s module (value, access mode, unit)\n", ModuleName(module));
    std::fflush(stdout);
    PrintFeatureTree(std::cout, ModuleNodeMap(camera.get(), module));
    std::cout.flush();
    return 0;
}

}  // namespace lumocam
