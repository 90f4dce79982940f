#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

#include "ViewFrame.h"

namespace lumocam {

// Where the frame pump leaves frames and browser requests pick them up. It
// keeps the last few, so that a snapshot of a frame just shown still finds it.
class FrameBoard {
public:
    using FramePtr = std::shared_ptr<const ViewFrame>;

    // The number the next frame gets; sequence numbers never repeat.
    std::uint64_t NextSequence();
    void Publish(FramePtr frame);
    // The newest frame, or the kept one with this sequence number; null when
    // there is none.
    FramePtr Latest() const;
    FramePtr Find(std::uint64_t sequence) const;
    // Waits for a frame newer than `sequence`; null on time-out or shutdown.
    FramePtr WaitNewer(std::uint64_t sequence, std::chrono::milliseconds timeout);
    // Forgets the kept frames (another camera is opened).
    void Clear();
    // Wakes every waiter for good: the server is stopping.
    void Shutdown();

private:
    static constexpr std::size_t kKept = 8;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<FramePtr> m_frames;  // oldest first
    std::uint64_t m_next = 1;
    bool m_shutdown = false;
};

}  // namespace lumocam
