#include "camera/Grab.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "camera/Camera.h"

namespace VEXOGENICAM {

namespace {
// The worker's wait on the stream, so that a stop is seen at least this often.
constexpr unsigned long long kWorkerWaitMs = 100;
constexpr auto kWorkerWait = std::chrono::milliseconds(kWorkerWaitMs);
// A grab that fails at once (not grabbing, a closed stream, a producer error)
// is retried after a pause that doubles up to the worker's wait, so that a
// failing stream never makes the worker spin.
constexpr auto kMinBackOff = std::chrono::milliseconds(1);
constexpr auto kMaxBackOff = std::chrono::milliseconds(100);
constexpr int kAborted = -12;
constexpr int kTimeout = -11;
// Longer time-outs (GENTL_INFINITE among them) wait without a deadline: the
// clock's range would overflow.
constexpr unsigned long long kLongestDeadlineMs = 1ULL << 40;
}  // namespace

CGrab::CGrab(CCamera* camera, GRAB_STRATEGY strategy) : m_pCamera(camera), m_strategy(strategy) {
    if (strategy == GRAB_STRATEGY_LATEST_IMAGE || strategy == GRAB_STRATEGY_UPCOMING_IMAGE) {
        m_worker = std::thread([this] { Grabbing(); });
    }
}

CGrab::~CGrab() {
    Stop();
}

void CGrab::Stop() {
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_stop = true;
    }
    m_signal.notify_all();
    {
        std::lock_guard<std::mutex> join(m_joinLock);
        if (m_worker.joinable()) {
            m_worker.join();
        }
    }
    // Released outside our lock: giving the image back takes the camera's lock.
    if (IImage* held = TakeLatest()) {
        held->Release();
    }
}

IImage* CGrab::TakeLatest() {
    std::lock_guard<std::mutex> guard(m_lock);
    IImage* image = m_pLatest;
    m_pLatest = nullptr;
    return image;
}

void CGrab::Grabbing() {
    auto backOff = kMinBackOff;
    while (!m_stop) {
        IImage* image = nullptr;
        const auto called = std::chrono::steady_clock::now();
        const int rc = m_pCamera->GrabImage2(&image, kWorkerWaitMs);
        // Judged by time, not by code: a time-out that a producer reports at
        // once must not make the worker spin either.
        const bool waited = std::chrono::steady_clock::now() - called >= kWorkerWait / 2;
        if (image != nullptr || waited) {
            backOff = kMinBackOff;  // a frame came, or the wait itself took its time
        }
        if (rc == 0 && image != nullptr) {
            IImage* replaced = nullptr;
            {
                std::lock_guard<std::mutex> guard(m_lock);
                replaced = m_pLatest;
                m_pLatest = image;
            }
            m_signal.notify_all();  // a waiting grab takes it at once
            if (replaced != nullptr) {
                replaced->Release();
            }
            continue;
        }
        if (image != nullptr) {
            image->Release();  // a faulty buffer is recycled, not kept
            continue;
        }
        if (!waited) {
            std::unique_lock<std::mutex> guard(m_lock);
            m_signal.wait_for(guard, backOff, [this] { return m_stop.load(); });
            backOff = std::min(backOff * 2, kMaxBackOff);
        }
    }
}

int CGrab::GrabImage(IImage** image, unsigned long long timeout) {
    if (image == nullptr) {
        return -1;
    }
    switch (m_strategy) {
        case GRAB_STRATEGY_UPCOMING_IMAGE:
            return GrabUpCommingImage(image, timeout);
        case GRAB_STRATEGY_LATEST_IMAGE:
            return GrabLastImage(image, timeout);
        default:
            return m_pCamera->GrabImage2(image, timeout);
    }
}

int CGrab::GrabLastImage(IImage** image, unsigned long long timeout) {
    if (image == nullptr) {
        return -1;
    }
    *image = nullptr;
    const bool bounded = timeout < kLongestDeadlineMs;
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(bounded ? timeout : 0);
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;) {
        // The worker signals every new image, so the wait ends as it arrives;
        // a time-out of 0 still takes this one look.
        if (m_pLatest != nullptr) {
            *image = std::exchange(m_pLatest, nullptr);
            return 0;
        }
        if (m_stop) {
            return kAborted;
        }
        if (!bounded) {
            m_signal.wait(guard);
        } else if (m_signal.wait_until(guard, deadline) == std::cv_status::timeout &&
                   m_pLatest == nullptr && !m_stop) {
            return kTimeout;
        }
    }
}

int CGrab::GrabUpCommingImage(IImage** image, unsigned long long timeout) {
    if (IImage* stale = TakeLatest()) {
        stale->Release();
    }
    return GrabLastImage(image, timeout);
}

}  // namespace VEXOGENICAM
