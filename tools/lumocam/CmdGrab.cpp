#include <iostream>

#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
#include "Grabber.h"
#include "Session.h"
#include "Signals.h"

namespace lumocam {

using namespace VEXOGENICAM;

int RunGrab(const GrabOptions& options) {
    GrabSettings settings;
    settings.strategy = ParseStrategy(options.strategy);
    settings.count = options.count;
    settings.timeoutMs = options.timeoutMs;
    settings.saveDir = options.saveDir;
    settings.saveRaw = options.raw;
    settings.progress = &std::cerr;
    if (options.raw && options.saveDir.empty()) {
        throw ToolError(kExitUsage, "--raw needs --save DIR");
    }

    // Installed before the camera opens so that Ctrl-C at any point still
    // takes the orderly way out.
    InterruptScope interrupts;
    Library library;
    CameraRecords records(Discovery(nullptr));
    CameraPtr camera = OpenCamera(records.Select(options.camera), DEVICE_OPEN_MODE_CONTROL);
    GenApi::INodeMap& remote = ModuleNodeMap(camera.get(), Module::Remote);
    if (!options.pixelFormat.empty()) {
        WriteFeature(remote, "PixelFormat", options.pixelFormat);
    }
    std::cout << "camera " << camera->GetCameraInfo()->GetSN() << ", "
              << ReadFeature(remote, "Width") << "x" << ReadFeature(remote, "Height") << " "
              << ReadFeature(remote, "PixelFormat") << ", strategy " << options.strategy << "\n"
              << std::flush;

    const GrabResult result = Grab(camera.get(), settings);
    camera.reset();  // acquisition is already stopped; this closes the device
    PrintGrabSummary(std::cout, result);
    if (!options.saveDir.empty()) {
        std::cout << "files saved: " << result.files.size() << " in " << options.saveDir << "\n";
    }
    if (result.interrupted) {
        std::cerr << "lumocam: interrupted; acquisition stopped, buffers revoked, device closed\n";
        return kExitInterrupted;
    }
    if (result.timedOut) {
        throw ToolError(kExitFailure, "no frame within " + std::to_string(options.timeoutMs) +
                                          " ms after " + std::to_string(result.received) +
                                          " frame(s)");
    }
    return 0;
}

}  // namespace lumocam
