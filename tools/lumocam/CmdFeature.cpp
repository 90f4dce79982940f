#include <iostream>

#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

int RunGet(const FeatureOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    ICameraInfo* info = records.Select(options.camera);
    CameraPtr camera;
    try {
        camera = OpenCamera(info, DEVICE_OPEN_MODE_READONLY);
    } catch (const ToolError&) {
        camera = OpenCamera(info, DEVICE_OPEN_MODE_CONTROL);
    }
    std::cout << ReadFeature(ModuleNodeMap(camera.get(), module), options.feature) << "\n";
    return 0;
}

int RunSet(const FeatureOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    CameraPtr camera = OpenCamera(records.Select(options.camera), DEVICE_OPEN_MODE_CONTROL);
    GenApi::INodeMap& map = ModuleNodeMap(camera.get(), module);
    const bool isCommand =
        RequireFeature(map, options.feature)->GetPrincipalInterfaceType() == GenApi::intfICommand;
    if (!options.value && !isCommand) {
        throw ToolError(kExitUsage, "set " + options.feature + " needs a value");
    }
    const std::string written = WriteFeature(map, options.feature, options.value.value_or("exec"));
    std::cout << options.feature << " = " << written << "\n";
    return 0;
}

}  // namespace lumocam
