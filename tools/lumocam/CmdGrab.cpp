#include <unistd.h>

#include <csignal>
#include <iostream>

#include "Assignments.h"
#include "ChunkReader.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
#include "FrameSaver.h"
#include "Grabber.h"
#include "Session.h"
#include "Signals.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::uint64_t PixelFormatOf(GenApi::INodeMap& remote) {
    GenApi::CEnumerationPtr format(remote.GetNode("PixelFormat"));
    return format && GenApi::IsReadable(format) ? static_cast<std::uint64_t>(format->GetIntValue())
                                                : 0;
}

// Refuses before acquisition what would otherwise save nothing: PNG for a
// format that does not convert is only acceptable when raw files are kept.
// Answers whether PNG files are written.
bool CheckSaving(const GrabOptions& options, std::uint64_t pixelFormat) {
    if (options.saveDir.empty() || pixelFormat == 0) {
        return true;
    }
    const FrameSaver saver(pixelFormat, options.depth);
    if (saver.Problem().empty()) {
        return true;
    }
    if (!options.raw) {
        throw ToolError(options.depth == 16 ? kExitUsage : kExitFailure,
                        "cannot save " + PixelFormatText(pixelFormat) +
                            " frames as PNG: " + saver.Problem() +
                            "; add --raw to keep the raw buffers (each with a .json sidecar)");
    }
    std::cerr << "lumocam: no PNG files: " << saver.Problem() << "; saving raw buffers only\n";
    return false;
}

}  // namespace

int RunGrab(const GrabOptions& options) {
    if (options.raw && options.saveDir.empty()) {
        throw ToolError(kExitUsage, "--raw needs --save DIR");
    }
    if (options.depth != 8 && options.depth != 16) {
        throw ToolError(kExitUsage,
                        "--depth " + std::to_string(options.depth) + ": PNG depth is 8 or 16");
    }
    std::vector<Assignment> assignments;
    if (!options.pixelFormat.empty()) {
        assignments.push_back({"PixelFormat", options.pixelFormat});
    }
    if (!options.settings.empty()) {
        for (auto& assignment : ParseAssignments(options.settings)) {
            assignments.push_back(std::move(assignment));
        }
    }
    GrabSettings settings;
    settings.strategy = ParseStrategy(options.strategy);
    settings.count = options.count;
    settings.timeoutMs = options.timeoutMs;
    settings.saveDir = options.saveDir;
    settings.saveRaw = options.raw;
    settings.depth = options.depth;
    settings.progress = &std::cerr;
    settings.progressIsTerminal = isatty(STDERR_FILENO) == 1;
    settings.frameLog = &std::cout;
    settings.printChunks = options.chunks;
    settings.printEvents = options.events;

    // Installed before the camera opens so that Ctrl-C or SIGTERM at any
    // point still takes the orderly way out.
    InterruptScope interrupts;
    Session session(options.camera, Session::Access::Control);
    ICamera* camera = session.Camera();
    GenApi::INodeMap& remote = ModuleNodeMap(camera, Module::Remote);
    ApplyAssignments(remote, assignments, nullptr);
    if (options.chunks) {
        EnableAllChunks(remote);
    }
    settings.chunkMap = &remote;
    settings.savePng = CheckSaving(options, PixelFormatOf(remote));
    std::cout << "camera " << camera->GetCameraInfo()->GetSN() << ", "
              << ReadFeature(remote, "Width") << "x" << ReadFeature(remote, "Height") << " "
              << ReadFeature(remote, "PixelFormat") << ", strategy " << options.strategy << "\n"
              << std::flush;

    const GrabResult result = Grab(camera, settings);
    session.CloseCamera();  // acquisition is already stopped; this closes the device
    PrintGrabSummary(std::cout, result);
    if (!options.saveDir.empty()) {
        std::cout << "files saved: " << result.files.size() << " in " << options.saveDir << "\n";
    }
    if (options.events && result.eventRegistrations == 0) {
        std::cerr << "lumocam: the producer accepted no event registration; no events shown\n";
    }
    if (result.interrupted) {
        const bool term = result.signal == SIGTERM;
        std::cerr << "lumocam: " << (term ? "terminated" : "interrupted")
                  << "; acquisition stopped, buffers revoked, device closed\n";
        return term ? kExitTerminated : kExitInterrupted;
    }
    if (result.timedOut) {
        throw ToolError(kExitFailure, "no frame within " + std::to_string(options.timeoutMs) +
                                          " ms after " + std::to_string(result.received) +
                                          " frame(s)");
    }
    if (result.notSaved > 0) {
        throw ToolError(kExitFailure, std::to_string(result.notSaved) +
                                          " frame(s) not saved as PNG: " + result.notSavedReason);
    }
    return 0;
}

}  // namespace lumocam
