#include "GenApi/ChunkAdapter.h"

#include <mutex>
#include <vector>

#include "GenApi/GCException.h"
#include "NodeMap.h"

namespace GenApi {

namespace {

CNodeMap& LayerMap(INodeMap* map) {
    auto* layer = dynamic_cast<CNodeMap*>(map);
    if (!layer) {
        throw LOGICAL_ERROR_EXCEPTION("Chunk adapter: no node map attached");
    }
    return *layer;
}

uint32_t Word(const uint8_t* p, bool bigEndian) {
    return bigEndian
               ? (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]
               : (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
}

// Walks the trailer chain back from the end; false when a length points
// outside the buffer or the chain does not end exactly at the start.
bool ParseTrailers(const uint8_t* buffer, int64_t length, bool bigEndian,
                   std::vector<SingleChunkData_t>& chunks) {
    chunks.clear();
    if (!buffer || length <= 0) {
        return false;
    }
    int64_t end = length;
    while (end > 0) {
        if (end < 8) {
            return false;
        }
        const uint32_t id = Word(buffer + end - 8, bigEndian);
        const int64_t size = Word(buffer + end - 4, bigEndian);
        const int64_t dataEnd = end - 8;
        if (size > dataEnd) {
            return false;
        }
        chunks.push_back({id, static_cast<ptrdiff_t>(dataEnd - size), size});
        end = dataEnd - size;
    }
    return !chunks.empty();
}

}  // namespace

CChunkAdapter::~CChunkAdapter() {
    if (m_pNodeMap) {
        try {
            DetachBuffer();
        } catch (...) {
            // a destructor cannot report; the ports only lose their data
        }
    }
}

void CChunkAdapter::AttachNodeMap(INodeMap* pNodeMap) {
    if (m_pNodeMap && m_pNodeMap != pNodeMap) {
        DetachNodeMap();
    }
    m_pNodeMap = pNodeMap;
}

void CChunkAdapter::DetachNodeMap() {
    if (m_pNodeMap) {
        DetachBuffer();
    }
    m_pNodeMap = nullptr;
}

void CChunkAdapter::DetachBuffer() {
    Attach(nullptr, nullptr, 0);
}

void CChunkAdapter::UpdateBuffer(uint8_t* pBaseAddress) {
    if (!m_pBuffer) {
        return;
    }
    CNodeMap& map = LayerMap(m_pNodeMap);
    std::lock_guard<std::recursive_mutex> guard(map.Mutex());
    const std::ptrdiff_t shift = pBaseAddress - m_pBuffer;
    for (const auto& port : map.ChunkPorts()) {
        port->Move(shift);
    }
    m_pBuffer = pBaseAddress;
    map.InvalidateNodes();
}

void CChunkAdapter::Attach(uint8_t* pBuffer, const SingleChunkData_t* pChunks, int64_t NumChunks) {
    CNodeMap& map = LayerMap(m_pNodeMap);
    std::lock_guard<std::recursive_mutex> guard(map.Mutex());
    for (const auto& port : map.ChunkPorts()) {
        port->Attach(nullptr, 0);
        for (int64_t i = 0; pBuffer && i < NumChunks; ++i) {
            if (pChunks[i].ChunkID == port->ChunkId()) {
                port->Attach(pBuffer + pChunks[i].ChunkOffset, pChunks[i].ChunkLength);
                break;
            }
        }
    }
    m_pBuffer = pBuffer;
    map.InvalidateNodes();  // chunk values are per buffer
}

namespace {

void Require(bool parsed, const char* layout) {
    if (!parsed) {
        throw RUNTIME_EXCEPTION("Buffer does not hold %s chunk trailers", layout);
    }
}

}  // namespace

bool CChunkAdapterGEV::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
    std::vector<SingleChunkData_t> chunks;
    return ParseTrailers(pBuffer, BufferLength, true, chunks);
}

void CChunkAdapterGEV::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) {
    std::vector<SingleChunkData_t> chunks;
    Require(ParseTrailers(pBuffer, BufferLength, true, chunks), "GigE Vision");
    Attach(pBuffer, chunks.data(), static_cast<int64_t>(chunks.size()));
}

bool CChunkAdapterU3V::CheckBufferLayout(uint8_t* pBuffer, int64_t BufferLength) {
    std::vector<SingleChunkData_t> chunks;
    return ParseTrailers(pBuffer, BufferLength, false, chunks);
}

void CChunkAdapterU3V::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) {
    std::vector<SingleChunkData_t> chunks;
    Require(ParseTrailers(pBuffer, BufferLength, false, chunks), "USB3 Vision");
    Attach(pBuffer, chunks.data(), static_cast<int64_t>(chunks.size()));
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength) {
    AttachBuffer(pBuffer, BufferLength, nullptr, 0);
}

void CChunkAdapterGeneric::AttachBuffer(uint8_t* pBuffer, int64_t BufferLength,
                                        const SingleChunkData_t* pChunks, int64_t NumChunks) {
    if (NumChunks < 0 || (NumChunks > 0 && (!pChunks || !pBuffer))) {
        throw INVALID_ARGUMENT_EXCEPTION("Chunk list of %lld entries is not valid",
                                         static_cast<long long>(NumChunks));
    }
    for (int64_t i = 0; i < NumChunks; ++i) {
        const SingleChunkData_t& chunk = pChunks[i];
        if (chunk.ChunkOffset < 0 || chunk.ChunkLength < 0 || chunk.ChunkOffset > BufferLength ||
            chunk.ChunkLength > BufferLength - chunk.ChunkOffset) {
            throw RUNTIME_EXCEPTION("Chunk 0x%llX (%lld bytes at %lld) lies outside the buffer",
                                    static_cast<unsigned long long>(chunk.ChunkID),
                                    static_cast<long long>(chunk.ChunkLength),
                                    static_cast<long long>(chunk.ChunkOffset));
        }
    }
    Attach(pBuffer, pChunks, NumChunks);
}

}  // namespace GenApi
