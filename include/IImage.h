#pragma once

#include <cstddef>
#include <list>

#include "IChunk.h"

namespace VEXOGENICAM {

// One filled buffer handed out by ICamera::GrabImage. The raw pixels stay in
// the producer's buffer (no copy); Release() gives the buffer back to the
// stream. The buffer stays valid until Release, also across StopGrab and
// Close of the camera. Release every image before its camera: a camera
// released (or UnInit called) first detaches its images (see ICamera).
class IImage {
public:
    virtual bool IsComplete() = 0;
    virtual std::size_t GetPayloadType() = 0;
    // Base and size of the whole buffer, in the camera's pixel format.
    virtual void* GetPayloadBuf() = 0;
    virtual std::size_t GetPayloadSize() = 0;
    virtual bool IsImagePresent() = 0;
    virtual unsigned long long GetImageFrameId() = 0;
    // Offset of the image inside the buffer.
    virtual std::size_t GetImageOffset() = 0;
    virtual std::size_t GetImageWidth() = 0;
    virtual std::size_t GetImageHeight() = 0;
    // PFNC pixel-format code.
    virtual unsigned long long GetPixelFormat() = 0;
    virtual std::size_t GetOffsetX() = 0;
    virtual std::size_t GetOffsetY() = 0;
    virtual std::size_t GetPaddingX() = 0;
    virtual std::size_t GetPaddingY() = 0;
    // A copy of the list; the chunks themselves belong to the image.
    virtual std::list<IChunk*> GetChunks() = 0;
    virtual unsigned long long GetTimeStamp() = 0;
    // Shape of the converted image: bits per channel and channel count.
    virtual std::size_t GetImageDepth() = 0;
    virtual std::size_t GetImageChannel() = 0;
    // Bytes per converted line.
    virtual std::size_t GetImageStep() = 0;
    // The pixels converted to 8-bit mono or 8-bit BGR on first call; null for
    // an incomplete image or an unconvertible format. The memory belongs to the
    // camera's conversion tool and may be reused by its next conversion.
    virtual void* GetImageData() = 0;
    virtual void SetTag(void* tag) = 0;
    virtual void* GetTag() = 0;
    virtual void Release() = 0;

protected:
    ~IImage() = default;
};

}  // namespace VEXOGENICAM
