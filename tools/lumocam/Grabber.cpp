#include "Grabber.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <system_error>
#include <thread>

#include "ExitCodes.h"
#include "Png.h"
#include "Session.h"
#include "Signals.h"

namespace lumocam {

using namespace VEXOGENICAM;
using Clock = std::chrono::steady_clock;

namespace {

// Short waits keep Ctrl-C responsive while a frame is awaited.
constexpr std::uint64_t kWaitSliceMs = 100;

// Stops acquisition on every way out of Grab.
class AcquisitionGuard {
public:
    explicit AcquisitionGuard(ICamera* camera) : m_camera(camera) {}
    ~AcquisitionGuard() { m_camera->StopGrab(); }
    AcquisitionGuard(const AcquisitionGuard&) = delete;
    AcquisitionGuard& operator=(const AcquisitionGuard&) = delete;

private:
    ICamera* m_camera;
};

std::string FrameFileName(std::uint64_t frameId, const char* extension) {
    char name[48];
    std::snprintf(name, sizeof name, "frame-%06llu.%s", static_cast<unsigned long long>(frameId),
                  extension);
    return name;
}

bool IsImageResult(int rc) {
    // 0, or a buffer whose metadata failed: the image is handed out anyway.
    return rc == result::kOk || (rc <= result::grab_image::kImageMissingBuffer &&
                                 rc >= result::grab_image::kImageLargerThanBuffer);
}

const char* GrabFailure(int rc) {
    switch (rc) {
        case result::grab_image::kNotGrabbing:
            return "the camera is not grabbing";
        case result::grab_image::kAborted:
            return "acquisition was stopped";
        default:
            return "waiting for a frame failed";
    }
}

}  // namespace

GRAB_STRATEGY ParseStrategy(const std::string& name) {
    if (name == "one-by-one")
        return GRAB_STRATEGY_ONE_BY_ONE;
    if (name == "latest")
        return GRAB_STRATEGY_LATEST_IMAGE;
    if (name == "upcoming")
        return GRAB_STRATEGY_UPCOMING_IMAGE;
    throw ToolError(kExitUsage, "unknown strategy '" + name + "' (one-by-one, latest, upcoming)");
}

const char* StrategyName(GRAB_STRATEGY strategy) {
    switch (strategy) {
        case GRAB_STRATEGY_ONE_BY_ONE:
            return "one-by-one";
        case GRAB_STRATEGY_LATEST_IMAGE:
            return "latest";
        case GRAB_STRATEGY_UPCOMING_IMAGE:
            return "upcoming";
    }
    return "?";
}

void MakeDirectory(const std::filesystem::path& dir) {
    std::error_code error;
    std::filesystem::create_directories(dir, error);
    if (error || !std::filesystem::is_directory(dir)) {
        throw ToolError(kExitFailure, "cannot create directory " + dir.string() + ": " +
                                          (error ? error.message() : "not a directory"));
    }
}

bool SavePng(IImage* image, const std::filesystem::path& path) {
    const void* pixels = image->GetImageData();
    if (pixels == nullptr) {
        return false;
    }
    WritePng(path, pixels, image->GetImageWidth(), image->GetImageHeight(),
             image->GetImageChannel(), image->GetImageStep());
    return true;
}

GrabResult Grab(ICamera* camera, const GrabSettings& settings) {
    GrabResult result;
    if (!settings.saveDir.empty()) {
        MakeDirectory(settings.saveDir);
    }
    // Acquisition runs endlessly and is stopped once enough frames arrived:
    // with the latest and upcoming strategies a frame count given to the
    // producer would end the stream before we received that many.
    const int started = camera->StartGrab(settings.strategy, ~0ULL);
    if (started != 0) {
        throw ToolError(kExitFailure,
                        "cannot start acquisition (code " + std::to_string(started) + ")");
    }
    AcquisitionGuard guard(camera);
    const auto start = Clock::now();
    std::uint64_t lastId = 0;
    std::uint64_t waitedMs = 0;

    while (result.received < settings.count) {
        if (Interrupted()) {
            result.interrupted = true;
            break;
        }
        IImage* raw = nullptr;
        const std::uint64_t slice = std::min(kWaitSliceMs, settings.timeoutMs - waitedMs);
        const int rc = camera->GrabImage(&raw, slice);
        ImagePtr image(raw);
        if (rc == result::grab_image::kTimeout) {
            waitedMs += slice;
            if (waitedMs >= settings.timeoutMs) {
                result.timedOut = true;
                break;
            }
            continue;
        }
        if (!IsImageResult(rc) || !image) {
            throw ToolError(kExitFailure,
                            std::string(GrabFailure(rc)) + " (code " + std::to_string(rc) + ")");
        }
        waitedMs = 0;
        const std::uint64_t id = image->GetImageFrameId();
        if (result.received > 0 && id > lastId + 1) {
            result.dropped += id - lastId - 1;
        }
        lastId = id;
        ++result.received;
        result.frameIds.push_back(id);
        result.seconds = std::chrono::duration<double>(Clock::now() - start).count();

        const bool complete = rc != -23 && image->IsComplete();
        if (!complete) {
            ++result.incomplete;
        } else {
            const auto before = Clock::now();
            const bool converted = image->GetImageData() != nullptr;
            if (converted) {
                ++result.converted;
                result.conversionMs +=
                    std::chrono::duration<double, std::milli>(Clock::now() - before).count();
            }
            if (converted && settings.savePng && !settings.saveDir.empty()) {
                const auto path = settings.saveDir / FrameFileName(id, "png");
                SavePng(image.get(), path);
                result.files.push_back(path);
            }
        }
        if (settings.saveRaw && !settings.saveDir.empty()) {
            const auto path = settings.saveDir / FrameFileName(id, "raw");
            WriteFile(path, image->GetPayloadBuf(), image->GetPayloadSize());
            result.files.push_back(path);
        }
        if (settings.progress != nullptr) {
            *settings.progress << "\rgrabbing: " << result.received << "/" << settings.count
                               << " frames (frame ID " << id << (complete ? "" : ", incomplete")
                               << ")" << std::flush;
        }
        image.reset();  // give the buffer back before pausing
        if (settings.pauseMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(settings.pauseMs));
        }
    }
    if (settings.progress != nullptr && result.received > 0) {
        *settings.progress << "\n";
    }
    return result;
}

void PrintGrabSummary(std::ostream& out, const GrabResult& result) {
    char line[160];
    std::snprintf(line, sizeof line,
                  "frames received: %llu\nincomplete: %llu\ndropped (by frame ID): %llu\n"
                  "frames per second: %.1f\nconversion time per frame: %.2f ms\n",
                  static_cast<unsigned long long>(result.received),
                  static_cast<unsigned long long>(result.incomplete),
                  static_cast<unsigned long long>(result.dropped), result.FramesPerSecond(),
                  result.ConversionMsPerFrame());
    out << line;
}

}  // namespace lumocam
