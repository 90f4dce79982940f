#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "PixelConvert.h"

namespace lumocam {

// A frame as the browser sees it: 8-bit grey for mono formats, 8-bit BGR for
// every other one, lines tightly packed.
struct ViewPicture {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    unsigned channels = 0;  // 1 grey, 3 BGR
    std::vector<unsigned char> pixels;

    std::size_t Stride() const { return static_cast<std::size_t>(width) * channels; }
};

// Converts through ConvertPixels; throws ToolError naming the conversion's
// reason (unknown format, frame shorter than its geometry, ...).
ViewPicture ConvertForView(const VEXOGENICAM::ConvertSource& source);

// True for the PFNC formats whose name starts with "Mono": shown grey.
bool IsMonoFormat(std::uint64_t pixelFormat);

// 256 bins per channel; colour pictures count red, green, blue in that order.
struct Histogram {
    unsigned channels = 0;
    std::array<std::array<std::uint32_t, 256>, 3> bins{};
};
Histogram HistogramOf(const ViewPicture& picture);

}  // namespace lumocam
