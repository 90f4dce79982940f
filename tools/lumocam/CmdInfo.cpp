#include <cstdio>
#include <iostream>

#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
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
    const struct {
        EX_INFOID id;
        const char* label;
    } network[] = {{EX_INFO_IP, "IP address"},
                   {EX_INFO_MAC, "MAC address"},
                   {EX_INFO_NET_ADDR_3, "subnet mask"},
                   {EX_INFO_NET_ADDR_4, "gateway"}};
    for (const auto& item : network) {
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

}  // namespace

int RunInfo(const InfoOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    ICameraInfo* info = records.Select(options.camera);
    PrintRecord(info);

    // Read-only access is enough to look, and leaves the camera to others;
    // producers that refuse it get a control open instead.
    CameraPtr camera;
    try {
        camera = OpenCamera(info, DEVICE_OPEN_MODE_READONLY);
    } catch (const ToolError&) {
        camera = OpenCamera(info, DEVICE_OPEN_MODE_CONTROL);
    }
    PrintDescriptionFiles(camera.get());

    std::printf("\nFeatures of the %s module (value, access mode, unit)\n", ModuleName(module));
    std::fflush(stdout);
    PrintFeatureTree(std::cout, ModuleNodeMap(camera.get(), module));
    std::cout.flush();
    return 0;
}

}  // namespace lumocam
