#include "Grabber.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <system_error>
#include <thread>

#include "ChunkReader.h"
#include "EventLog.h"
#include "ExitCodes.h"
#include "FrameSaver.h"
#include "Png.h"
#include "ProgressLine.h"
#include "Session.h"
#include "Sidecar.h"
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

namespace {

// What happens to one frame that arrived: files, chunk values, events.
class FrameHandler {
public:
    FrameHandler(ICamera* camera, const GrabSettings& settings, GrabResult& result)
        : m_settings(settings), m_result(result) {
        const bool wantChunks =
            settings.chunkMap != nullptr && (settings.printChunks || settings.saveRaw);
        if (wantChunks) {
            m_chunks = std::make_unique<ChunkReader>(*settings.chunkMap);
        }
        if (settings.printEvents) {
            m_events = std::make_unique<EventLog>(camera);
            result.eventRegistrations = m_events->Registrations();
        }
    }

    void Handle(IImage& image, bool complete) {
        const std::uint64_t id = image.GetImageFrameId();
        std::vector<std::pair<std::string, std::string>> chunks;
        if (m_chunks && !image.GetChunks().empty()) {
            chunks = m_chunks->Read(image);
        }
        if (m_settings.printChunks && m_settings.frameLog != nullptr) {
            std::string line = "frame " + std::to_string(id) + " chunks:";
            for (const auto& [name, value] : chunks) {
                line += " " + name + "=" + value;
            }
            *m_settings.frameLog << (chunks.empty() ? line + " (none)" : line) << "\n";
        }
        PrintEvents("frame " + std::to_string(id) + ": ");
        if (m_settings.saveDir.empty()) {
            return;
        }
        if (complete && m_settings.savePng) {
            SavePng(image, id);
        }
        if (m_settings.saveRaw) {
            const auto path = m_settings.saveDir / FrameFileName(id, "raw");
            WriteFile(path, image.GetPayloadBuf(), image.GetPayloadSize());
            m_result.files.push_back(path);
            FrameFacts facts = FrameFactsOf(image);
            facts.chunks = chunks;
            const std::string sidecar = SidecarJson(facts);
            const auto json = m_settings.saveDir / FrameFileName(id, "json");
            WriteFile(json, sidecar.data(), sidecar.size());
            m_result.files.push_back(json);
        }
    }

    // The events that arrived since the last call, each behind `prefix`.
    void PrintEvents(const std::string& prefix) {
        if (!m_events || m_settings.frameLog == nullptr) {
            return;
        }
        for (const auto& line : m_events->Take()) {
            *m_settings.frameLog << prefix << line << "\n";
        }
    }

private:
    void SavePng(IImage& image, std::uint64_t id) {
        if (!m_saver || image.GetPixelFormat() != m_saverFormat) {
            m_saverFormat = image.GetPixelFormat();
            m_saver = std::make_unique<FrameSaver>(m_saverFormat, m_settings.depth);
        }
        const auto path = m_settings.saveDir / FrameFileName(id, "png");
        const auto before = Clock::now();
        // A frame that does not convert is counted and the grab goes on; a
        // file that cannot be written (a full disk) ends it.
        const std::string problem = m_saver->Save(image, path);
        if (!problem.empty()) {
            NotSaved(problem);
            return;
        }
        ++m_result.converted;
        m_result.conversionMs +=
            std::chrono::duration<double, std::milli>(Clock::now() - before).count();
        m_result.files.push_back(path);
    }

    void NotSaved(const std::string& reason) {
        if (m_result.notSaved++ == 0) {
            m_result.notSavedReason = reason;
        }
    }

    const GrabSettings& m_settings;
    GrabResult& m_result;
    std::unique_ptr<ChunkReader> m_chunks;
    std::unique_ptr<EventLog> m_events;
    std::unique_ptr<FrameSaver> m_saver;
    std::uint64_t m_saverFormat = 0;
};

}  // namespace

GrabResult Grab(ICamera* camera, const GrabSettings& settings) {
    GrabResult result;
    if (!settings.saveDir.empty()) {
        MakeDirectory(settings.saveDir);
    }
    FrameHandler handler(camera, settings, result);
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
    ProgressLine progress(settings.progress, settings.progressIsTerminal, settings.count);
    std::uint64_t lastId = 0;
    std::uint64_t waitedMs = 0;

    while (result.received < settings.count) {
        progress.Update(result.received, result.bytes, result.incomplete, result.dropped);
        if (Interrupted()) {
            result.interrupted = true;
            result.signal = InterruptSignal();
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
        result.bytes += image->GetPayloadSize();
        result.frameIds.push_back(id);
        result.seconds = std::chrono::duration<double>(Clock::now() - start).count();

        const bool complete = rc != result::grab_image::kImageIncomplete && image->IsComplete();
        if (!complete) {
            ++result.incomplete;
        }
        handler.Handle(*image, complete);
        image.reset();  // give the buffer back before pausing
        if (settings.pauseMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(settings.pauseMs));
        }
    }
    handler.PrintEvents("after the last frame: ");
    progress.Finish(result.received, result.bytes, result.incomplete, result.dropped);
    return result;
}

void PrintGrabSummary(std::ostream& out, const GrabResult& result) {
    char line[256];
    std::snprintf(line, sizeof line,
                  "frames received: %llu\nincomplete: %llu\ndropped (by frame ID): %llu\n"
                  "frames per second: %.1f\nmegabytes per second: %.1f\n",
                  static_cast<unsigned long long>(result.received),
                  static_cast<unsigned long long>(result.incomplete),
                  static_cast<unsigned long long>(result.dropped), result.FramesPerSecond(),
                  result.MegabytesPerSecond());
    out << line;
    if (result.converted > 0) {
        std::snprintf(line, sizeof line, "conversion and PNG writing per frame: %.2f ms\n",
                      result.ConversionMsPerFrame());
        out << line;
    }
}

}  // namespace lumocam
