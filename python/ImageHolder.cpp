#include "ImageHolder.h"

#include <utility>

#include "Error.h"

namespace lumopy {

using VEXOGENICAM::IChunk;
using VEXOGENICAM::IImage;

ImageHolder::ImageHolder(std::shared_ptr<CameraHandle> camera, IImage* image, int status)
    : Held(Rank::Image),
      status(status),
      complete(status != VEXOGENICAM::result::grab_image::kImageIncomplete && image->IsComplete()),
      frameId(image->GetImageFrameId()),
      timestamp(image->GetTimeStamp()),
      width(image->GetImageWidth()),
      height(image->GetImageHeight()),
      pixelFormat(image->GetPixelFormat()),
      offsetX(image->GetOffsetX()),
      offsetY(image->GetOffsetY()),
      paddingX(image->GetPaddingX()),
      payloadSize(image->GetPayloadSize()),
      imageOffset(image->GetImageOffset()),
      bufferAddress(reinterpret_cast<std::uintptr_t>(image->GetPayloadBuf())),
      m_camera(std::move(camera)),
      m_image(image) {
    try {
        Library::Get().Track(this);
    } catch (...) {
        image->Release();
        throw;
    }
}

ImageHolder::~ImageHolder() {
    Library::Get().Untrack(this);
    Drop();
}

void ImageHolder::Drop() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_image != nullptr) {
        m_image->Release();
        m_image = nullptr;
    }
}

const std::uint8_t* ImageHolder::Pixels(std::size_t& available) {
    std::lock_guard<std::mutex> guard(m_lock);
    const auto* base =
        m_image != nullptr ? static_cast<const std::uint8_t*>(m_image->GetPayloadBuf()) : nullptr;
    // A detached image (its camera released underneath) has no pixels either.
    if (base == nullptr) {
        throw Error("the image has no pixels any more (given back at shutdown)");
    }
    const std::size_t size = m_image->GetPayloadSize();
    available = imageOffset < size ? size - imageOffset : 0;
    return base + imageOffset;
}

std::map<std::uint64_t, std::string> ImageHolder::Chunks() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_image == nullptr) {
        throw Error("the image has no chunks any more (given back at shutdown)");
    }
    std::map<std::uint64_t, std::string> chunks;
    for (IChunk* chunk : m_image->GetChunks()) {
        const auto* data = static_cast<const char*>(chunk->GetData());
        chunks[chunk->GetID()] = data != nullptr ? std::string(data, chunk->GetLength()) : "";
    }
    return chunks;
}

}  // namespace lumopy
