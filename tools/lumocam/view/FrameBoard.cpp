#include "FrameBoard.h"

namespace lumocam {

std::uint64_t FrameBoard::NextSequence() {
    std::lock_guard lock(m_mutex);
    return m_next++;
}

void FrameBoard::Publish(FramePtr frame) {
    {
        std::lock_guard lock(m_mutex);
        m_frames.push_back(std::move(frame));
        if (m_frames.size() > kKept) {
            m_frames.pop_front();
        }
    }
    m_changed.notify_all();
}

FrameBoard::FramePtr FrameBoard::Latest() const {
    std::lock_guard lock(m_mutex);
    return m_frames.empty() ? nullptr : m_frames.back();
}

FrameBoard::FramePtr FrameBoard::Find(std::uint64_t sequence) const {
    std::lock_guard lock(m_mutex);
    for (const FramePtr& frame : m_frames) {
        if (frame->Sequence() == sequence) {
            return frame;
        }
    }
    return nullptr;
}

FrameBoard::FramePtr FrameBoard::WaitNewer(std::uint64_t sequence,
                                           std::chrono::milliseconds timeout) {
    std::unique_lock lock(m_mutex);
    const auto newer = [&] {
        return m_shutdown || (!m_frames.empty() && m_frames.back()->Sequence() > sequence);
    };
    if (!m_changed.wait_for(lock, timeout, newer) || m_shutdown) {
        return nullptr;
    }
    return m_frames.back();
}

void FrameBoard::Clear() {
    std::lock_guard lock(m_mutex);
    m_frames.clear();
}

void FrameBoard::Shutdown() {
    {
        std::lock_guard lock(m_mutex);
        m_shutdown = true;
    }
    m_changed.notify_all();
}

}  // namespace lumocam
