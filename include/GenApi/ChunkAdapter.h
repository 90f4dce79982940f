#pragma once

#include <cstddef>
#include <cstdint>

#include "INodeMap.h"

namespace GenApi {

// One chunk of a buffer, for layouts the adapter cannot parse itself.
struct SingleChunkData_t {
    uint64_t ChunkID;
    ptrdiff_t ChunkOffset;
    int64_t ChunkLength;
};

// Attaches the chunk data of one grabbed buffer to a node map, so that the
// chunk features (ChunkTimestamp, ChunkWidth...) read that buffer's values.
// The buffer must stay valid until it is detached or another is attached; the
// node map must outlive the adapter or be detached first.
class GENAPI_DECL CChunkAdapter {
public:
    explicit CChunkAdapter(INodeMap* pNodeMap = nullptr) : m_pNodeMap(pNodeMap) {}
    virtual ~CChunkAdapter();
    CChunkAdapter(const CChunkAdapter&) = delete;
    CChunkAdapter& operator=(const CChunkAdapter&) = delete;

    virtual void AttachNodeMap(INodeMap* pNodeMap);
    virtual void DetachNodeMap();
    // Whether the buffer's end holds a chain of chunk trailers of this layout.
    virtual bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) = 0;
    // Throws RuntimeException when the layout does not parse.
    virtual void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) = 0;
    // Chunk features raise AccessException again until the next attach.
    virtual void DetachBuffer();
    // The same layout moved to another address.
    virtual void UpdateBuffer(uint8_t* pBaseAddress);

protected:
    // Points every chunk port of the map at its chunk; ports whose chunk is
    // missing read nothing. Chunks are given by offset into pBuffer.
    void Attach(uint8_t* pBuffer, const SingleChunkData_t* pChunks, int64_t NumChunks);

private:
    INodeMap* m_pNodeMap;
    uint8_t* m_pBuffer = nullptr;
};

// Trailer layouts: [data][id 4 bytes][length 4 bytes] chained back from the
// end of the buffer. GigE Vision stores id and length big-endian.
class GENAPI_DECL CChunkAdapterGEV : public CChunkAdapter {
public:
    using CChunkAdapter::CChunkAdapter;
    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) override;
};

// USB3 Vision: the same trailer chain, little-endian.
class GENAPI_DECL CChunkAdapterU3V : public CChunkAdapter {
public:
    using CChunkAdapter::CChunkAdapter;
    bool CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) override;
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) override;
};

// Chunks located by the transport layer (GenTL's chunk list).
class GENAPI_DECL CChunkAdapterGeneric : public CChunkAdapter {
public:
    using CChunkAdapter::CChunkAdapter;
    // Accepts any buffer: the caller knows its chunks.
    bool CheckBufferLayout(uint8_t*, int64_t BufferLength) override { return BufferLength >= 0; }
    // A generic buffer lists no chunks: everything reads as missing.
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) override;
    // Throws RuntimeException for a chunk outside [0, BufferLength).
    void AttachBuffer(uint8_t* pBuffer, int64_t BufferLength, const SingleChunkData_t* pChunks,
                      int64_t NumChunks);
};

}  // namespace GenApi
