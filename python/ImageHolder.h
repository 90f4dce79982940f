#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "CameraHandle.h"
#include "Library.h"
#include "LumoGenICam.h"

namespace lumopy {

// One grabbed image, shared by the Python Image and every array made from
// it: the buffer goes back to the stream when the last of them is gone. The
// facts are read once, so that they stay readable after shutdown.
class ImageHolder : public Held {
public:
    ImageHolder(std::shared_ptr<CameraHandle> camera, VEXOGENICAM::IImage* image, int status);
    ~ImageHolder() override;

    void Drop() override;

    // The pixels of the image (buffer base plus image offset) and the bytes
    // readable there; throws Error once the image was given back.
    const std::uint8_t* Pixels(std::size_t& available);
    // The chunks the producer listed, copied; throws like Pixels.
    std::map<std::uint64_t, std::string> Chunks();

    int status;  // the grab's result: 0, or -21 .. -26 for a buffer whose metadata failed
    bool complete;
    std::uint64_t frameId;
    std::uint64_t timestamp;
    std::size_t width;
    std::size_t height;
    std::uint64_t pixelFormat;
    std::size_t offsetX;
    std::size_t offsetY;
    std::size_t paddingX;
    std::size_t payloadSize;
    std::size_t imageOffset;
    std::uintptr_t bufferAddress;  // base of the producer's buffer

private:
    std::shared_ptr<CameraHandle> m_camera;  // released after its images
    std::mutex m_lock;
    VEXOGENICAM::IImage* m_image;
};

}  // namespace lumopy
