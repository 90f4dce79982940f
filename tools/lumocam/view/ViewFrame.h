#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Sidecar.h"
#include "ViewPicture.h"

namespace VEXOGENICAM {
class IImage;
}

namespace lumocam {

// One received frame, kept after its buffer went back to the stream: the raw
// bytes for snapshots, the converted picture for the browser, and the JPEG
// encoded once, by whichever request needs it first.
class ViewFrame {
public:
    // Copies the image's payload and converts it; throws ToolError when the
    // picture cannot be converted.
    ViewFrame(VEXOGENICAM::IImage& image, std::uint64_t sequence);

    // Numbers frames across acquisitions, so a browser can ask for "the one after".
    std::uint64_t Sequence() const { return m_sequence; }
    const FrameFacts& Facts() const { return m_facts; }
    const std::vector<unsigned char>& Raw() const { return m_raw; }
    const ViewPicture& Picture() const { return m_picture; }
    const std::vector<unsigned char>& Jpeg() const;

    // The displayed values at (x, y), red-green-blue or grey; for mono formats
    // deeper than 8 bits also the sample as the camera sent it. Throws
    // ToolError (bad value) outside the frame.
    struct PixelValue {
        std::vector<unsigned> shown;  // 1 or 3 values, 0..255
        bool hasSample = false;
        std::uint32_t sample = 0;
        std::uint32_t bits = 8;
    };
    PixelValue PixelAt(std::uint64_t x, std::uint64_t y) const;

private:
    VEXOGENICAM::ConvertSource Source() const;

    std::uint64_t m_sequence;
    FrameFacts m_facts;
    std::vector<unsigned char> m_raw;
    std::uint64_t m_imageOffset = 0;
    std::uint64_t m_linePadding = 0;
    ViewPicture m_picture;
    mutable std::once_flag m_jpegOnce;
    mutable std::vector<unsigned char> m_jpeg;
};

}  // namespace lumocam
