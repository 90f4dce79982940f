#pragma once

#include <arv.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Buffer.h"
#include "FeatureTable.h"

namespace LumoGev {

class CDevice;

// Counters that outlive one Aravis stream: the producer makes a fresh Aravis stream at every
// start, and these add up over all of them.
struct StreamCounters {
    uint64_t started = 0, delivered = 0, incomplete = 0, underruns = 0;
    uint64_t missingPackets = 0, resentPackets = 0;
};

// The data stream module. Buffers go to an Aravis stream only between start and stop; a
// completed Aravis buffer becomes an entry of the producer's own output queue, which is also
// the queue of the new-buffer event. Every member is guarded by the producer lock, except
// where noted.
class CStream {
public:
    CStream(CDevice& device, std::string id);
    ~CStream();
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;

    void* handle = nullptr;
    const std::string id;
    CFeatureTable features{"StreamPort"};

    CBuffer& Announce(uint8_t* memory, size_t size, void* user, std::unique_ptr<uint8_t[]> own);
    CBuffer* Find(void* bufferHandle);
    CBuffer* At(uint32_t index);
    size_t NumAnnounced() const { return buffers_.size(); }
    // Returns the handle's memory for a user buffer; the caller drops the handle.
    void Revoke(CBuffer& b, void** memory, void** user);
    void Queue(CBuffer& b);
    void Flush(int32_t mode);
    void Start(uint64_t count);
    void Stop();
    // Before close: ends the acquisition and every wait.
    void Shutdown();
    bool Grabbing() const { return grabbing_; }
    size_t Count(CBuffer::Where w) const;
    StreamCounters Counters() const;
    uint64_t PayloadSize() const;
    uint64_t TickFrequency() const;

    // The new-buffer event.
    void* eventHandle = nullptr;
    uint64_t eventFired = 0;
    void Register();
    void Unregister();
    void Kill();
    void FlushEvent();
    // Waits outside the lock; `lk` holds the producer lock on entry and on return.
    void WaitNewBuffer(std::unique_lock<std::mutex>& lk, void* out, size_t* size,
                       uint64_t timeoutMs);
    size_t EventQueued() const { return output_.size(); }

private:
    void BuildFeatures();
    void Push(CBuffer& b);
    void Harvest();
    void Complete(ArvBuffer* ab);
    void CloseEngine();
    void OpenEngine();
    void Leave(CBuffer& b);

    CDevice& device_;
    std::condition_variable changed_;
    std::vector<std::unique_ptr<CBuffer>> buffers_;  // announce order
    std::unordered_map<ArvBuffer*, CBuffer*> byArv_;
    std::deque<CBuffer*> input_, output_;
    ArvStream* engine_ = nullptr;
    int engineWaiters_ = 0;  // waiters inside Aravis, outside the lock
    bool closing_ = false;
    bool grabbing_ = false;
    uint64_t toAcquire_ = 0;
    StreamCounters totals_;
    int kills_ = 0;
    uint64_t generation_ = 0;  // changes at unregister, so that waiters see it

    // Settings of the stream module.
    uint32_t options_ = 0;
    uint32_t packetMin_ = 0, packetMax_ = 0, packetInc_ = 0;
    int64_t packetTimeoutUs_ = 20000;
    int64_t imageTimeoutMs_ = 100;
    int64_t socketBuffer_ = 0;
};

// The option word at 0x24.
constexpr uint32_t kOptionPacketResend = 0x10;
constexpr uint32_t kOptionAutoSocketBuffer = 0x20;
constexpr uint32_t kOptionNegotiatePacketSize = 0x400;

}  // namespace LumoGev
