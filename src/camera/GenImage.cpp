#include "camera/GenImage.h"

#include <memory>

#include "Cti.h"
#include "PixelFormats.h"
#include "camera/Camera.h"
#include "camera/Chunk.h"

namespace VEXOGENICAM {

CGenImage::CGenImage(CCamera* camera, std::uint64_t acquisition)
    : m_pCamera(camera), m_acquisition(acquisition) {
    if (camera != nullptr) {
        m_link = camera->GetImageLink();
    }
}

CGenImage::~CGenImage() {
    for (IChunk* chunk : m_chunks) {
        delete static_cast<CChunk*>(chunk);
    }
    m_chunks.clear();
    if (m_link) {
        // The link's lock keeps the camera from going away during the call.
        std::lock_guard<std::mutex> guard(m_link->lock);
        if (m_link->camera != nullptr) {
            m_link->camera->ImageReleased(this, m_hBuffer, m_acquisition);
        }
    }
}

void CGenImage::Detach() {
    m_pCamera = nullptr;
    m_pBase = nullptr;
    m_pData = nullptr;
    m_bConvertible = false;
    for (IChunk* chunk : m_chunks) {
        static_cast<CChunk*>(chunk)->Detach();
    }
}

void CGenImage::Release() {
    delete this;
}

std::size_t CGenImage::GetImageStep() {
    return GetImageWidth() * GetImageDepth() * GetImageChannel() / 8;
}

template <typename T>
int CGenImage::GetBufInfoT(T& out, CCti* producer, void* stream, void* buffer, int command) {
    int type = 1;
    size_t size = sizeof(T);
    return producer->DSGetBufferInfo(stream, buffer, command, &type, &out, &size);
}

template LUMO_API int CGenImage::GetBufInfoT<bool>(bool&, CCti*, void*, void*, int);
template LUMO_API int CGenImage::GetBufInfoT<unsigned long>(unsigned long&, CCti*, void*, void*,
                                                            int);
template LUMO_API int CGenImage::GetBufInfoT<void*>(void*&, CCti*, void*, void*, int);
template LUMO_API int CGenImage::GetBufInfoT<unsigned long long>(unsigned long long&, CCti*, void*,
                                                                 void*, int);

int CGenImage::SetBufAction(CCti* producer, void* stream, void* buffer, bool bigEndian) {
    m_bBigEndian = bigEndian;
    m_hBuffer = buffer;
    if (producer == nullptr || stream == nullptr || buffer == nullptr) {
        return -1;
    }
    auto query = [&](auto& field, int command) {
        return GetBufInfoT(field, producer, stream, buffer, command) == 0;
    };
    if (!query(m_bIncomplete, GenTL::BUFFER_INFO_IS_INCOMPLETE) ||
        !query(m_width, GenTL::BUFFER_INFO_WIDTH) || !query(m_height, GenTL::BUFFER_INFO_HEIGHT) ||
        !query(m_pBase, GenTL::BUFFER_INFO_BASE)) {
        return -2;
    }
    if (m_pBase == nullptr) {
        return -4;
    }
    if (!query(m_size, GenTL::BUFFER_INFO_SIZE) ||
        !query(m_filledSize, GenTL::BUFFER_INFO_SIZE_FILLED) ||
        !query(m_frameId, GenTL::BUFFER_INFO_FRAMEID) ||
        !query(m_pixelFormat, GenTL::BUFFER_INFO_PIXELFORMAT) ||
        !query(m_offsetX, GenTL::BUFFER_INFO_XOFFSET) ||
        !query(m_offsetY, GenTL::BUFFER_INFO_YOFFSET) ||
        !query(m_paddingX, GenTL::BUFFER_INFO_XPADDING) ||
        !query(m_paddingY, GenTL::BUFFER_INFO_YPADDING) ||
        !query(m_timeStamp, GenTL::BUFFER_INFO_TIMESTAMP) ||
        !query(m_bImagePresent, GenTL::BUFFER_INFO_IMAGEPRESENT) ||
        !query(m_imageOffset, GenTL::BUFFER_INFO_IMAGEOFFSET) ||
        !query(m_payloadType, GenTL::BUFFER_INFO_PAYLOADTYPE)) {
        return -2;
    }
    if (!query(m_bContainsChunks, GenTL::BUFFER_INFO_CONTAINS_CHUNKDATA)) {
        m_bContainsChunks = false;
    }
    if (m_bContainsChunks) {
        m_imageOffset = 0;
    }
    if (producer->GetIFTLType() == TL_CXP) {
        // CoaXPress producers report the height of the whole buffer
        // unreliably, so it is derived from the buffer size.
        if (m_width == 0) {
            m_height = 0;
        } else if (m_pixelFormat == PF_Mono8) {
            m_height = m_size / m_width;
        } else {
            m_height = m_size / (2 * m_width);
        }
    }
    if (m_bContainsChunks) {
        GetChunkData(producer, stream);
    }
    if (m_bIncomplete) {
        return -3;
    }
    std::uint64_t depth = 0;
    std::uint64_t channels = 0;
    std::uint64_t payload = 0;
    if (m_pCamera != nullptr) {
        m_pCamera->GetImgTool().PayloadCalc(m_width, m_height, m_pixelFormat, depth, channels,
                                            payload);
    }
    m_depth = depth;
    m_channels = channels;
    if (depth == 0 || channels == 0) {
        return -5;
    }
    if (payload + m_imageOffset > m_size) {
        return -6;
    }
    m_bConvertible = true;
    return 0;
}

void CGenImage::GetChunkData(CCti* producer, void* stream) {
    size_t count = 0;
    if (producer->DSGetBufferChunkData(stream, m_hBuffer, nullptr, &count) < 0 || count == 0) {
        return;
    }
    auto records = std::make_unique<GenTL::S_SINGLE_CHUNK_DATA[]>(count);
    if (producer->DSGetBufferChunkData(stream, m_hBuffer, records.get(), &count) != 0) {
        return;
    }
    auto* base = static_cast<unsigned char*>(m_pBase);
    for (size_t i = 0; i < count; ++i) {
        const auto& record = records[i];
        if (record.ChunkOffset < 0 || static_cast<size_t>(record.ChunkOffset) > m_size ||
            record.ChunkLength > m_size - static_cast<size_t>(record.ChunkOffset)) {
            continue;  // a chunk that overruns the buffer is left out
        }
        m_chunks.push_back(
            new CChunk(record.ChunkID, base + record.ChunkOffset, record.ChunkLength));
    }
}

void* CGenImage::GetImageData() {
    if (m_pData == nullptr && m_bConvertible && m_link) {
        std::lock_guard<std::mutex> guard(m_link->lock);
        // Checked again under the lock: a detach clears it.
        if (m_bConvertible && m_link->camera != nullptr) {
            m_pData = m_link->camera->ConvertImage(static_cast<char*>(m_pBase) + m_imageOffset,
                                                   m_width, m_height, m_pixelFormat, m_bBigEndian);
        }
    }
    return m_pData;
}

}  // namespace VEXOGENICAM
