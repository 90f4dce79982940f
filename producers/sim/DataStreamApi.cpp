// The data stream module (DS*): buffers, acquisition and their information.
#include <algorithm>
#include <cstring>
#include <optional>

#include "ApiCall.h"
#include "CustomInfo.h"
#include "Teardown.h"

using namespace GenTL;
using namespace LumoSim;

namespace {

struct StreamBuffer {
    CDataStream& ds;
    CBuffer& b;
};

// The stream behind `hDs` and its buffer `hBuf`.
StreamBuffer BufferOf(CProducer& p, DS_HANDLE hDs, BUFFER_HANDLE hBuf) {
    CDataStream& ds = Handle<CDataStream>(p, hDs);
    CBuffer* b = p.handles.Get<CBuffer>(hBuf, Kind::Buffer);
    Expect(b && ds.Find(hBuf) == b, GC_ERR_INVALID_HANDLE, "not a buffer of this data stream");
    return {ds, *b};
}

// Under the stream lock.
void RequireIdle(const CDataStream& ds, const char* text) {
    Expect(!ds.grabbing, GC_ERR_BUSY, text);
}

void RequireNotFilling(const CBuffer& b) {
    Expect(b.state != CBuffer::State::Filling, GC_ERR_NOT_AVAILABLE, "the buffer is being filled");
}

// Under the stream lock. While the engine fills a buffer it writes the metadata; only the fixed
// facts are readable then.
InfoValue BufferInfo(const CDataStream& ds, const CBuffer& b, BUFFER_INFO_CMD cmd) {
    const bool filling = b.state == CBuffer::State::Filling;
    const bool fixedFact = cmd == BUFFER_INFO_BASE || cmd == BUFFER_INFO_SIZE ||
                           cmd == BUFFER_INFO_USER_PTR || cmd == BUFFER_INFO_IS_QUEUED ||
                           cmd == BUFFER_INFO_IS_ACQUIRING || cmd == BUFFER_INFO_TLTYPE ||
                           cmd == BUFFER_INFO_IS_COMPOSITE;
    if (!fixedFact && cmd >= 0 && cmd <= BUFFER_INFO_IS_COMPOSITE)
        RequireNotFilling(b);
    using B = CBuffer;
    using P = SceneParams;
    std::optional<InfoValue> v =
        InfoValue::Field<size_t>(b, cmd, InfoValue::SizeT,
                                 {{BUFFER_INFO_SIZE, &B::size},
                                  {BUFFER_INFO_SIZE_FILLED, &B::sizeFilled},
                                  {BUFFER_INFO_DATA_SIZE, &B::dataSize}});
    if (!v) {
        v = InfoValue::Field<uint64_t>(b, cmd, InfoValue::U64,
                                       {{BUFFER_INFO_TIMESTAMP, &B::timestamp},
                                        {BUFFER_INFO_FRAMEID, &B::frameId},
                                        {BUFFER_INFO_TIMESTAMP_NS, &B::timestampNs},
                                        {kBufferInfoDeliveredNs, &B::deliveredNs}});
    }
    if (!v) {
        v = InfoValue::Field<bool>(b, cmd, InfoValue::Bool,
                                   {{BUFFER_INFO_NEW_DATA, &B::newData},
                                    {BUFFER_INFO_IS_INCOMPLETE, &B::incomplete},
                                    {BUFFER_INFO_DATA_LARGER_THAN_BUFFER, &B::largerThanBuffer}});
    }
    if (!v) {
        v = InfoValue::Field<uint32_t>(b.params, cmd, InfoValue::SizeT,
                                       {{BUFFER_INFO_WIDTH, &P::width},
                                        {BUFFER_INFO_HEIGHT, &P::height},
                                        {BUFFER_INFO_XOFFSET, &P::offsetX},
                                        {BUFFER_INFO_YOFFSET, &P::offsetY}});
    }
    if (v)
        return *v;
    switch (cmd) {
        case BUFFER_INFO_BASE:
            return InfoValue::Ptr(b.base);
        case BUFFER_INFO_USER_PTR:
            return InfoValue::Ptr(b.userPtr);
        case BUFFER_INFO_IS_QUEUED:
            return InfoValue::Bool(b.IsQueued());
        case BUFFER_INFO_IS_ACQUIRING:
            return InfoValue::Bool(filling);
        case BUFFER_INFO_TLTYPE:
            // What parses the chunk trailers, when there are any.
            return InfoValue::String(b.chunks.empty() ? ds.tlType : ds.ChunkLayout());
        case BUFFER_INFO_XPADDING:
        case BUFFER_INFO_YPADDING:
        case BUFFER_INFO_IMAGEOFFSET:
            return InfoValue::SizeT(0);
        case BUFFER_INFO_IMAGEPRESENT:
            return InfoValue::Bool(filling || b.newData || b.sizeFilled > 0);
        case BUFFER_INFO_PAYLOADTYPE:
            return InfoValue::SizeT(PAYLOAD_TYPE_IMAGE);
        case BUFFER_INFO_PIXELFORMAT:
            return InfoValue::U64(b.params.pixelFormat);
        case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
            return InfoValue::U64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
        case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
            return InfoValue::SizeT(b.deliveredHeight);
        case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
            return InfoValue::SizeT(b.chunks.empty() ? 0 : b.sizeFilled - b.imageSize);
        case BUFFER_INFO_CHUNKLAYOUTID:
            return InfoValue::U64(b.chunkLayoutId);
        case BUFFER_INFO_FILENAME:
            Fail(GC_ERR_NOT_AVAILABLE, "the payload is not a file");
        case BUFFER_INFO_PIXEL_ENDIANNESS:
            return InfoValue::I32(b.params.bigEndian16 ? PIXELENDIANNESS_BIG
                                                       : PIXELENDIANNESS_LITTLE);
        case BUFFER_INFO_CONTAINS_CHUNKDATA:
            return InfoValue::Bool(!b.chunks.empty());
        case BUFFER_INFO_IS_COMPOSITE:
            return InfoValue::Bool(false);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown BUFFER_INFO command " + std::to_string(cmd));
    }
}

// BufferInfo with the values the configuration imposes (faults.bufferInfo), each in the type of
// the real answer, as a producer that reports its own idea of a value does.
InfoValue ConfiguredBufferInfo(const CProducer& p, const CDataStream& ds, const CBuffer& b,
                               BUFFER_INFO_CMD cmd) {
    InfoValue v = BufferInfo(ds, b, cmd);
    const auto it = p.config.bufferInfo.find(cmd);
    if (it != p.config.bufferInfo.end() && v.type != INFO_DATATYPE_STRING &&
        v.bytes.size() <= sizeof it->second) {
        std::memcpy(v.bytes.data(), &it->second, v.bytes.size());  // little-endian low bytes
    }
    return v;
}

// The payload size takes the camera lock; everything else is read under the stream lock.
InfoValue StreamInfo(CDataStream& ds, STREAM_INFO_CMD cmd) {
    if (cmd == STREAM_INFO_PAYLOAD_SIZE)
        return InfoValue::SizeT(static_cast<size_t>(ds.PayloadSize()));
    std::lock_guard<std::mutex> g(*ds.lock);
    using D = CDataStream;
    if (auto v = InfoValue::Field<uint64_t>(ds, cmd, InfoValue::U64,
                                            {{STREAM_INFO_NUM_DELIVERED, &D::delivered},
                                             {STREAM_INFO_NUM_UNDERRUN, &D::underruns},
                                             {STREAM_INFO_NUM_STARTED, &D::started}}))
        return *v;
    switch (cmd) {
        case STREAM_INFO_ID:
            return InfoValue::String(ds.id);
        case STREAM_INFO_TLTYPE:
            return InfoValue::String(ds.tlType);
        case STREAM_INFO_NUM_ANNOUNCED:
            return InfoValue::SizeT(ds.buffers.size());
        case STREAM_INFO_NUM_QUEUED:
            return InfoValue::SizeT(ds.CountQueued());
        case STREAM_INFO_NUM_AWAIT_DELIVERY:
            return InfoValue::SizeT(ds.output.size());
        case STREAM_INFO_IS_GRABBING:
            return InfoValue::Bool(ds.grabbing);
        case STREAM_INFO_DEFINES_PAYLOADSIZE:
            return InfoValue::Bool(false);
        case STREAM_INFO_NUM_CHUNKS_MAX:
            return InfoValue::SizeT(CamReg::kChunkCount);
        case STREAM_INFO_BUF_ANNOUNCE_MIN:
        case STREAM_INFO_BUF_ALIGNMENT:
            return InfoValue::SizeT(1);
        case STREAM_INFO_FLOW_TABLE:
            Fail(GC_ERR_NO_DATA, "the stream uses no flows");
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown STREAM_INFO command " + std::to_string(cmd));
    }
}

// Under the stream lock. A buffer is its one segment, whether being filled or not.
InfoValue SegmentInfo(const CBuffer& b, SEGMENT_INFO_CMD cmd) {
    using B = CBuffer;
    if (auto v = InfoValue::Field<size_t>(b, cmd, InfoValue::SizeT,
                                          {{SEGMENT_INFO_SIZE, &B::size},
                                           {SEGMENT_INFO_SIZE_FILLED, &B::sizeFilled},
                                           {SEGMENT_INFO_DATA_SIZE, &B::dataSize}}))
        return *v;
    if (cmd == SEGMENT_INFO_BASE)
        return InfoValue::Ptr(b.base);
    if (cmd == SEGMENT_INFO_IS_INCOMPLETE)
        return InfoValue::Bool(b.incomplete);
    Fail(GC_ERR_NOT_IMPLEMENTED, "unknown SEGMENT_INFO command");
}

// Under the stream lock.
GC_ERROR AddBuffer(CProducer& p, CDataStream& ds, uint8_t* base, size_t size, void* userPtr,
                   std::unique_ptr<uint8_t[]> owned, BUFFER_HANDLE* phBuffer) {
    auto b = std::make_unique<CBuffer>();
    b->base = base;
    b->size = size;
    b->userPtr = userPtr;
    b->owned = std::move(owned);
    b->handle = p.handles.Add(Kind::Buffer, b.get());
    *phBuffer = b->handle;
    ds.buffers.push_back(std::move(b));
    return Ok();
}

}  // namespace

extern "C" {
namespace GenTL {

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                        BUFFER_HANDLE* phBuffer) {
    return Guarded("DSAnnounceBuffer", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        Require(pBuffer && phBuffer && iSize != 0, "DSAnnounceBuffer: bad argument");
        RequireReachable(&ds);
        std::lock_guard<std::mutex> g(*ds.lock);
        RequireIdle(ds, "cannot announce while acquisition runs");
        for (const auto& b : ds.buffers)
            Expect(b->base != pBuffer, GC_ERR_RESOURCE_IN_USE, "this memory is already announced");
        return AddBuffer(p, ds, static_cast<uint8_t*>(pBuffer), iSize, pPrivate, nullptr, phBuffer);
    });
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                BUFFER_HANDLE* phBuffer) {
    return Guarded("DSAllocAndAnnounceBuffer", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        Require(phBuffer && iSize != 0, "DSAllocAndAnnounceBuffer: bad argument");
        RequireReachable(&ds);
        std::lock_guard<std::mutex> g(*ds.lock);
        RequireIdle(ds, "cannot announce while acquisition runs");
        Expect(ds.allocated < p.config.maxAllocBuffers, GC_ERR_OUT_OF_MEMORY,
               "no memory for another buffer (configured limit)");
        std::unique_ptr<uint8_t[]> memory(new (std::nothrow) uint8_t[iSize]);
        if (!memory)
            Fail(GC_ERR_OUT_OF_MEMORY, "cannot allocate " + std::to_string(iSize) + " bytes");
        uint8_t* base = memory.get();
        ++ds.allocated;
        return AddBuffer(p, ds, base, iSize, pPrivate, std::move(memory), phBuffer);
    });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** pBuffer,
                      void** pPrivate) {
    return Guarded("DSRevokeBuffer", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        RequireReachable(&ds);
        std::lock_guard<std::mutex> g(*ds.lock);
        RequireIdle(ds, "cannot revoke while acquisition runs");
        Expect(!b.IsQueued(), GC_ERR_BUSY, "the buffer is still queued");
        if (pBuffer)
            *pBuffer = b.owned ? nullptr : b.base;
        if (pPrivate)
            *pPrivate = b.userPtr;
        if (b.owned)
            --ds.allocated;
        p.handles.Remove(hBuffer);
        ds.buffers.erase(std::find_if(ds.buffers.begin(), ds.buffers.end(),
                                      [&b](const auto& x) { return x.get() == &b; }));
        return Ok();
    });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return Guarded("DSQueueBuffer", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        RequireReachable(&ds);
        std::lock_guard<std::mutex> g(*ds.lock);
        Expect(!b.IsQueued(), GC_ERR_RESOURCE_IN_USE, "the buffer is already queued");
        b.state = CBuffer::State::Input;
        b.sizeFilled = 0;
        b.dataSize = 0;
        ds.input.push_back(&b);
        ds.Wake();
        return Ok();
    });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return Guarded("DSGetBufferID", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        Require(phBuffer, "phBuffer is null");
        std::lock_guard<std::mutex> g(*ds.lock);
        Expect(iIndex < ds.buffers.size(), GC_ERR_INVALID_INDEX, "buffer index out of range");
        *phBuffer = ds.buffers[iIndex]->handle;
        return Ok();
    });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return Guarded("DSFlushQueue", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        RequireReachable(&ds);
        if (const GC_ERROR rc = ds.Flush(iOperation))
            Fail(rc, "unknown flush operation " + std::to_string(iOperation));
        return Ok();
    });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                          uint64_t iNumToAcquire) {
    return Guarded("DSStartAcquisition", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        Expect(iStartFlags == ACQ_START_FLAGS_DEFAULT, GC_ERR_NOT_IMPLEMENTED,
               "unsupported start flags");
        RequireReachable(&ds);
        if (const GC_ERROR rc = ds.Start(iNumToAcquire)) {
            Fail(rc, rc == GC_ERR_INVALID_BUFFER    ? "no buffer announced"
                     : rc == GC_ERR_RESOURCE_IN_USE ? "acquisition is already running"
                                                    : "the count must not be 0");
        }
        return Ok();
    });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return Guarded("DSStopAcquisition", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        Expect(iStopFlags == ACQ_STOP_FLAGS_DEFAULT || iStopFlags == ACQ_STOP_FLAGS_KILL,
               GC_ERR_NOT_IMPLEMENTED, "unsupported stop flags");
        {
            std::lock_guard<std::mutex> g(*ds.lock);
            Expect(ds.grabbing, GC_ERR_RESOURCE_IN_USE, "acquisition is not running");
        }
        ds.Stop();
        RequireReachable(&ds);
        return Ok();
    });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Guarded("DSGetInfo", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        return Out(StreamInfo(ds, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API DSClose(DS_HANDLE hDataStream) {
    return Guarded("DSClose", [&](CProducer& p) {
        CDataStream& ds = Handle<CDataStream>(p, hDataStream);
        CDevice& dev = *ds.device;
        for (size_t i = 0; i < dev.streams.size(); ++i) {
            if (dev.streams[i].get() == &ds)
                CloseStream(p, dev, i);
        }
        return Ok();
    });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Guarded("DSGetBufferInfo", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        std::lock_guard<std::mutex> g(*ds.lock);
        return Out(ConfiguredBufferInfo(p, ds, b, iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return Guarded("DSGetParentDev", [&](CProducer& p) {
        return Store(phDevice, Handle<CDataStream>(p, hDataStream).device->handle,
                     "phDevice is null");
    });
}

// --- since GenTL 1.1 (the 1.0 variant does not export these) ------------------------------------

GC_API DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                            SINGLE_CHUNK_DATA* pChunkData, size_t* piNumChunks) {
    return Guarded("DSGetBufferChunkData", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        Require(piNumChunks, "piNumChunks is null");
        std::lock_guard<std::mutex> g(*ds.lock);
        RequireNotFilling(b);
        Expect(!b.chunks.empty(), GC_ERR_NO_DATA, "the buffer carries no chunk data");
        if (pChunkData) {
            Expect(*piNumChunks >= b.chunks.size(), GC_ERR_BUFFER_TOO_SMALL,
                   "chunk array too small");
            std::copy(b.chunks.begin(), b.chunks.end(), pChunkData);
            if (p.config.chunkOverrun)
                pChunkData[0].ChunkLength = b.size;  // reaches past the end of the buffer
        }
        *piNumChunks = b.chunks.size();
        return Ok();
    });
}

GC_API DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts) {
    return Guarded("DSGetNumBufferParts", [&](CProducer& p) -> GC_ERROR {
        BufferOf(p, hDataStream, hBuffer);
        Require(piNumParts, "piNumParts is null");
        Fail(GC_ERR_NO_DATA, "the payload is not multi-part");
    });
}

GC_API DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t,
                           BUFFER_PART_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
    return Guarded("DSGetBufferPartInfo", [&](CProducer& p) -> GC_ERROR {
        BufferOf(p, hDataStream, hBuffer);
        Fail(GC_ERR_NO_DATA, "the payload is not multi-part");
    });
}

GC_API DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t, void**, size_t*, void*,
                                 BUFFER_HANDLE*) {
    return Guarded("DSAnnounceCompositeBuffer", [&](CProducer& p) -> GC_ERROR {
        Handle<CDataStream>(p, hDataStream);
        Fail(GC_ERR_NOT_IMPLEMENTED, "composite buffers are not supported");
    });
}

GC_API DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              DS_BUFFER_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
    return Guarded("DSGetBufferInfoStacked", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        Require(pInfoStacked && iNumInfos != 0, "no entries");
        std::lock_guard<std::mutex> g(*ds.lock);
        for (size_t i = 0; i < iNumInfos; ++i) {
            auto& e = pInfoStacked[i];
            try {
                const InfoValue v = ConfiguredBufferInfo(p, ds, b, e.iInfoCmd);
                INFO_DATATYPE t = 0;
                size_t size = e.iSize;
                e.iResult = v.CopyOut(&t, e.pBuffer, &size);
                e.iType = t;
                e.iSize = size;
            } catch (const CApiError& error) {
                // A failing entry is reported in the entry, and as the last error.
                e.iResult = SetLastError(error.Code(), error.what());
            }
        }
        return Ok();
    });
}

GC_API DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                  DS_BUFFER_PART_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
    return Guarded("DSGetBufferPartInfoStacked", [&](CProducer& p) {
        BufferOf(p, hDataStream, hBuffer);
        Require(pInfoStacked && iNumInfos != 0, "no entries");
        for (size_t i = 0; i < iNumInfos; ++i)
            pInfoStacked[i].iResult = GC_ERR_NO_DATA;
        return Ok();
    });
}

GC_API DSGetNumFlows(DS_HANDLE hDataStream, uint32_t* piNumFlows) {
    return Guarded("DSGetNumFlows", [&](CProducer& p) -> GC_ERROR {
        Handle<CDataStream>(p, hDataStream);
        Require(piNumFlows, "piNumFlows is null");
        Fail(GC_ERR_NO_DATA, "the stream uses no flows");
    });
}

GC_API DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE*, void*,
                     size_t*) {
    return Guarded("DSGetFlowInfo", [&](CProducer& p) -> GC_ERROR {
        Handle<CDataStream>(p, hDataStream);
        Fail(GC_ERR_NO_DATA, "the stream uses no flows");
    });
}

GC_API DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              uint32_t* piNumSegments) {
    return Guarded("DSGetNumBufferSegments", [&](CProducer& p) {
        BufferOf(p, hDataStream, hBuffer);
        return Store(piNumSegments, 1, "piNumSegments is null");
    });
}

GC_API DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iSegmentIndex,
                              SEGMENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                              size_t* piSize) {
    return Guarded("DSGetBufferSegmentInfo", [&](CProducer& p) {
        auto [ds, b] = BufferOf(p, hDataStream, hBuffer);
        Expect(iSegmentIndex == 0, GC_ERR_INVALID_INDEX, "segment index out of range");
        std::lock_guard<std::mutex> g(*ds.lock);
        return Out(SegmentInfo(b, iInfoCmd), piType, pBuffer, piSize);
    });
}

}  // namespace GenTL
}  // extern "C"
