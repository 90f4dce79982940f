#include <iostream>

#include "Assignments.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "FeatureDescription.h"
#include "Features.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

int RunGet(const FeatureOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    CameraPtr camera = OpenForReading(records.Select(options.camera));
    std::cout << ReadFeature(ModuleNodeMap(camera.get(), module), options.feature) << "\n";
    return 0;
}

int RunDescribe(const FeatureOptions& options) {
    const Module module = ParseModule(options.module);
    Library library;
    CameraRecords records(Discovery(nullptr));
    CameraPtr camera = OpenForReading(records.Select(options.camera));
    const FeatureDescription description =
        DescribeFeature(RequireFeature(ModuleNodeMap(camera.get(), module), options.feature));
    if (options.json) {
        std::cout << DescriptionJson(description);
    } else {
        PrintDescription(std::cout, description);
    }
    return 0;
}

int RunSet(const SetOptions& options) {
    const Module module = ParseModule(options.module);
    // Parsed first: a malformed list changes nothing on the camera.
    const std::vector<Assignment> assignments = ParseAssignments(options.assignments);
    Library library;
    CameraRecords records(Discovery(nullptr));
    CameraPtr camera = OpenCamera(records.Select(options.camera), DEVICE_OPEN_MODE_CONTROL);
    ApplyAssignments(ModuleNodeMap(camera.get(), module), assignments, &std::cout);
    return 0;
}

}  // namespace lumocam
