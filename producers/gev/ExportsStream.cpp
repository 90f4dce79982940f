// Data stream module and buffers.
#include <vector>

#include "ChunkLayout.h"
#include "ExportsCommon.h"

using namespace GenTL;
using namespace LumoGev;

namespace {

std::shared_ptr<CStream> OpenStream(CProducer& p, DS_HANDLE h) {
    return Lookup<CStream>(p, h, Kind::Stream);
}

CBuffer& BufferOf(CStream& s, BUFFER_HANDLE h) {
    CBuffer* b = s.Find(h);
    if (b == nullptr)
        Fail(GC_ERR_INVALID_HANDLE, "not a buffer announced on this stream");
    return *b;
}

InfoReply StreamInfo(CStream& s, STREAM_INFO_CMD cmd) {
    const StreamCounters c = s.Counters();
    switch (cmd) {
        case STREAM_INFO_ID:
            return InfoReply::Text(s.id);
        case STREAM_INFO_NUM_DELIVERED:
            return InfoReply::U64(c.delivered);
        case STREAM_INFO_NUM_UNDERRUN:
            return InfoReply::U64(c.underruns);
        case STREAM_INFO_NUM_ANNOUNCED:
            return InfoReply::SizeT(s.NumAnnounced());
        case STREAM_INFO_NUM_QUEUED:
            return InfoReply::SizeT(s.Count(CBuffer::Where::Input) +
                                    s.Count(CBuffer::Where::Engine));
        case STREAM_INFO_NUM_AWAIT_DELIVERY:
            return InfoReply::SizeT(s.Count(CBuffer::Where::Output));
        case STREAM_INFO_NUM_STARTED:
            return InfoReply::U64(c.started);
        case STREAM_INFO_PAYLOAD_SIZE:
            return InfoReply::SizeT(s.PayloadSize());
        case STREAM_INFO_IS_GRABBING:
            return InfoReply::Bool(s.Grabbing());
        case STREAM_INFO_DEFINES_PAYLOADSIZE:
            return InfoReply::Bool(false);
        case STREAM_INFO_TLTYPE:
            return InfoReply::Text("GEV");
        case STREAM_INFO_NUM_CHUNKS_MAX:
            Fail(GC_ERR_NOT_AVAILABLE, "the number of chunks depends on the camera");
        case STREAM_INFO_BUF_ANNOUNCE_MIN:
            return InfoReply::SizeT(1);
        case STREAM_INFO_BUF_ALIGNMENT:
            return InfoReply::SizeT(1);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown STREAM_INFO command " + std::to_string(cmd));
    }
}

InfoReply BufferInfo(const CBuffer& b, BUFFER_INFO_CMD cmd, uint64_t tickFrequency) {
    const bool image = b.newData && b.payloadType == PAYLOAD_TYPE_IMAGE;
    switch (cmd) {
        case BUFFER_INFO_BASE:
            return InfoReply::Ptr(b.base);
        case BUFFER_INFO_SIZE:
            return InfoReply::SizeT(b.size);
        case BUFFER_INFO_USER_PTR:
            return InfoReply::Ptr(b.userPtr);
        case BUFFER_INFO_TIMESTAMP:
            // Aravis converts the camera's ticks to nanoseconds; give the ticks back, so that
            // they agree with DEVICE_INFO_TIMESTAMP_FREQUENCY.
            if (tickFrequency == 0)
                return InfoReply::U64(b.timestampNs);
            // Split, so that the product cannot overflow for any tick rate below 18 GHz.
            return InfoReply::U64(b.timestampNs / 1000000000u * tickFrequency +
                                  b.timestampNs % 1000000000u * tickFrequency / 1000000000u);
        case BUFFER_INFO_TIMESTAMP_NS:
            return InfoReply::U64(b.timestampNs);
        case BUFFER_INFO_NEW_DATA:
            return InfoReply::Bool(b.newData);
        case BUFFER_INFO_IS_QUEUED:
            return InfoReply::Bool(!b.discardOnReturn && b.where != CBuffer::Where::Unqueued);
        case BUFFER_INFO_IS_ACQUIRING:
            return InfoReply::Bool(b.where == CBuffer::Where::Engine);
        case BUFFER_INFO_IS_INCOMPLETE:
            return InfoReply::Bool(b.newData && b.incomplete);
        case BUFFER_INFO_TLTYPE:
            return InfoReply::Text("GEV");
        case BUFFER_INFO_SIZE_FILLED:
        case BUFFER_INFO_DATA_SIZE:
            return InfoReply::SizeT(b.newData ? b.filled : 0);
        case BUFFER_INFO_WIDTH:
            return InfoReply::SizeT(image ? b.width : 0);
        case BUFFER_INFO_HEIGHT:
        case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
            return InfoReply::SizeT(image ? b.height : 0);
        case BUFFER_INFO_XOFFSET:
            return InfoReply::SizeT(image ? b.xOffset : 0);
        case BUFFER_INFO_YOFFSET:
            return InfoReply::SizeT(image ? b.yOffset : 0);
        case BUFFER_INFO_XPADDING:
            return InfoReply::SizeT(image ? b.xPadding : 0);
        case BUFFER_INFO_YPADDING:
            return InfoReply::SizeT(image ? b.yPadding : 0);
        case BUFFER_INFO_FRAMEID:
            return InfoReply::U64(b.frameId);
        case BUFFER_INFO_IMAGEPRESENT:
            return InfoReply::Bool(image);
        case BUFFER_INFO_IMAGEOFFSET:
            return InfoReply::SizeT(0);
        case BUFFER_INFO_PAYLOADTYPE:
            return InfoReply::SizeT(
                static_cast<size_t>(b.newData ? b.payloadType : PAYLOAD_TYPE_UNKNOWN));
        case BUFFER_INFO_PIXELFORMAT:
            return InfoReply::U64(image ? b.pixelFormat : 0);
        case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
            return InfoReply::U64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
        case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
            return InfoReply::Bool(false);
        case BUFFER_INFO_CONTAINS_CHUNKDATA:
            return InfoReply::Bool(b.newData && b.hasChunks);
        case BUFFER_INFO_IS_COMPOSITE:
            return InfoReply::Bool(false);
        default:
            Fail(GC_ERR_NOT_IMPLEMENTED, "unknown BUFFER_INFO command " + std::to_string(cmd));
    }
}

void Announced(CProducer& p, CBuffer& b, BUFFER_HANDLE* phBuffer) {
    b.handle = p.handles.Add(Kind::Buffer, nullptr);
    *phBuffer = b.handle;
}

}  // namespace

extern "C" {

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                        BUFFER_HANDLE* phBuffer) {
    return Locked("DSAnnounceBuffer", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        Require(pBuffer, "pBuffer");
        Require(phBuffer, "phBuffer");
        if (iSize == 0)
            Fail(GC_ERR_INVALID_PARAMETER, "iSize must not be 0");
        Announced(p, s->Announce(static_cast<uint8_t*>(pBuffer), iSize, pPrivate, nullptr),
                  phBuffer);
    });
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                BUFFER_HANDLE* phBuffer) {
    return Locked("DSAllocAndAnnounceBuffer", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        Require(phBuffer, "phBuffer");
        if (iSize == 0)
            Fail(GC_ERR_INVALID_PARAMETER, "iSize must not be 0");
        std::unique_ptr<uint8_t[]> memory(new (std::nothrow) uint8_t[iSize]);
        if (!memory)
            Fail(GC_ERR_OUT_OF_MEMORY, "cannot allocate " + std::to_string(iSize) + " bytes");
        uint8_t* base = memory.get();
        Announced(p, s->Announce(base, iSize, pPrivate, std::move(memory)), phBuffer);
    });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** pBuffer,
                      void** pPrivate) {
    return Locked("DSRevokeBuffer", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        s->Revoke(BufferOf(*s, hBuffer), pBuffer, pPrivate);
        p.handles.Remove(hBuffer);
    });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
    return Locked("DSQueueBuffer", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        s->Queue(BufferOf(*s, hBuffer));
    });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
    return Locked("DSGetBufferID", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        Require(phBuffer, "phBuffer");
        CBuffer* b = s->At(iIndex);
        if (b == nullptr)
            Fail(GC_ERR_INVALID_INDEX,
                 "buffer index " + std::to_string(iIndex) + " is beyond the announced buffers");
        *phBuffer = b->handle;
    });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
    return Locked("DSFlushQueue",
                  [&](CProducer& p, auto&) { OpenStream(p, hDataStream)->Flush(iOperation); });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                          uint64_t iNumToAcquire) {
    return Locked("DSStartAcquisition", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        if (iStartFlags != ACQ_START_FLAGS_DEFAULT)
            Fail(GC_ERR_NOT_IMPLEMENTED,
                 "start flag " + std::to_string(iStartFlags) + " is not supported");
        s->Start(iNumToAcquire);
    });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
    return Locked("DSStopAcquisition", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        if (iStopFlags != ACQ_STOP_FLAGS_DEFAULT && iStopFlags != ACQ_STOP_FLAGS_KILL)
            Fail(GC_ERR_NOT_IMPLEMENTED,
                 "stop flag " + std::to_string(iStopFlags) + " is not supported");
        // Both stop at once: a frame that Aravis has not completed returns to the input pool.
        s->Stop();
    });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                 void* pBuffer, size_t* piSize) {
    return Locked("DSGetInfo", [&](CProducer& p, auto&) {
        ReplyInfo(StreamInfo(*OpenStream(p, hDataStream), iInfoCmd), piType, pBuffer, piSize);
    });
}

GC_API DSClose(DS_HANDLE hDataStream) {
    return Locked("DSClose", [&](CProducer& p, auto&) {
        OpenStream(p, hDataStream);
        for (const auto& dev : p.system->iface->open) {
            if (dev->stream && dev->stream->handle == hDataStream)
                CloseStream(p, *dev);
        }
    });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                       INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Locked("DSGetBufferInfo", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        ReplyInfo(BufferInfo(BufferOf(*s, hBuffer), iInfoCmd, s->TickFrequency()), piType, pBuffer,
                  piSize);
    });
}

GC_API DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                            SINGLE_CHUNK_DATA* pChunkData, size_t* piNumChunks) {
    return Locked("DSGetBufferChunkData", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        const CBuffer& b = BufferOf(*s, hBuffer);
        Require(piNumChunks, "piNumChunks");
        if (!b.newData || !b.hasChunks)
            Fail(GC_ERR_NO_DATA, "the buffer holds no chunk data");
        // In GigE Vision chunk mode the whole payload is chunks, the image being one of them.
        std::vector<SINGLE_CHUNK_DATA> chunks;
        if (!ParseChunks(b.base, b.filled, chunks))
            Fail(GC_ERR_PARSING_CHUNK_DATA, "the chunk lengths do not add up");
        if (pChunkData != nullptr) {
            if (*piNumChunks < chunks.size())
                Fail(GC_ERR_BUFFER_TOO_SMALL,
                     "the buffer holds " + std::to_string(chunks.size()) + " chunks");
            std::copy(chunks.begin(), chunks.end(), pChunkData);
        }
        *piNumChunks = chunks.size();
    });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return Locked("DSGetParentDev", [&](CProducer& p, auto&) {
        OpenStream(p, hDataStream);
        Require(phDevice, "phDevice");
        for (const auto& dev : p.system->iface->open) {
            if (dev->stream && dev->stream->handle == hDataStream)
                *phDevice = dev->handle;
        }
    });
}

GC_API DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts) {
    return Locked("DSGetNumBufferParts", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        BufferOf(*s, hBuffer);
        Require(piNumParts, "piNumParts");
        Fail(GC_ERR_NO_DATA, "GigE Vision images are single-part buffers");
    });
}

GC_API DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t,
                           BUFFER_PART_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
    return Locked("DSGetBufferPartInfo", [&](CProducer& p, auto&) {
        auto s = OpenStream(p, hDataStream);
        BufferOf(*s, hBuffer);
        Fail(GC_ERR_NO_DATA, "GigE Vision images are single-part buffers");
    });
}

}  // extern "C"
