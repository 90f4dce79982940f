#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

#include "IImage.h"
#include "LumoExport.h"

namespace VEXOGENICAM {

class CCamera;
class CCti;
struct CImageLink;

// One filled buffer of a camera's stream. The metadata is read once from the
// producer; pixels are converted on first demand and never copied otherwise;
// releasing the image gives the buffer back to the stream.
class LUMO_API CGenImage : public IImage {
public:
    explicit CGenImage(CCamera* camera, std::uint64_t acquisition = 0);
    CGenImage(const CGenImage&) = delete;
    CGenImage& operator=(const CGenImage&) = delete;

    bool IsComplete() override { return !m_bIncomplete; }
    std::size_t GetPayloadType() override { return m_payloadType; }
    void* GetPayloadBuf() override { return m_pBase; }
    std::size_t GetPayloadSize() override { return m_size; }
    bool IsImagePresent() override { return m_bImagePresent; }
    unsigned long long GetImageFrameId() override { return m_frameId; }
    std::size_t GetImageOffset() override { return m_imageOffset; }
    std::size_t GetImageWidth() override { return m_width; }
    std::size_t GetImageHeight() override { return m_height; }
    unsigned long long GetPixelFormat() override { return m_pixelFormat; }
    std::size_t GetOffsetX() override { return m_offsetX; }
    std::size_t GetOffsetY() override { return m_offsetY; }
    std::size_t GetPaddingX() override { return m_paddingX; }
    std::size_t GetPaddingY() override { return m_paddingY; }
    std::list<IChunk*> GetChunks() override { return m_chunks; }
    unsigned long long GetTimeStamp() override { return m_timeStamp; }
    std::size_t GetImageDepth() override { return m_depth; }
    std::size_t GetImageChannel() override { return m_channels; }
    std::size_t GetImageStep() override;
    void* GetImageData() override;
    void SetTag(void* tag) override { m_pTag = tag; }
    void* GetTag() override { return m_pTag; }
    void Release() override;

    virtual ~CGenImage();
    virtual std::size_t GetFilledSize() { return m_filledSize; }

    // 0, or -1 missing producer, stream or buffer; -2 a query failed; -3
    // incomplete; -4 null base; -5 unknown pixel format; -6 image larger than
    // the buffer.
    int SetBufAction(CCti* producer, void* stream, void* buffer, bool bigEndian);
    template <typename T>
    int GetBufInfoT(T& out, CCti* producer, void* stream, void* buffer, int command);
    void GetChunkData(CCti* producer, void* stream);

    void* GetBufferHandle() const { return m_hBuffer; }
    // Drops every pointer into the buffer and the camera's conversion memory:
    // the camera goes away while the client still holds this image. The
    // metadata stays readable and Release stays safe.
    void Detach();

private:
    CCamera* m_pCamera;
    void* m_hBuffer = nullptr;
    void* m_pTag = nullptr;
    bool m_bIncomplete = false;
    std::size_t m_width = 0;
    std::size_t m_height = 0;
    void* m_pBase = nullptr;
    std::size_t m_size = 0;
    std::size_t m_filledSize = 0;
    unsigned long long m_frameId = 0;
    unsigned long long m_pixelFormat = 0;
    std::size_t m_offsetX = 0;
    std::size_t m_offsetY = 0;
    std::size_t m_paddingX = 0;
    std::size_t m_paddingY = 0;
    unsigned long long m_timeStamp = 0;
    bool m_bImagePresent = false;
    std::size_t m_imageOffset = 0;
    std::size_t m_payloadType = 0;
    bool m_bContainsChunks = false;
    std::list<IChunk*> m_chunks;
    std::size_t m_depth = 8;
    std::size_t m_channels = 1;
    void* m_pData = nullptr;
    bool m_bBigEndian = true;
    std::uint64_t m_acquisition;
    // Only a complete image that fits its buffer is handed to the converter.
    bool m_bConvertible = false;
    std::shared_ptr<CImageLink> m_link;
};

}  // namespace VEXOGENICAM
