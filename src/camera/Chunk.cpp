#include "camera/Chunk.h"

namespace VEXOGENICAM {

CChunk::CChunk(unsigned long long id, void* data, unsigned long length)
    : m_id(id), m_pData(data), m_length(length) {}

}  // namespace VEXOGENICAM
