#pragma once

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace lumocam {

// The statistics of a running grab, once a second: on a terminal one line
// redrawn in place, elsewhere (a file, a pipe) one plain line each time, so
// that logs hold no carriage returns.
class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    ProgressLine(std::ostream* out, bool terminal, std::uint64_t target);

    // Called often; prints when a second has passed since the last line.
    void Update(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
                std::uint64_t dropped, Clock::time_point now = Clock::now());
    // The last state, printed whatever the time; ends a terminal line.
    void Finish(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
                std::uint64_t dropped, Clock::time_point now = Clock::now());

    // "grabbing: 30/100 frames, 29.9 fps, 9.2 MB/s, 0 incomplete, 0 dropped"
    static std::string Text(std::uint64_t frames, std::uint64_t target, double fps, double mbps,
                            std::uint64_t incomplete, std::uint64_t dropped);

private:
    void Print(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
               std::uint64_t dropped, Clock::time_point now);

    std::ostream* m_out;
    bool m_terminal;
    std::uint64_t m_target;
    Clock::time_point m_last;
    std::uint64_t m_lastFrames = 0;
    std::uint64_t m_lastBytes = 0;
    std::size_t m_width = 0;  // of the line on the terminal, to blank what is left of it
};

}  // namespace lumocam
