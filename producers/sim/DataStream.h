#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "Buffer.h"
#include "FrameRenderer.h"
#include "Module.h"

namespace LumoSim {

// A data stream with its acquisition engine: one thread that takes buffers from the input pool,
// renders the scene into them and hands them to the output queue and the new-buffer event.
class CDataStream : public CModule {
public:
    CDataStream(CDevice& dev, uint32_t index);
    ~CDataStream() override;

    // All members below are guarded by `lock` unless noted.
    std::shared_ptr<std::mutex> lock = std::make_shared<std::mutex>();
    std::vector<std::unique_ptr<CBuffer>> buffers;  // announce order
    std::deque<CBuffer*> input, output;
    std::shared_ptr<CEvent> newBufferEvent;
    bool grabbing = false;
    bool userMemory = false, producerMemory = false;
    uint64_t toAcquire = 0, delivered = 0, underruns = 0, started = 0, allocated = 0;

    CBuffer* Find(void* handle);
    int32_t Start(uint64_t count);
    void Stop();  // joins the engine; call without `lock`
    int32_t Flush(int32_t mode);
    size_t CountQueued() const;
    uint64_t PayloadSize() const;
    // "GEV" or "U3V": the trailer layout of the chunk data.
    const std::string& ChunkLayout() const;
    // A new-buffer event fed by this stream, already holding the buffers awaiting delivery.
    // Taking or dropping one of its entries takes the buffer out of the output queue.
    std::shared_ptr<CEvent> MakeNewBufferEvent();
    void Wake() { cv_.notify_all(); }
    static constexpr Kind kHandleKind = Kind::Stream;

private:
    void Run();
    bool FillOne(CBuffer* buf, const SceneParams& p, uint64_t frameId, bool chunks,
                 bool makeIncomplete);
    void Deliver(CBuffer* buf);
    // The ExposureEnd device event of one frame, when its notification is on.
    void RaiseExposureEnd(uint64_t timestamp, uint64_t frameId);

    CDevice& dev_;
    std::thread thread_;
    std::condition_variable cv_;
    bool stopRequest_ = false;
    CFrameRenderer renderer_;  // engine thread only
};

}  // namespace LumoSim
