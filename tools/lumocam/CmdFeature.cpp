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
    Session session(options.camera, Session::Access::Read);
    ICamera* camera = session.Camera();
    std::cout << ReadFeature(ModuleNodeMap(camera, module), options.feature) << "\n";
    return 0;
}

int RunDescribe(const FeatureOptions& options) {
    const Module module = ParseModule(options.module);
    Session session(options.camera, Session::Access::Read);
    ICamera* camera = session.Camera();
    const FeatureDescription description =
        DescribeFeature(RequireFeature(ModuleNodeMap(camera, module), options.feature));
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
    Session session(options.camera, Session::Access::Control);
    ICamera* camera = session.Camera();
    ApplyAssignments(ModuleNodeMap(camera, module), assignments, &std::cout);
    return 0;
}

}  // namespace lumocam
