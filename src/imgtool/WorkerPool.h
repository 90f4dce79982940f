#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace imgtool {

// The few threads that share one large conversion. The calling thread always
// works too; a caller that finds the pool busy with another conversion does
// all of its own work rather than wait.
class WorkerPool {
public:
    static WorkerPool& Instance();

    WorkerPool() = default;
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Threads per conversion, the caller included; 0 means the processor count.
    void SetThreads(unsigned threads);
    unsigned Threads() const;

    // Runs part(i) for i in [0, parts); returns false if any part threw.
    bool Run(unsigned parts, const std::function<void(unsigned)>& part);

private:
    static bool RunHere(unsigned parts, const std::function<void(unsigned)>& part);
    void StartWorkers(unsigned count);
    void StopWorkers();
    void WorkerLoop();
    // Claims and runs parts until none is left; called with m_mutex held.
    void Participate(std::unique_lock<std::mutex>& lock);

    std::mutex m_dispatch;  // one job at a time
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_finished;
    std::vector<std::thread> m_workers;
    unsigned m_wanted = 0;
    bool m_stop = false;
    const std::function<void(unsigned)>* m_job = nullptr;
    unsigned m_parts = 0;
    unsigned m_next = 0;
    std::atomic<unsigned> m_done{0};         // written under m_mutex, also read while spinning
    std::atomic<std::uint64_t> m_posted{0};  // jobs posted so far
    bool m_failed = false;
};

// Below this many pixels per thread, waking a thread costs more than it saves.
inline constexpr std::uint64_t kPixelsPerSpan = std::uint64_t{1} << 17;

inline constexpr std::uint64_t kPartsPerThread = 4;

// Splits [0, count) into contiguous spans shared by the conversion threads when
// it holds at least two spans of minPerSpan items; otherwise runs it on the
// calling thread. Returns false if a span threw.
bool ForEachSpan(std::uint64_t count, std::uint64_t minPerSpan,
                 const std::function<void(std::uint64_t, std::uint64_t)>& span);

}  // namespace imgtool
