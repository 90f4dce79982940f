#pragma once

#include <cstddef>

#include "IChunk.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

// One chunk of a buffer; the data pointer refers into the image's buffer.
class LUMO_API CChunk : public IChunk {
public:
    CChunk(unsigned long long id, void* data, unsigned long length);
    virtual ~CChunk() = default;

    unsigned long long GetID() override { return m_id; }
    void* GetData() override { return m_pData; }
    std::size_t GetLength() override { return m_length; }
    // The buffer is gone: the chunk keeps its ID and length only.
    void Detach() { m_pData = nullptr; }

private:
    unsigned long long m_id;
    void* m_pData;
    unsigned long m_length;
};

}  // namespace VEXOGENICAM
