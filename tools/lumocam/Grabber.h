#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "GenApi/GenApi.h"
#include "LumoGenICam.h"

namespace lumocam {

struct GrabSettings {
    VEXOGENICAM::GRAB_STRATEGY strategy = VEXOGENICAM::GRAB_STRATEGY_ONE_BY_ONE;
    std::uint64_t count = 10;
    // Longest wait for one frame before giving up.
    std::uint64_t timeoutMs = 5000;
    // A pause after each frame lets frames pile up, which is what makes the
    // latest and upcoming strategies skip some.
    std::uint64_t pauseMs = 0;
    std::filesystem::path saveDir;  // empty: nothing is saved
    bool savePng = true;
    bool saveRaw = false;              // with a .json sidecar each
    unsigned depth = 8;                // bits per PNG sample, 8 or 16
    std::ostream* progress = nullptr;  // the statistics line, or none
    bool progressIsTerminal = false;   // redraw one line instead of adding lines
    // Per-frame lines (chunk values, events) go here when asked for.
    std::ostream* frameLog = nullptr;
    GenApi::INodeMap* chunkMap = nullptr;  // the remote map when chunks are read
    bool printChunks = false;
    bool printEvents = false;
};

struct GrabResult {
    std::uint64_t received = 0;
    std::uint64_t incomplete = 0;
    // Frames missing between the IDs of consecutive received frames.
    std::uint64_t dropped = 0;
    std::uint64_t converted = 0;
    std::vector<std::uint64_t> frameIds;
    std::vector<std::filesystem::path> files;
    std::uint64_t bytes = 0;     // payload bytes received
    std::uint64_t notSaved = 0;  // complete frames that could not become PNG
    std::string notSavedReason;  // the first reason
    std::size_t eventRegistrations = 0;
    double seconds = 0;       // from the start of acquisition to the last frame
    double conversionMs = 0;  // summed over the converted frames
    bool interrupted = false;
    int signal = 0;  // SIGINT or SIGTERM when interrupted
    bool timedOut = false;

    double FramesPerSecond() const { return seconds > 0 ? received / seconds : 0; }
    double MegabytesPerSecond() const { return seconds > 0 ? bytes / seconds / 1e6 : 0; }
    double ConversionMsPerFrame() const { return converted > 0 ? conversionMs / converted : 0; }
};

// Grabs until `count` frames arrived, a frame takes longer than the time-out
// or Ctrl-C or SIGTERM comes; acquisition is stopped and every buffer revoked on
// return, also when it throws.
GrabResult Grab(VEXOGENICAM::ICamera* camera, const GrabSettings& settings);

// "one-by-one", "latest", "upcoming".
VEXOGENICAM::GRAB_STRATEGY ParseStrategy(const std::string& name);
const char* StrategyName(VEXOGENICAM::GRAB_STRATEGY strategy);

// Creates the directory (and its parents) or throws ToolError.
void MakeDirectory(const std::filesystem::path& dir);

void PrintGrabSummary(std::ostream& out, const GrabResult& result);

}  // namespace lumocam
