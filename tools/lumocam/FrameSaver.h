#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "PixelConvert.h"

namespace VEXOGENICAM {
class IImage;
}

namespace lumocam {

// How frames of one pixel format become PNG pictures: 8-bit grey for mono,
// 8-bit colour for everything else, and with 16 bits deeper mono samples or
// the raw Bayer mosaic (undemosaiced, read as the mono format of the same
// layout), scaled to full range.
class FrameSaver {
public:
    FrameSaver(std::uint64_t pixelFormat, unsigned depth);

    // Empty when frames of this format can be saved, otherwise why not.
    const std::string& Problem() const { return m_problem; }
    // Converts and writes one frame. Answers why when the frame does not
    // convert (empty when it was written); throws ToolError naming the file
    // and the system's reason when writing fails.
    std::string Save(VEXOGENICAM::IImage& image, const std::filesystem::path& path) const;

private:
    std::uint64_t m_format;
    std::uint64_t m_readAs = 0;  // the format handed to the conversion
    unsigned m_depth;
    VEXOGENICAM::PixelTarget m_target = VEXOGENICAM::PixelTarget::Mono8;
    std::string m_problem;
};

// "BayerRG8", or "0x1234ABCD" for a code without a known name.
std::string PixelFormatText(std::uint64_t code);

}  // namespace lumocam
