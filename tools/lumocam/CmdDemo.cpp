#include <dlfcn.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <vector>

#include "Commands.h"
#include "ExitCodes.h"
#include "Features.h"
#include "FrameSaver.h"
#include "Grabber.h"
#include "NodeLookup.h"
#include "Session.h"
#include "Signals.h"

// The first thing a newcomer runs: every step of a camera application against
// the simulated producer, each explained in one or two lines.
namespace lumocam {

using namespace VEXOGENICAM;

namespace {

constexpr const char* kSimProducer = "LumoSim.cti";

// The folder the library was loaded from: where producers are looked for.
std::string LibraryFolder() {
    Dl_info where{};
    if (dladdr(reinterpret_cast<void*>(&VEXOGENICAM::Init), &where) == 0 ||
        where.dli_fname == nullptr) {
        return "the library's folder";
    }
    return std::filesystem::path(where.dli_fname).parent_path().string();
}

// The simulated producer: beside the library in a build tree; in an installed
// tree in its own folder, which the demo then names in GENICAM_GENTL64_PATH for
// itself only, so that no other application finds a fake camera. The result is
// what to pass to Discovery.
std::string FindSimProducer() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const auto folder = (self.parent_path() / LUMOCAM_SIM_FOLDER).lexically_normal();
        const auto file = folder / kSimProducer;
        if (std::filesystem::is_regular_file(file, error) &&
            !std::filesystem::exists(std::filesystem::path(LibraryFolder()) / kSimProducer)) {
            setenv("GENICAM_GENTL64_PATH", folder.c_str(), 1);
            return file.string();
        }
    }
    return kSimProducer;
}

// How to call this tool from the current folder, e.g. build/bin/lumocam.
std::string ToolPath() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return "lumocam";
    }
    const auto relative = std::filesystem::relative(self, error);
    return error || relative.empty() ? self.string() : relative.string();
}

void Step(int number, const char* title) {
    std::printf("\n%d. %s\n", number, title);
}

void ShowFeature(GenApi::INodeMap& map, const char* name, const char* note) {
    GenApi::INode* node = map.GetNode(name);
    if (node == nullptr || !GenApi::IsReadable(node)) {
        return;  // a camera may lack an optional feature
    }
    const std::string unit = FeatureUnit(node);
    std::printf("   %-22s %-16s %s%s%s\n", name,
                (ReadFeature(map, name) + (unit.empty() ? "" : " " + unit)).c_str(),
                AccessModeName(node->GetAccessMode()), *note ? "  " : "", note);
}

std::string Entries(GenApi::INodeMap& map, const char* name) {
    GenApi::CEnumerationPtr enumeration = map.GetNode(name);
    return enumeration ? lumoclient::AvailableEntryList(*enumeration) : std::string();
}

// The first available PixelFormat entry whose name starts with `prefix`.
std::string FirstFormat(GenApi::INodeMap& map, const std::string& prefix) {
    GenApi::CEnumerationPtr format = map.GetNode("PixelFormat");
    GenApi::NodeList_t entries;
    if (format) {
        format->GetEntries(entries);
    }
    for (GenApi::INode* item : entries) {
        GenApi::CEnumEntryPtr entry(item);
        if (entry && GenApi::IsAvailable(entry) &&
            entry->GetSymbolic().str().rfind(prefix, 0) == 0) {
            return entry->GetSymbolic().str();
        }
    }
    return {};
}

std::string IdList(const std::vector<std::uint64_t>& ids) {
    std::string text;
    for (const std::uint64_t id : ids) {
        // Appending piecewise: g++ 12 -O3 flags `const char* + std::string` with a false
        // -Wrestrict.
        if (!text.empty()) {
            text += ' ';
        }
        text += std::to_string(id);
    }
    return text;
}

struct StrategyRun {
    GRAB_STRATEGY strategy;
    std::uint64_t pauseMs;
    const char* meaning;
};

// False when Ctrl-C ended a run.
bool ShowStrategies(ICamera* camera) {
    const StrategyRun runs[] = {
        {GRAB_STRATEGY_ONE_BY_ONE, 0, "every frame, in the order the camera sent them"},
        {GRAB_STRATEGY_LATEST_IMAGE, 100, "the newest frame; older ones are given back"},
        {GRAB_STRATEGY_UPCOMING_IMAGE, 100, "only a frame that arrives after the request"},
    };
    for (const StrategyRun& run : runs) {
        GrabSettings settings;
        settings.strategy = run.strategy;
        settings.count = 6;
        settings.pauseMs = run.pauseMs;
        const GrabResult result = Grab(camera, settings);
        if (result.interrupted) {
            return false;
        }
        std::printf("   %-11s %s\n", StrategyName(run.strategy), run.meaning);
        std::printf("               %llu frames at %.1f fps%s, frame IDs %s (%llu skipped)\n",
                    static_cast<unsigned long long>(result.received), result.FramesPerSecond(),
                    run.pauseMs > 0 ? " with a 100 ms pause after each" : "",
                    IdList(result.frameIds).c_str(),
                    static_cast<unsigned long long>(result.dropped));
        if (result.timedOut) {
            throw ToolError(kExitFailure, "the simulated camera stopped sending frames");
        }
    }
    return true;
}

// Grabs one frame in `format`, converts it and saves it as <dir>/<file>.
std::filesystem::path SaveOne(ICamera* camera, GenApi::INodeMap& remote, const std::string& format,
                              const std::filesystem::path& dir, const std::string& file) {
    WriteFeature(remote, "PixelFormat", format);
    if (camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, 1) != 0) {
        throw ToolError(kExitFailure, "cannot start acquisition in " + format);
    }
    IImage* raw = nullptr;
    const int rc = camera->GrabImage(&raw, 5000);
    ImagePtr image(raw);
    const auto path = dir / file;
    std::string problem = "no frame (code " + std::to_string(rc) + ")";
    if (rc == 0 && image) {
        const auto before = std::chrono::steady_clock::now();
        problem = FrameSaver(image->GetPixelFormat(), 8).Save(*image, path);
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before)
                .count();
        if (problem.empty()) {
            std::printf("   %-14s -> %-6s %s  (%zux%zu, converted and written in %.2f ms)\n",
                        format.c_str(), format.rfind("Mono", 0) == 0 ? "mono" : "colour",
                        path.string().c_str(), image->GetImageWidth(), image->GetImageHeight(), ms);
        }
    }
    image.reset();
    camera->StopGrab();
    if (!problem.empty()) {
        throw ToolError(kExitFailure, "cannot save a " + format + " frame: " + problem);
    }
    return path;
}

}  // namespace

int RunDemo(const DemoOptions& options) {
    InterruptScope interrupts;
    Library library;
    std::printf("lumocam demo: a camera application step by step, on the simulated camera\n");

    Step(1, "Discovery");
    const std::string simProducer = FindSimProducer();
    CameraRecords records(Discovery(simProducer.c_str()));
    if (records.All().empty()) {
        throw ToolError(kExitNoCamera, std::string("no simulated camera: ") + kSimProducer +
                                           " lies neither beside libLumoGenICam in " +
                                           LibraryFolder() +
                                           " nor in " LUMOCAM_SIM_FOLDER
                                           " beside this tool (run `lumocam "
                                           "producers` to see what was tried)");
    }
    if (simProducer == kSimProducer) {
        std::printf("   producers are found beside the library in %s\n", LibraryFolder().c_str());
    } else {
        std::printf("   the simulated producer is found through GENICAM_GENTL64_PATH=%s\n",
                    std::filesystem::path(simProducer).parent_path().c_str());
    }
    for (ICameraInfo* info : records.All()) {
        std::printf("   found %s camera %s %s, serial %s%s%s\n", TlTypeName(info->GetTLType()),
                    info->GetManufacture(), info->GetModel(), info->GetSN(),
                    info->GetExInfo(EX_INFO_IP) ? ", IP " : "",
                    info->GetExInfo(EX_INFO_IP) ? info->GetExInfo(EX_INFO_IP) : "");
    }

    ICameraInfo* info = records.All().front();
    Step(2, "Open the camera and read features through GenApi");
    CameraPtr camera = OpenCamera(info, DEVICE_OPEN_MODE_CONTROL);
    GenApi::INodeMap& remote = ModuleNodeMap(camera.get(), Module::Remote);
    ShowFeature(remote, "Width", "");
    ShowFeature(remote, "Height", "");
    ShowFeature(remote, "PixelFormat", "");
    ShowFeature(remote, "AcquisitionFrameRate", "");
    ShowFeature(remote, "PayloadSize", "bytes per frame");
    std::printf("   PixelFormat offers: %s\n", Entries(remote, "PixelFormat").c_str());

    Step(3, "Grab with each strategy (6 frames each)");
    const std::string bayer = FirstFormat(remote, "Bayer");
    if (!bayer.empty()) {
        WriteFeature(remote, "PixelFormat", bayer);
    }
    if (!ShowStrategies(camera.get())) {
        std::fprintf(stderr, "lumocam: interrupted; acquisition stopped, device closed\n");
        return kExitInterrupted;
    }

    Step(4, "Convert frames to 8-bit BGR or mono and save them as PNG");
    const std::filesystem::path dir = options.outDir;
    MakeDirectory(dir);
    std::vector<std::filesystem::path> pictures;
    const std::string yuv = FirstFormat(remote, "YUV");
    const std::string mono = FirstFormat(remote, "Mono8");
    for (const std::string& format : {bayer, yuv, mono}) {
        if (Interrupted()) {
            return kExitInterrupted;
        }
        if (!format.empty()) {
            std::string file = format + ".png";
            for (char& c : file) {
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
            pictures.push_back(SaveOne(camera.get(), remote, format, dir, file));
        }
    }
    camera.reset();

    std::printf("\nSummary\n");
    std::printf(
        "   The library found the simulated camera through %s, opened it, read its\n"
        "   features, grabbed frames with all three strategies and converted\n"
        "   %zu pixel formats. The pictures are in %s/ (eight colour bars).\n"
        "   Next, try %s with: list | info 0 | describe 0 Width |\n"
        "   grab 0 -n 20 --set Width=320 OffsetX=160 --save frames\n"
        "   The simulated camera starts afresh in every process; to make it keep its\n"
        "   settings between commands, as a powered camera does, name a state file:\n"
        "   export LUMOSIM_STATE=$PWD/lumosim-state.json, then set 0 Width=320 and get 0 Width.\n",
        kSimProducer, pictures.size(), dir.string().c_str(), ToolPath().c_str());
    return 0;
}

}  // namespace lumocam
