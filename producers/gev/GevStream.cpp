#include "GevStream.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "GentlError.h"
#include "GevDevice.h"
#include "Producer.h"

namespace LumoGev {
namespace {

using namespace GenTL;
using Clock = std::chrono::steady_clock;

// A waiter looks at kills and flushes at least this often while it waits in Aravis.
constexpr guint64 kPollSliceUs = 10000;

int32_t PayloadTypeOf(ArvBufferPayloadType t) {
    switch (t) {
        case ARV_BUFFER_PAYLOAD_TYPE_IMAGE:
        case ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA:
            return PAYLOAD_TYPE_IMAGE;
        case ARV_BUFFER_PAYLOAD_TYPE_RAWDATA:
            return PAYLOAD_TYPE_RAW_DATA;
        case ARV_BUFFER_PAYLOAD_TYPE_FILE:
            return PAYLOAD_TYPE_FILE;
        case ARV_BUFFER_PAYLOAD_TYPE_CHUNK_DATA:
            return PAYLOAD_TYPE_CHUNK_ONLY;
        case ARV_BUFFER_PAYLOAD_TYPE_JPEG:
            return PAYLOAD_TYPE_JPEG;
        case ARV_BUFFER_PAYLOAD_TYPE_JPEG2000:
            return PAYLOAD_TYPE_JPEG2000;
        case ARV_BUFFER_PAYLOAD_TYPE_H264:
            return PAYLOAD_TYPE_H264;
        case ARV_BUFFER_PAYLOAD_TYPE_MULTIPART:
            return PAYLOAD_TYPE_MULTI_PART;
        default:
            return PAYLOAD_TYPE_UNKNOWN;
    }
}

void RecordFill(CBuffer& b) {
    ArvBuffer* a = b.arv;
    b.newData = true;
    b.incomplete = arv_buffer_get_status(a) != ARV_BUFFER_STATUS_SUCCESS;
    size_t size = 0;
    arv_buffer_get_data(a, &size);
    b.filled = std::min(size, b.size);
    b.frameId = arv_buffer_get_frame_id(a);
    b.timestampNs = arv_buffer_get_timestamp(a);
    const ArvBufferPayloadType type = arv_buffer_get_payload_type(a);
    b.payloadType = PayloadTypeOf(type);
    b.hasChunks = arv_buffer_has_chunks(a);
    const bool image = type == ARV_BUFFER_PAYLOAD_TYPE_IMAGE ||
                       type == ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA;
    if (image && arv_buffer_get_n_parts(a) > 0) {
        gint x = 0, y = 0, w = 0, h = 0, px = 0, py = 0;
        arv_buffer_get_image_region(a, &x, &y, &w, &h);
        arv_buffer_get_image_padding(a, &px, &py);
        b.xOffset = static_cast<uint32_t>(x);
        b.yOffset = static_cast<uint32_t>(y);
        b.width = static_cast<uint32_t>(w);
        b.height = static_cast<uint32_t>(h);
        b.xPadding = static_cast<uint32_t>(px);
        b.yPadding = static_cast<uint32_t>(py);
        b.pixelFormat = arv_buffer_get_image_pixel_format(a);
    } else {
        b.width = b.height = b.xOffset = b.yOffset = b.xPadding = b.yPadding = 0;
        b.pixelFormat = 0;
    }
}

}  // namespace

CStream::CStream(CDevice& device, std::string streamId) : id(std::move(streamId)), device_(device) {
    BuildFeatures();
}

CStream::~CStream() {
    CloseEngine();
    ++generation_;
    changed_.notify_all();
}

CBuffer& CStream::Announce(uint8_t* memory, size_t size, void* user,
                           std::unique_ptr<uint8_t[]> own) {
    for (const auto& b : buffers_) {
        if (!own && b->base == memory)
            Fail(GC_ERR_RESOURCE_IN_USE, "this memory is already announced on the stream");
    }
    auto b = std::make_unique<CBuffer>(memory, size, user);
    b->owned = std::move(own);
    byArv_[b->arv] = b.get();
    buffers_.push_back(std::move(b));
    return *buffers_.back();
}

CBuffer* CStream::Find(void* bufferHandle) {
    for (const auto& b : buffers_) {
        if (b->handle == bufferHandle)
            return b.get();
    }
    return nullptr;
}

CBuffer* CStream::At(uint32_t index) {
    return index < buffers_.size() ? buffers_[index].get() : nullptr;
}

void CStream::Revoke(CBuffer& b, void** memory, void** user) {
    if (b.where != CBuffer::Where::Unqueued)
        Fail(GC_ERR_BUSY, "the buffer is queued or being filled; flush it first");
    if (memory != nullptr)
        *memory = b.owned ? nullptr : b.base;
    if (user != nullptr)
        *user = b.userPtr;
    byArv_.erase(b.arv);
    buffers_.erase(std::find_if(buffers_.begin(), buffers_.end(),
                                [&](const auto& p) { return p.get() == &b; }));
}

void CStream::Leave(CBuffer& b) {
    auto drop = [&](std::deque<CBuffer*>& q) {
        q.erase(std::remove(q.begin(), q.end(), &b), q.end());
    };
    drop(input_);
    drop(output_);
    b.where = CBuffer::Where::Unqueued;
}

void CStream::Push(CBuffer& b) {
    b.where = CBuffer::Where::Engine;
    g_object_ref(b.arv);  // the reference that travels with the buffer through Aravis
    arv_stream_push_buffer(engine_, b.arv);
}

void CStream::Queue(CBuffer& b) {
    if (b.discardOnReturn) {
        b.discardOnReturn = false;  // still in Aravis's input pool: simply keep it
        return;
    }
    if (b.where != CBuffer::Where::Unqueued)
        Fail(GC_ERR_RESOURCE_IN_USE, "the buffer is already queued");
    if (engine_ != nullptr && toAcquire_ > 0) {
        Push(b);
        return;
    }
    b.where = CBuffer::Where::Input;
    input_.push_back(&b);
}

void CStream::Complete(ArvBuffer* ab) {
    const auto it = byArv_.find(ab);
    if (it == byArv_.end() || it->second->where != CBuffer::Where::Engine) {
        g_object_unref(ab);  // a buffer the stop already took back
        return;
    }
    CBuffer& b = *it->second;
    g_object_unref(ab);
    if (b.discardOnReturn) {
        b.discardOnReturn = false;
        b.where = CBuffer::Where::Unqueued;
        return;
    }
    const ArvBufferStatus status = arv_buffer_get_status(ab);
    if (status == ARV_BUFFER_STATUS_ABORTED || status == ARV_BUFFER_STATUS_CLEARED ||
        toAcquire_ == 0) {
        // Never filled, or arrived after the count was reached: back to the input pool.
        b.where = CBuffer::Where::Input;
        input_.push_back(&b);
        return;
    }
    RecordFill(b);
    ++totals_.delivered;
    totals_.incomplete += b.incomplete ? 1 : 0;
    if (toAcquire_ != GENTL_INFINITE)
        --toAcquire_;
    b.where = CBuffer::Where::Output;
    output_.push_back(&b);
    changed_.notify_all();
}

void CStream::Harvest() {
    if (engine_ == nullptr)
        return;
    while (ArvBuffer* ab = arv_stream_try_pop_buffer(engine_))
        Complete(ab);
}

void CStream::OpenEngine() {
    ArvGvDevice* gv = ARV_GV_DEVICE(device_.Arv());
    if (packetMax_ != 0 || packetMin_ != 0) {
        // Keep the camera's packet size inside the bounds the consumer gave.
        GError* err = nullptr;
        guint size = arv_gv_device_get_packet_size(gv, &err);
        if (err == nullptr) {
            const guint lo = packetMin_, hi = packetMax_ != 0 ? packetMax_ : size;
            guint want = std::clamp(size, lo, std::max(lo, hi));
            if (packetInc_ > 1)
                want -= want % packetInc_;
            if (want != size && want != 0)
                arv_gv_device_set_packet_size(gv, static_cast<gint>(want), nullptr);
        }
        g_clear_error(&err);
    }
    arv_gv_device_set_packet_size_adjustment(gv, options_ & kOptionNegotiatePacketSize
                                                     ? ARV_GV_PACKET_SIZE_ADJUSTMENT_ON_FAILURE_ONCE
                                                     : ARV_GV_PACKET_SIZE_ADJUSTMENT_NEVER);
    GError* err = nullptr;
    ArvStream* s = arv_device_create_stream(device_.Arv(), nullptr, nullptr, &err);
    if (s == nullptr) {
        const std::string why = err != nullptr ? err->message : "unknown reason";
        g_clear_error(&err);
        Fail(device_.Lost() ? GC_ERR_IO : GC_ERR_ERROR, "cannot open the camera's stream: " + why);
    }
    g_object_set(s, "packet-resend",
                 options_ & kOptionPacketResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS
                                                : ARV_GV_STREAM_PACKET_RESEND_NEVER,
                 "packet-timeout", static_cast<guint>(packetTimeoutUs_), "frame-retention",
                 static_cast<guint>(imageTimeoutMs_ * 1000), nullptr);
    if (socketBuffer_ > 0 && !(options_ & kOptionAutoSocketBuffer)) {
        g_object_set(s, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                     static_cast<gint>(socketBuffer_), nullptr);
    } else {
        g_object_set(s, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_AUTO, nullptr);
    }
    engine_ = s;
}

void CStream::CloseEngine() {
    if (engine_ == nullptr)
        return;
    // A waiter that pops from Aravis outside the lock keeps the stream alive; let it come back
    // first (it waits one slice at most), so that no buffer is filled after this point.
    closing_ = true;
    {
        std::unique_lock<std::mutex> lk(LibraryLock(), std::adopt_lock);
        changed_.wait(lk, [this] { return engineWaiters_ == 0; });
        lk.release();
    }
    closing_ = false;
    Harvest();
    totals_ = Counters();
    // Whatever Aravis still holds returns to the input pool; finalizing the Aravis stream stops
    // its thread and drops the references that travelled with those buffers.
    g_object_unref(engine_);
    engine_ = nullptr;
    for (const auto& b : buffers_) {
        if (b->where == CBuffer::Where::Engine && b->discardOnReturn) {
            b->discardOnReturn = false;
            b->where = CBuffer::Where::Unqueued;
        } else if (b->where == CBuffer::Where::Engine) {
            b->where = CBuffer::Where::Input;
            input_.push_back(b.get());
        }
    }
}

void CStream::Start(uint64_t count) {
    if (grabbing_)
        Fail(GC_ERR_RESOURCE_IN_USE, "the acquisition is already running");
    if (count == 0)
        Fail(GC_ERR_INVALID_PARAMETER, "iNumToAcquire must not be 0");
    if (buffers_.empty())
        Fail(GC_ERR_INVALID_BUFFER, "announce at least one buffer before the start");
    if (device_.Lost())
        Fail(GC_ERR_IO, "the camera does not answer any more");
    OpenEngine();
    grabbing_ = true;
    toAcquire_ = count;
    ++totals_.started;
    while (!input_.empty()) {
        CBuffer* b = input_.front();
        input_.pop_front();
        Push(*b);
    }
}

void CStream::Stop() {
    if (!grabbing_)
        Fail(GC_ERR_RESOURCE_IN_USE, "the acquisition is not running");
    CloseEngine();
    grabbing_ = false;
    toAcquire_ = 0;
    changed_.notify_all();
}

void CStream::Shutdown() {
    CloseEngine();
    grabbing_ = false;
    toAcquire_ = 0;
    Unregister();
}

void CStream::Flush(int32_t mode) {
    Harvest();
    // Buffers inside Aravis cannot be taken back from a running stream (closing it would end
    // the camera's stream channel): they count as being filled, and a discarding flush drops
    // them when Aravis gives them back.
    switch (mode) {
        case ACQ_QUEUE_INPUT_TO_OUTPUT:
            for (CBuffer* b : input_) {
                b->where = CBuffer::Where::Output;
                b->newData = false;
                output_.push_back(b);
            }
            input_.clear();
            changed_.notify_all();
            break;
        case ACQ_QUEUE_OUTPUT_DISCARD:
            while (!output_.empty())
                Leave(*output_.front());
            break;
        case ACQ_QUEUE_ALL_TO_INPUT:
            while (!output_.empty())
                Leave(*output_.front());
            [[fallthrough]];
        case ACQ_QUEUE_UNQUEUED_TO_INPUT:
            for (const auto& b : buffers_) {
                b->discardOnReturn = false;
                if (b->where == CBuffer::Where::Unqueued) {
                    b->where = CBuffer::Where::Input;
                    input_.push_back(b.get());
                }
            }
            break;
        case ACQ_QUEUE_ALL_DISCARD:
            for (const auto& b : buffers_) {
                if (b->where == CBuffer::Where::Engine)
                    b->discardOnReturn = true;
                else
                    Leave(*b);
            }
            break;
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown flush mode " + std::to_string(mode));
    }
    // While acquiring, the input pool is Aravis's: hand it what the flush put there.
    while (engine_ != nullptr && toAcquire_ > 0 && !input_.empty()) {
        CBuffer* b = input_.front();
        input_.pop_front();
        Push(*b);
    }
}

size_t CStream::Count(CBuffer::Where w) const {
    return static_cast<size_t>(std::count_if(buffers_.begin(), buffers_.end(), [w](const auto& b) {
        return b->where == w && !b->discardOnReturn;
    }));
}

StreamCounters CStream::Counters() const {
    // The running Aravis stream counts from its own start; add what it counted so far.
    StreamCounters c = totals_;
    if (engine_ != nullptr) {
        guint64 completed = 0, failures = 0, underruns = 0, resent = 0, missing = 0;
        arv_stream_get_statistics(engine_, &completed, &failures, &underruns);
        arv_gv_stream_get_statistics(ARV_GV_STREAM(engine_), &resent, &missing);
        c.underruns += underruns;
        c.resentPackets += resent;
        c.missingPackets += missing;
    }
    return c;
}

uint64_t CStream::TickFrequency() const {
    return device_.TimestampFrequency();
}

uint64_t CStream::PayloadSize() const {
    return static_cast<uint64_t>(std::max<int64_t>(0, device_.CameraInteger("PayloadSize", 0)));
}

void CStream::Register() {
    if (eventHandle != nullptr)
        Fail(GC_ERR_RESOURCE_IN_USE, "the new-buffer event is already registered");
    kills_ = 0;
    eventFired = 0;
}

void CStream::Unregister() {
    ++generation_;
    kills_ = 0;
    Harvest();
    while (!output_.empty())
        Leave(*output_.front());
    changed_.notify_all();
}

void CStream::Kill() {
    ++kills_;
    changed_.notify_all();
}

void CStream::FlushEvent() {
    Harvest();
    while (!output_.empty())
        Leave(*output_.front());
}

void CStream::WaitNewBuffer(std::unique_lock<std::mutex>& lk, void* out, size_t* size,
                            uint64_t timeoutMs) {
    const uint64_t generation = generation_;
    const auto deadline = timeoutMs == GENTL_INFINITE
                              ? Clock::time_point::max()
                              : Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        if (generation != generation_)
            Fail(GC_ERR_ABORT, "the event was unregistered while waiting");
        if (kills_ > 0) {
            --kills_;
            Fail(GC_ERR_ABORT, "the wait was ended by EventKill");
        }
        Harvest();
        if (!output_.empty()) {
            if (out != nullptr && *size < sizeof(EVENT_NEW_BUFFER_DATA))
                Fail(GC_ERR_BUFFER_TOO_SMALL, "the event data needs " +
                                                  std::to_string(sizeof(EVENT_NEW_BUFFER_DATA)) +
                                                  " bytes");
            CBuffer* b = output_.front();
            output_.pop_front();
            b->where = CBuffer::Where::Unqueued;
            ++eventFired;
            if (out != nullptr) {
                EVENT_NEW_BUFFER_DATA data{b->handle, b->userPtr};
                std::memcpy(out, &data, sizeof data);
                *size = sizeof data;
            }
            return;
        }
        const auto now = Clock::now();
        if (now >= deadline)
            Fail(GC_ERR_TIMEOUT, "no new buffer within " + std::to_string(timeoutMs) + " ms");
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - now);
        const guint64 slice =
            std::min<guint64>(kPollSliceUs, static_cast<guint64>(left.count()) + 1);
        if (engine_ == nullptr || closing_) {
            changed_.wait_for(lk, std::chrono::microseconds(slice));
            continue;
        }
        // Wait in Aravis itself, so that a frame reaches the caller without a thread hop.
        ++engineWaiters_;
        lk.unlock();
        ArvBuffer* ab = arv_stream_timeout_pop_buffer(engine_, slice);
        lk.lock();
        --engineWaiters_;
        changed_.notify_all();
        if (ab != nullptr)
            Complete(ab);
    }
}

}  // namespace LumoGev
