#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "GenApi/PortImpl.h"

namespace GenApi {

// The engine reads a port with a <ChunkID> (<EventID>) only from a buffer its
// own stream (event) code fills. The layer serves those ports itself: the
// element is taken out of the text the engine parses, and the port reads what
// a chunk (event) adapter attaches. Returns the description without them and
// fills port name -> id; an empty result means the text has no such ports.
struct PortIds {
    std::map<std::string, uint64_t> chunks;
    std::map<std::string, uint64_t> events;
};
std::string WithoutPortIds(const char* xml, size_t size, PortIds& ids);

// Where a chunk port reads: the data of one chunk of the attached buffer, or
// nothing (no buffer attached, or the buffer lacks that chunk).
class CChunkPort final : public CPortImpl {
public:
    CChunkPort(std::string portName, uint64_t chunkId)
        : m_portName(std::move(portName)), m_chunkId(chunkId) {}

    EAccessMode GetAccessMode() const override { return m_data ? RW : NA; }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

    void Attach(uint8_t* data, int64_t length) {
        m_data = data;
        m_length = length;
    }
    // Event data is kept by the port: the message buffer is gone once delivered.
    void Keep(const uint8_t* data, int64_t length) {
        m_kept.assign(data, data + length);
        Attach(m_kept.data(), length);
    }
    void Move(std::ptrdiff_t shift) {
        if (m_data) {
            m_data += shift;
        }
    }
    uint64_t ChunkId() const { return m_chunkId; }
    const std::string& PortName() const { return m_portName; }

private:
    uint8_t* Span(int64_t address, int64_t length) const;

    std::string m_portName;
    uint64_t m_chunkId;
    uint8_t* m_data = nullptr;
    int64_t m_length = 0;
    std::vector<uint8_t> m_kept;
};

}  // namespace GenApi
