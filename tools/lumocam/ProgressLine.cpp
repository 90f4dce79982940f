#include "ProgressLine.h"

#include <cstdio>

namespace lumocam {

ProgressLine::ProgressLine(std::ostream* out, bool terminal, std::uint64_t target)
    : m_out(out), m_terminal(terminal), m_target(target), m_last(Clock::now()) {}

std::string ProgressLine::Text(std::uint64_t frames, std::uint64_t target, double fps, double mbps,
                               std::uint64_t incomplete, std::uint64_t dropped) {
    char line[160];
    std::snprintf(line, sizeof line,
                  "grabbing: %llu/%llu frames, %.1f fps, %.1f MB/s, %llu incomplete, %llu "
                  "dropped",
                  static_cast<unsigned long long>(frames), static_cast<unsigned long long>(target),
                  fps, mbps, static_cast<unsigned long long>(incomplete),
                  static_cast<unsigned long long>(dropped));
    return line;
}

void ProgressLine::Update(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
                          std::uint64_t dropped, Clock::time_point now) {
    if (now - m_last >= std::chrono::seconds(1)) {
        Print(frames, bytes, incomplete, dropped, now);
    }
}

void ProgressLine::Finish(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
                          std::uint64_t dropped, Clock::time_point now) {
    if (m_out == nullptr) {
        return;
    }
    if (frames != m_lastFrames || m_width == 0) {
        Print(frames, bytes, incomplete, dropped, now);
    }
    if (m_terminal) {
        *m_out << "\n" << std::flush;
    }
}

void ProgressLine::Print(std::uint64_t frames, std::uint64_t bytes, std::uint64_t incomplete,
                         std::uint64_t dropped, Clock::time_point now) {
    if (m_out == nullptr) {
        return;
    }
    // Rates over the interval since the last line: what the camera does now.
    const double seconds = std::chrono::duration<double>(now - m_last).count();
    const double fps = seconds > 0 ? (frames - m_lastFrames) / seconds : 0;
    const double mbps = seconds > 0 ? (bytes - m_lastBytes) / seconds / 1e6 : 0;
    std::string line = Text(frames, m_target, fps, mbps, incomplete, dropped);
    if (m_terminal) {
        const std::size_t width = line.size();
        if (width < m_width) {
            line.append(m_width - width, ' ');
        }
        m_width = width;
        *m_out << "\r" << line << std::flush;
    } else {
        m_width = line.size();
        *m_out << line << "\n" << std::flush;
    }
    m_last = now;
    m_lastFrames = frames;
    m_lastBytes = bytes;
}

}  // namespace lumocam
