#include "ViewPicture.h"

#include <cstring>
#include <string>

#include "ExitCodes.h"
#include "PixelFormats.h"

namespace lumocam {

using namespace VEXOGENICAM;

bool IsMonoFormat(std::uint64_t pixelFormat) {
    const char* name = PixelFormatName(pixelFormat);
    return name != nullptr && std::strncmp(name, "Mono", 4) == 0;
}

ViewPicture ConvertForView(const ConvertSource& source) {
    ViewPicture picture;
    picture.width = source.width;
    picture.height = source.height;
    const bool mono = IsMonoFormat(source.pixelFormat);
    picture.channels = mono ? 1 : 3;
    const PixelTarget target = mono ? PixelTarget::Mono8 : PixelTarget::BGR8;
    const std::uint64_t line = ConvertedLineBytes(source.width, target);
    // Frames beyond this are no camera's; refusing them keeps the size product in range.
    constexpr std::uint64_t kMaxSide = 1U << 16;
    if (source.width == 0 || source.height == 0 || source.width > kMaxSide ||
        source.height > kMaxSide) {
        throw ToolError(kExitFailure, "frame of " + std::to_string(source.width) + " x " +
                                          std::to_string(source.height) +
                                          " pixels cannot be shown");
    }
    picture.pixels.resize(static_cast<std::size_t>(line * source.height));
    ConvertDestination destination;
    destination.data = picture.pixels.data();
    destination.size = picture.pixels.size();
    destination.stride = line;
    destination.target = target;
    const ConvertResult result = ConvertPixels(source, destination);
    if (result.status != ConvertStatus::Ok) {
        const char* name = PixelFormatName(source.pixelFormat);
        throw ToolError(kExitFailure, std::string("cannot convert ") +
                                          (name != nullptr ? name : "this pixel format") + ": " +
                                          ConvertStatusText(result.status));
    }
    return picture;
}

Histogram HistogramOf(const ViewPicture& picture) {
    Histogram histogram;
    histogram.channels = picture.channels;
    const std::size_t count = static_cast<std::size_t>(picture.width * picture.height);
    const unsigned char* pixel = picture.pixels.data();
    if (picture.channels == 1) {
        for (std::size_t i = 0; i < count; ++i) {
            ++histogram.bins[0][pixel[i]];
        }
        return histogram;
    }
    for (std::size_t i = 0; i < count; ++i, pixel += 3) {
        ++histogram.bins[0][pixel[2]];  // BGR in memory, red first in the answer
        ++histogram.bins[1][pixel[1]];
        ++histogram.bins[2][pixel[0]];
    }
    return histogram;
}

}  // namespace lumocam
