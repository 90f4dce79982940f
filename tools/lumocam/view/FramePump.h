#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "FrameBoard.h"
#include "LumoGenICam.h"

namespace lumocam {

// What the page shows under the picture.
struct PumpStats {
    std::uint64_t received = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t dropped = 0;      // gaps between the frame IDs of consecutive frames
    std::uint64_t unconverted = 0;  // complete frames that could not be shown
    std::uint64_t lastFrameId = 0;
    std::uint64_t lastTimestamp = 0;
    double framesPerSecond = 0;  // over the last two seconds
    double megabytesPerSecond = 0;
    std::string lastError;  // why the last frame could not be shown, or the grab failed
};

// Runs acquisition on its own thread: grabs, converts and publishes each
// frame on the board, and counts. Acquisition starts in the constructor and
// stops, with every buffer revoked, in the destructor.
class FramePump {
public:
    FramePump(VEXOGENICAM::ICamera* camera, VEXOGENICAM::GRAB_STRATEGY strategy, FrameBoard& board);
    ~FramePump();
    FramePump(const FramePump&) = delete;
    FramePump& operator=(const FramePump&) = delete;

    PumpStats Stats() const;
    VEXOGENICAM::GRAB_STRATEGY Strategy() const { return m_strategy; }

private:
    using Clock = std::chrono::steady_clock;
    struct Arrival {
        Clock::time_point when;
        std::uint64_t bytes;
    };

    void Run();
    void Count(VEXOGENICAM::IImage& image, bool complete);
    void Fail(const std::string& reason);

    VEXOGENICAM::ICamera* m_camera;
    VEXOGENICAM::GRAB_STRATEGY m_strategy;
    FrameBoard& m_board;
    std::atomic<bool> m_stop{false};
    mutable std::mutex m_mutex;  // guards the counters below
    PumpStats m_stats;
    std::deque<Arrival> m_arrivals;
    std::thread m_thread;  // last: starts once everything above exists
};

}  // namespace lumocam
