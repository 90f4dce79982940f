#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace VEXOGENICAM {
class IImage;
}

namespace lumocam {

// What a raw frame file cannot say about itself: written beside it as JSON so
// that the bytes can be interpreted later without the camera.
struct FrameFacts {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t pixelFormat = 0;  // PFNC code
    std::string pixelFormatName;    // empty when the code is not known
    std::uint64_t frameId = 0;
    std::uint64_t timestamp = 0;
    std::uint64_t payloadSize = 0;
    bool complete = true;
    std::vector<std::pair<std::string, std::string>> chunks;  // feature name, value text
};

// The facts the image itself carries; chunk values are the caller's to add.
FrameFacts FrameFactsOf(VEXOGENICAM::IImage& image);

// One JSON object, keys in a fixed order.
std::string SidecarJson(const FrameFacts& facts);

}  // namespace lumocam
