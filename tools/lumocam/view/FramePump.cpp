#include "FramePump.h"

#include "ExitCodes.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

// Short waits let the destructor stop the thread promptly.
constexpr unsigned long long kWaitMs = 100;
// The rates are taken over this window.
constexpr std::chrono::seconds kRateWindow{2};

bool HandsOutImage(int rc) {
    return rc == result::kOk || (rc <= result::grab_image::kImageMissingBuffer &&
                                 rc >= result::grab_image::kImageLargerThanBuffer);
}

}  // namespace

FramePump::FramePump(ICamera* camera, GRAB_STRATEGY strategy, FrameBoard& board)
    : m_camera(camera), m_strategy(strategy), m_board(board) {
    const int rc = m_camera->StartGrab(strategy, ~0ULL);
    if (rc != 0) {
        throw ToolError(kExitAccessDenied,
                        "cannot start acquisition (code " + std::to_string(rc) + ")");
    }
    try {
        m_thread = std::thread(&FramePump::Run, this);
    } catch (...) {
        m_camera->StopGrab();
        throw;
    }
}

FramePump::~FramePump() {
    m_stop = true;
    // Ends a wait in progress at once instead of after its time-out.
    m_camera->StopGrab();
    m_thread.join();
}

PumpStats FramePump::Stats() const {
    std::lock_guard lock(m_mutex);
    PumpStats stats = m_stats;
    if (m_arrivals.empty() || Clock::now() - m_arrivals.back().when > kRateWindow) {
        stats.framesPerSecond = 0;
        stats.megabytesPerSecond = 0;
    }
    return stats;
}

void FramePump::Fail(const std::string& reason) {
    std::lock_guard lock(m_mutex);
    m_stats.lastError = reason;
}

void FramePump::Count(IImage& image, bool complete) {
    const auto now = Clock::now();
    const std::uint64_t id = image.GetImageFrameId();
    std::lock_guard lock(m_mutex);
    if (m_stats.received > 0 && id > m_stats.lastFrameId + 1) {
        m_stats.dropped += id - m_stats.lastFrameId - 1;
    }
    ++m_stats.received;
    m_stats.incomplete += complete ? 0 : 1;
    m_stats.lastFrameId = id;
    m_stats.lastTimestamp = image.GetTimeStamp();
    m_arrivals.push_back({now, image.GetPayloadSize()});
    while (now - m_arrivals.front().when > kRateWindow) {
        m_arrivals.pop_front();
    }
    if (m_arrivals.size() >= 2) {
        const double seconds = std::chrono::duration<double>(now - m_arrivals.front().when).count();
        std::uint64_t bytes = 0;
        for (std::size_t i = 1; i < m_arrivals.size(); ++i) {
            bytes += m_arrivals[i].bytes;
        }
        m_stats.framesPerSecond = static_cast<double>(m_arrivals.size() - 1) / seconds;
        m_stats.megabytesPerSecond = static_cast<double>(bytes) / 1e6 / seconds;
    }
}

void FramePump::Run() {
    while (!m_stop) {
        IImage* raw = nullptr;
        const int rc = m_camera->GrabImage(&raw, kWaitMs);
        ImagePtr image(raw);
        if (rc == result::grab_image::kTimeout) {
            continue;
        }
        if (!HandsOutImage(rc) || !image) {
            if (rc == result::grab_image::kAborted || rc == result::grab_image::kNotGrabbing ||
                rc == result::grab_image::kStoppedMeanwhile) {
                if (!m_stop) {
                    Fail("acquisition ended (code " + std::to_string(rc) + ")");
                }
                return;
            }
            Fail("waiting for a frame failed (code " + std::to_string(rc) + ")");
            std::this_thread::sleep_for(std::chrono::milliseconds(kWaitMs));  // no busy loop
            continue;
        }
        const bool complete = rc != result::grab_image::kImageIncomplete && image->IsComplete();
        Count(*image, complete);
        if (!complete) {
            continue;
        }
        try {
            auto frame = std::make_shared<const ViewFrame>(*image, m_board.NextSequence());
            frame->Jpeg();  // encoded here, so that waiting requests are answered at once
            m_board.Publish(std::move(frame));
        } catch (const std::exception& e) {
            {
                std::lock_guard lock(m_mutex);
                ++m_stats.unconverted;
            }
            Fail(e.what());
        }
    }
}

}  // namespace lumocam
