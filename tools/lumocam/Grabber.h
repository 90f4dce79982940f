#pragma once

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

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
    bool saveRaw = false;
    std::ostream* progress = nullptr;  // the progress line, or none
};

struct GrabResult {
    std::uint64_t received = 0;
    std::uint64_t incomplete = 0;
    // Frames missing between the IDs of consecutive received frames.
    std::uint64_t dropped = 0;
    std::uint64_t converted = 0;
    std::vector<std::uint64_t> frameIds;
    std::vector<std::filesystem::path> files;
    double seconds = 0;       // from the start of acquisition to the last frame
    double conversionMs = 0;  // summed over the converted frames
    bool interrupted = false;
    bool timedOut = false;

    double FramesPerSecond() const { return seconds > 0 ? received / seconds : 0; }
    double ConversionMsPerFrame() const { return converted > 0 ? conversionMs / converted : 0; }
};

// Grabs until `count` frames arrived, a frame takes longer than the time-out
// or Ctrl-C is pressed; acquisition is stopped and every buffer revoked on
// return, also when it throws.
GrabResult Grab(VEXOGENICAM::ICamera* camera, const GrabSettings& settings);

// Converts one image (to 8-bit mono or BGR) and writes it as PNG; false when
// the image cannot be converted (incomplete or an unknown format).
bool SavePng(VEXOGENICAM::IImage* image, const std::filesystem::path& path);

// "one-by-one", "latest", "upcoming".
VEXOGENICAM::GRAB_STRATEGY ParseStrategy(const std::string& name);
const char* StrategyName(VEXOGENICAM::GRAB_STRATEGY strategy);

// Creates the directory (and its parents) or throws ToolError.
void MakeDirectory(const std::filesystem::path& dir);

void PrintGrabSummary(std::ostream& out, const GrabResult& result);

}  // namespace lumocam
