#include "DataStream.h"

#include <GenTL/GenTL.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>

#include "Device.h"
#include "EventFeatures.h"
#include "Producer.h"
#include "XmlBuilder.h"

namespace LumoSim {
namespace {

using Clock = std::chrono::steady_clock;

// A trailer word: big-endian in the GigE Vision layout, little-endian in the USB3 Vision one.
void PutWord(uint8_t* p, uint32_t v, bool bigEndian) {
    for (int i = 0; i < 4; ++i) {
        const int shift = bigEndian ? 24 - 8 * i : 8 * i;
        p[i] = static_cast<uint8_t>(v >> shift);
    }
}

CEvent::Entry NewBufferEntry(const CBuffer& b) {
    GenTL::EVENT_NEW_BUFFER_DATA d{b.handle, b.userPtr};
    CEvent::Entry e(sizeof d);
    std::memcpy(e.data(), &d, sizeof d);
    return e;
}

}  // namespace

CDataStream::CDataStream(CDevice& dev, uint32_t index) : dev_(dev) {
    kind = Kind::Stream;
    device = &dev;
    id = "Stream" + std::to_string(index);
    tlType = dev.cfg.tlType;
    vendor = "Lumo";
    model = "LumoSim";
    moduleName = "TLDataStream";
    portName = "StreamPort";
    faultName = "stream";
    desc = dev.cfg.streamXml;
    for (uint64_t a : {0x24ull, 0x228ull, 0x22Cull, 0x230ull}) {
        regs.AddInt(a, 4, 0, true);
    }
    CXmlBuilder x(regs, portName, dev.cfg.omitStreamFeatures);
    auto stat = [this](auto getter) {
        return [this, getter](std::vector<uint8_t>& b) {
            std::lock_guard<std::mutex> g(*lock);
            CRegisterSpace::FromInt(b, static_cast<uint64_t>(getter()));
        };
    };
    x.String("StreamID", 0x1000, 64, id);
    x.Enum("StreamType", 0x1040,
           {{"GigEVision", 0},
            {"USB3Vision", 1},
            {"CameraLink", 2},
            {"CameraLinkHS", 3},
            {"CoaXPress", 4},
            {"Custom", 5}},
           tlType == "GEV"    ? 0
           : tlType == "U3V"  ? 1
           : tlType == "CL"   ? 2
           : tlType == "CLHS" ? 3
           : tlType == "CXP"  ? 4
                              : 5,
           false);
    x.Int("StreamAnnouncedBufferCount", 0x1044, 4, 0, false, {}, {},
          stat([this] { return buffers.size(); }));
    x.Int("StreamAnnounceBufferMinimum", 0x1048, 4, 1, false);
    x.Enum("StreamBufferHandlingMode", 0x104C, {{"OldestFirst", 1}}, 1, true,
           [](std::vector<uint8_t>& b) {
               return CRegisterSpace::ToInt(b) == 1 ? 0 : GenTL::GC_ERR_INVALID_VALUE;
           });
    x.Int("StreamDeliveredFrameCount", 0x1050, 8, 0, false, {0, INT64_MAX, 1, {}}, {},
          stat([this] { return delivered; }));
    x.Int("StreamLostFrameCount", 0x1058, 8, 0, false, {0, INT64_MAX, 1, {}}, {},
          stat([this] { return underruns; }));
    x.Int("StreamInputBufferCount", 0x1060, 4, 0, false, {}, {},
          stat([this] { return CountQueued(); }));
    x.Int("StreamOutputBufferCount", 0x1064, 4, 0, false, {}, {},
          stat([this] { return output.size(); }));
    x.Int("StreamStartedFrameCount", 0x1068, 8, 0, false, {0, INT64_MAX, 1, {}}, {},
          stat([this] { return started; }));
    x.Bool("StreamIsGrabbing", 0x1070, false, false, {}, stat([this] { return grabbing ? 1 : 0; }));
    x.Bool("EnablePacketResend", 0x1080, true, true);
    x.Bool("EnableFilterDriver", 0x1084, false, true);
    x.Int("ImageTimeout", 0x1088, 4, 1000, true, {0, INT32_MAX, 1, {}});
    x.Category("StreamInformation", {"StreamID", "StreamType"});
    x.Category(
        "BufferHandlingControl",
        {"StreamAnnouncedBufferCount", "StreamAnnounceBufferMinimum", "StreamBufferHandlingMode",
         "StreamDeliveredFrameCount", "StreamLostFrameCount", "StreamInputBufferCount",
         "StreamOutputBufferCount", "StreamStartedFrameCount", "StreamIsGrabbing"});
    InstallXml(x.Finish("Lumo", "LumoSim"), "LumoSim_" + dev.cfg.serial + "_" + id);
}

CDataStream::~CDataStream() {
    Stop();
}

CBuffer* CDataStream::Find(void* handle) {
    for (auto& b : buffers) {
        if (b->handle == handle)
            return b.get();
    }
    return nullptr;
}

size_t CDataStream::CountQueued() const {
    return static_cast<size_t>(std::count_if(buffers.begin(), buffers.end(), [](const auto& b) {
        return b->state == CBuffer::State::Input || b->state == CBuffer::State::Filling;
    }));
}

uint64_t CDataStream::PayloadSize() const {
    std::lock_guard<std::mutex> g(dev_.camLock);
    return dev_.PayloadSizeLocked();
}

int32_t CDataStream::Start(uint64_t count) {
    std::lock_guard<std::mutex> g(*lock);
    if (grabbing)
        return GenTL::GC_ERR_RESOURCE_IN_USE;
    if (count == 0)
        return GenTL::GC_ERR_INVALID_PARAMETER;
    if (buffers.empty())
        return GenTL::GC_ERR_INVALID_BUFFER;
    grabbing = true;
    stopRequest_ = false;
    toAcquire = count;
    delivered = 0;
    thread_ = std::thread([this] { Run(); });
    return GenTL::GC_ERR_SUCCESS;
}

void CDataStream::Stop() {
    {
        std::lock_guard<std::mutex> g(*lock);
        stopRequest_ = true;
        grabbing = false;
    }
    cv_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

std::shared_ptr<CEvent> CDataStream::MakeNewBufferEvent() {
    auto ev = std::make_shared<CEvent>(GenTL::EVENT_NEW_BUFFER, lock);
    auto leaveOutput = [this](const CEvent::Entry& e) {
        GenTL::EVENT_NEW_BUFFER_DATA d{};
        std::memcpy(&d, e.data(), std::min(e.size(), sizeof d));
        auto it = std::find_if(output.begin(), output.end(),
                               [&](CBuffer* b) { return b->handle == d.BufferHandle; });
        if (it != output.end()) {
            (*it)->state = CBuffer::State::Unqueued;
            output.erase(it);
        }
    };
    ev->onConsume = leaveOutput;
    ev->onDrop = leaveOutput;
    std::lock_guard<std::mutex> g(*lock);
    for (CBuffer* b : output)
        ev->PushLocked(NewBufferEntry(*b));
    newBufferEvent = ev;
    return ev;
}

void CDataStream::Deliver(CBuffer* buf) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    buf->deliveredNs =
        static_cast<uint64_t>(now.tv_sec) * 1000000000ULL + static_cast<uint64_t>(now.tv_nsec);
    buf->state = CBuffer::State::Output;
    output.push_back(buf);
    if (newBufferEvent)
        newBufferEvent->PushLocked(NewBufferEntry(*buf));
}

int32_t CDataStream::Flush(int32_t mode) {
    std::lock_guard<std::mutex> g(*lock);
    auto dropEvents = [this] {
        if (newBufferEvent)
            newBufferEvent->RemoveLocked([](const CEvent::Entry&) { return true; });
    };
    switch (mode) {
        case GenTL::ACQ_QUEUE_INPUT_TO_OUTPUT:
            for (CBuffer* b : input) {
                b->newData = false;
                Deliver(b);
            }
            input.clear();
            break;
        case GenTL::ACQ_QUEUE_OUTPUT_DISCARD:
            for (CBuffer* b : output)
                b->state = CBuffer::State::Unqueued;
            output.clear();
            dropEvents();
            break;
        case GenTL::ACQ_QUEUE_ALL_TO_INPUT:
            dropEvents();
            output.clear();
            for (auto& b : buffers) {
                if (b->state == CBuffer::State::Filling) {
                    b->afterFill = CBuffer::AfterFill::ToInput;
                } else if (b->state != CBuffer::State::Input) {
                    b->state = CBuffer::State::Input;
                    input.push_back(b.get());
                }
            }
            break;
        case GenTL::ACQ_QUEUE_UNQUEUED_TO_INPUT:
            for (auto& b : buffers) {
                if (b->state == CBuffer::State::Unqueued) {
                    b->state = CBuffer::State::Input;
                    input.push_back(b.get());
                }
            }
            break;
        case GenTL::ACQ_QUEUE_ALL_DISCARD:
            dropEvents();
            input.clear();
            output.clear();
            for (auto& b : buffers) {
                if (b->state == CBuffer::State::Filling) {
                    b->afterFill = CBuffer::AfterFill::Discard;
                } else {
                    b->state = CBuffer::State::Unqueued;
                }
            }
            break;
        default:
            return GenTL::GC_ERR_NOT_IMPLEMENTED;
    }
    cv_.notify_all();
    return GenTL::GC_ERR_SUCCESS;
}

// Raised on the device module and the remote port, where EVENT_REMOTE_DEVICE is registered.
void CDataStream::RaiseExposureEnd(uint64_t timestamp, uint64_t frameId) {
    {
        std::lock_guard<std::mutex> g(dev_.camLock);
        if (!ExposureEndNotifiedLocked(*dev_.camera))
            return;
    }
    const CEvent::Entry entry = ExposureEndEvent(timestamp, frameId);
    dev_.RaiseEvent(GenTL::EVENT_REMOTE_DEVICE, entry);
    if (dev_.remote)
        dev_.remote->RaiseEvent(GenTL::EVENT_REMOTE_DEVICE, entry);
}

const std::string& CDataStream::ChunkLayout() const {
    return dev_.cfg.chunkLayout;
}

bool CDataStream::FillOne(CBuffer* buf, const SceneParams& p, uint64_t frameId, bool chunks,
                          bool makeIncomplete) {
    const PixelFormatInfo* fmt = FindPixelFormat(p.pixelFormat);
    const uint64_t imageSize = CScene::FrameSize(p);
    uint32_t rows = p.height;
    uint64_t toRender = imageSize;
    if (makeIncomplete && fmt) {
        rows = p.height / 2;
        toRender = FrameBytes(*fmt, static_cast<uint64_t>(p.width) * rows);
    }
    const size_t n = static_cast<size_t>(std::min<uint64_t>(toRender, buf->size));
    size_t written = renderer_.Render(p, frameId, buf->base, n);
    buf->chunks.clear();
    buf->chunkLayoutId = 0;
    uint64_t dataSize = imageSize;
    if (chunks) {
        const FrameSettings s = dev_.Snapshot();
        std::vector<std::pair<uint64_t, uint64_t>> values;
        const uint64_t v[CamReg::kChunkCount] = {frameId, buf->timestamp, p.width, p.height,
                                                 p.pixelFormat};
        const bool gev = dev_.cfg.chunkLayout != "U3V";
        uint64_t layoutId = gev ? 1u << CamReg::kChunkCount : 2u << CamReg::kChunkCount;
        for (int i = 0; i < CamReg::kChunkCount; ++i) {
            if (s.chunkEnabled[i]) {
                values.emplace_back(CamReg::kChunkIdBase + static_cast<uint64_t>(i), v[i]);
                layoutId |= 1u << i;
            }
        }
        dataSize = imageSize + 8 + 16 * values.size();
        if (!makeIncomplete && dataSize <= buf->size) {
            uint8_t* q = buf->base + imageSize;
            PutWord(q, 0, gev);
            PutWord(q + 4, static_cast<uint32_t>(imageSize), gev);
            q += 8;
            for (const auto& [chunkId, value] : values) {
                std::memcpy(q, &value, 8);
                PutWord(q + 8, static_cast<uint32_t>(chunkId), gev);
                PutWord(q + 12, 8, gev);
                buf->chunks.push_back({chunkId, q - buf->base, 8});
                q += 16;
            }
            written = static_cast<size_t>(q - buf->base);
            buf->chunkLayoutId = layoutId;
        }
    }
    buf->imageSize = static_cast<size_t>(imageSize);
    buf->dataSize = static_cast<size_t>(dataSize);
    buf->sizeFilled = written;
    buf->largerThanBuffer = dataSize > buf->size;
    buf->incomplete = makeIncomplete || buf->largerThanBuffer;
    buf->deliveredHeight = rows;
    if (buf->largerThanBuffer && fmt && p.width > 0) {
        const uint64_t rowBytes = std::max<uint64_t>(FrameBytes(*fmt, p.width), 1);
        buf->deliveredHeight =
            static_cast<uint32_t>(std::min<uint64_t>(rows, buf->size / rowBytes));
    }
    buf->params = p;
    buf->frameId = frameId;
    buf->newData = true;
    return !buf->incomplete;
}

void CDataStream::Run() {
    const Config& cfg = Current()->config;
    uint64_t frameId = 0;
    auto next = Clock::now();
    for (;;) {
        {
            std::unique_lock<std::mutex> lk(*lock);
            if (stopRequest_)
                return;
            if ((toAcquire != GENTL_INFINITE && delivered >= toAcquire) || dev_.dropped) {
                cv_.wait(lk, [this] { return stopRequest_; });
                return;
            }
        }
        bool slot = false;
        {
            std::lock_guard<std::mutex> g(dev_.camLock);
            slot = dev_.ConsumeFrameSlotLocked();
        }
        if (!slot) {
            std::unique_lock<std::mutex> lk(*lock);
            cv_.wait_for(lk, std::chrono::milliseconds(2), [this] { return stopRequest_; });
            next = Clock::now();
            continue;
        }
        const FrameSettings s = dev_.Snapshot();
        if (s.frameRate > 0) {
            next += std::chrono::microseconds(static_cast<int64_t>(1e6 / s.frameRate));
            std::unique_lock<std::mutex> lk(*lock);
            if (cv_.wait_until(lk, next, [this] { return stopRequest_; }))
                return;
        }
        ++frameId;
        CBuffer* buf = nullptr;
        {
            std::unique_lock<std::mutex> lk(*lock);
            ++started;
            if (input.empty() && s.frameRate > 0) {
                ++underruns;  // the camera does not wait for the host
                continue;
            }
            cv_.wait(lk, [this] { return stopRequest_ || !input.empty(); });
            if (stopRequest_)
                return;
            buf = input.front();
            input.pop_front();
            buf->state = CBuffer::State::Filling;
            buf->afterFill = CBuffer::AfterFill::Deliver;
        }
        const auto now = Clock::now().time_since_epoch();
        buf->timestampNs = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
        buf->timestamp = static_cast<uint64_t>(static_cast<long double>(buf->timestampNs) *
                                               dev_.cfg.timestampFrequency / 1e9L);
        const bool incomplete = cfg.incompleteEvery > 0 && frameId % cfg.incompleteEvery == 0;
        const bool complete = FillOne(buf, s.scene, frameId, s.chunks, incomplete);
        if (cfg.exposureEndEvery > 0 && frameId % cfg.exposureEndEvery == 0) {
            RaiseExposureEnd(buf->timestamp, frameId);
        }
        {
            std::lock_guard<std::mutex> lk(*lock);
            switch (buf->afterFill) {
                case CBuffer::AfterFill::Discard:
                    buf->state = CBuffer::State::Unqueued;
                    continue;
                case CBuffer::AfterFill::ToInput:
                    buf->state = CBuffer::State::Input;
                    input.push_back(buf);
                    continue;
                case CBuffer::AfterFill::Deliver:
                    break;
            }
            Deliver(buf);
            ++delivered;
        }
        if (!complete && cfg.errorOnIncomplete) {
            const int32_t code =
                buf->largerThanBuffer ? GenTL::GC_ERR_BUFFER_TOO_SMALL : GenTL::GC_ERR_IO;
            std::vector<uint8_t> idBytes(4);
            std::memcpy(idBytes.data(), &code, 4);
            const std::string text = "frame " + std::to_string(frameId) + " incomplete";
            RaiseEvent(GenTL::EVENT_ERROR,
                       CEvent::Encode(idBytes, {text.c_str(), text.c_str() + text.size() + 1}));
        }
        uint64_t sent = 0;
        {
            std::lock_guard<std::mutex> g(dev_.camLock);
            sent = ++dev_.framesSent;
        }
        if (cfg.remoteEventEvery > 0 && sent % cfg.remoteEventEvery == 0) {
            const std::string idText = "9001";
            std::vector<uint8_t> data(8);
            std::memcpy(data.data(), &sent, 8);
            auto entry = CEvent::Encode({idText.begin(), idText.end()}, data);
            dev_.RaiseEvent(GenTL::EVENT_REMOTE_DEVICE, entry);
            if (dev_.remote)
                dev_.remote->RaiseEvent(GenTL::EVENT_REMOTE_DEVICE, entry);
        }
        if (cfg.moduleEventEvery > 0 && sent % cfg.moduleEventEvery == 0) {
            const std::string idText = "A001";
            RaiseEvent(GenTL::EVENT_MODULE, CEvent::Encode({idText.begin(), idText.end()}, {}));
        }
        if (cfg.dropAfterFrames > 0 && sent >= cfg.dropAfterFrames) {
            dev_.dropped = true;
        }
    }
}

}  // namespace LumoSim
