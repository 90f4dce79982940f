#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace LumoSim {

// One registered GenTL event: a queue of event data with blocking retrieval, EventKill and abort.
// The lock may be shared with the module that feeds the event (the data stream shares its own,
// so that taking a new-buffer entry and leaving the output queue is one step).
class CEvent {
public:
    using Entry = std::vector<uint8_t>;
    using EntryHook = std::function<void(const Entry&)>;

    CEvent(int32_t type, std::shared_ptr<std::mutex> lock) : type_(type), lock_(std::move(lock)) {}

    int32_t Type() const { return type_; }
    std::mutex& Lock() { return *lock_; }

    void PushLocked(Entry e);
    void Push(Entry e);
    int32_t Get(void* buffer, size_t* size, uint64_t timeoutMs);
    void Kill();
    // Drops all entries; `onDrop` runs for each under the lock.
    void Flush();
    void FlushLocked();
    // Unregistration: every waiter returns GC_ERR_ABORT, entries are dropped.
    void Abort();
    size_t QueuedLocked() const { return queue_.size(); }
    size_t Queued();
    uint64_t Fired();
    // Removes entries matching `pred` (caller holds the lock).
    void RemoveLocked(const std::function<bool(const Entry&)>& pred);

    EntryHook onConsume;  // an entry left the queue through EventGetData
    EntryHook onDrop;     // an entry was discarded by flush or abort

    static constexpr size_t kMaxSize = 1024;
    // Generic entry layout: [u32 id length][id bytes][u32 value length][value bytes].
    static Entry Encode(const std::vector<uint8_t>& id, const std::vector<uint8_t>& value);
    static bool Decode(const uint8_t* data, size_t size, std::vector<uint8_t>& id,
                       std::vector<uint8_t>& value);

private:
    int32_t type_;
    std::shared_ptr<std::mutex> lock_;
    std::condition_variable cv_;
    std::deque<Entry> queue_;
    int kills_ = 0;
    bool aborted_ = false;
    uint64_t fired_ = 0;
};

}  // namespace LumoSim
