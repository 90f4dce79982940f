#include "WorkerPool.h"

#include <algorithm>
#include <chrono>

namespace imgtool {

namespace {

unsigned DefaultThreads() {
    return std::max(1u, std::thread::hardware_concurrency());
}

// Waking a sleeping thread takes tens of microseconds, a good part of a frame's
// conversion: the caller, done with its parts, polls this long for the last
// ones before it sleeps. (Workers do not poll between frames: frames from a
// camera come milliseconds apart, and polling would take the processor from
// whatever else runs.)
constexpr auto kSpin = std::chrono::microseconds(100);

template <typename Ready>
bool SpinFor(Ready ready) {
    const auto until = std::chrono::steady_clock::now() + kSpin;
    for (unsigned i = 0;; ++i) {
        if (ready()) {
            return true;
        }
        if (i % 64 == 63 && std::chrono::steady_clock::now() > until) {
            return false;
        }
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
    }
}

}  // namespace

WorkerPool& WorkerPool::Instance() {
    static WorkerPool pool;
    return pool;
}

WorkerPool::~WorkerPool() {
    std::lock_guard<std::mutex> dispatch(m_dispatch);
    StopWorkers();
}

void WorkerPool::SetThreads(unsigned threads) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_wanted = threads;
}

unsigned WorkerPool::Threads() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_wanted == 0 ? DefaultThreads() : m_wanted;
}

bool WorkerPool::Run(unsigned parts, const std::function<void(unsigned)>& part) {
    const unsigned threads = Threads();
    std::unique_lock<std::mutex> dispatch(m_dispatch, std::try_to_lock);
    if (!dispatch.owns_lock() || threads <= 1 || parts <= 1) {
        return RunHere(parts, part);
    }
    if (m_workers.size() != threads - 1) {
        StopWorkers();
        try {
            StartWorkers(threads - 1);
        } catch (...) {
            // No thread to be had: this conversion runs on its caller alone.
            StopWorkers();
            return RunHere(parts, part);
        }
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_job = &part;
    m_parts = parts;
    m_next = 0;
    m_done = 0;
    m_failed = false;
    m_wake.notify_all();
    Participate(lock);
    if (m_done != m_parts) {
        lock.unlock();
        SpinFor([&] { return m_done.load(std::memory_order_acquire) == parts; });
        lock.lock();
    }
    m_finished.wait(lock, [this] { return m_done == m_parts; });
    m_job = nullptr;
    return !m_failed;
}

bool WorkerPool::RunHere(unsigned parts, const std::function<void(unsigned)>& part) {
    bool ok = true;
    for (unsigned i = 0; i < parts; ++i) {
        try {
            part(i);
        } catch (...) {
            ok = false;
        }
    }
    return ok;
}

void WorkerPool::Participate(std::unique_lock<std::mutex>& lock) {
    while (m_job != nullptr && m_next < m_parts) {
        const unsigned index = m_next++;
        const auto* job = m_job;
        lock.unlock();
        bool ok = true;
        try {
            (*job)(index);
        } catch (...) {
            ok = false;
        }
        lock.lock();
        m_failed = m_failed || !ok;
        if (++m_done == m_parts) {
            m_finished.notify_all();
        }
    }
}

void WorkerPool::WorkerLoop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    auto hasWork = [this] { return m_stop || (m_job != nullptr && m_next < m_parts); };
    for (;;) {
        m_wake.wait(lock, hasWork);
        if (m_stop) {
            return;
        }
        Participate(lock);
    }
}

void WorkerPool::StartWorkers(unsigned count) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = false;
    }
    for (unsigned i = 0; i < count; ++i) {
        m_workers.emplace_back([this] { WorkerLoop(); });
    }
}

void WorkerPool::StopWorkers() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    for (auto& worker : m_workers) {
        worker.join();
    }
    m_workers.clear();
}

bool ForEachSpan(std::uint64_t count, std::uint64_t minPerSpan,
                 const std::function<void(std::uint64_t, std::uint64_t)>& span) {
    WorkerPool& pool = WorkerPool::Instance();
    const std::uint64_t threads = pool.Threads();
    minPerSpan = std::max<std::uint64_t>(1, minPerSpan);
    if (threads <= 1 || count / minPerSpan < 2) {
        try {
            span(0, count);
        } catch (...) {
            return false;
        }
        return true;
    }
    // Several parts per thread, claimed as threads come free: a thread that the
    // machine's other work holds back leaves its share to the others.
    const std::uint64_t finest = std::max<std::uint64_t>(1, minPerSpan / kPartsPerThread);
    const auto parts = static_cast<unsigned>(std::min(threads * kPartsPerThread, count / finest));
    return pool.Run(parts, [&](unsigned i) { span(count * i / parts, count * (i + 1) / parts); });
}

}  // namespace imgtool
