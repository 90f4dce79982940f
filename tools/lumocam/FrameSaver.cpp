#include "FrameSaver.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "IImage.h"
#include "PixelFormats.h"
#include "Png.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

// Bayer samples are laid out as the mono format of the same depth and
// packing: "BayerGR12p" reads as "Mono12p".
std::uint64_t MonoTwin(const std::string& bayerName) {
    return PixelFormatCode(("Mono" + bayerName.substr(std::strlen("BayerXY"))).c_str());
}

}  // namespace

std::string PixelFormatText(std::uint64_t code) {
    if (const char* name = PixelFormatName(code)) {
        return name;
    }
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llX", static_cast<unsigned long long>(code));
    return text;
}

FrameSaver::FrameSaver(std::uint64_t pixelFormat, unsigned depth)
    : m_format(pixelFormat), m_readAs(pixelFormat), m_depth(depth) {
    const char* known = PixelFormatName(pixelFormat);
    if (known == nullptr || SourceLineBytes(8, pixelFormat) == 0) {
        m_problem = "the conversion does not know pixel format " + PixelFormatText(pixelFormat);
        return;
    }
    const std::string name = known;
    const bool mono = StartsWith(name, "Mono");
    if (depth == 8) {
        m_target = mono ? PixelTarget::Mono8 : PixelTarget::BGR8;
        return;
    }
    m_target = PixelTarget::Mono16;
    if (StartsWith(name, "Bayer")) {
        m_readAs = MonoTwin(name);
        if (m_readAs == 0 || SourceLineBytes(8, m_readAs) == 0) {
            m_problem = "16-bit PNG cannot read the samples of " + name;
        }
    } else if (!mono) {
        m_problem = "16-bit PNG is for mono and raw Bayer formats, not " + name +
                    " (without --depth 16 it is saved as 8-bit colour)";
    }
}

std::string FrameSaver::Save(IImage& image, const std::filesystem::path& path) const {
    if (!m_problem.empty()) {
        return m_problem;
    }
    if (image.GetPixelFormat() != m_format) {
        // A frame in another format than announced gets a plan of its own.
        return FrameSaver(image.GetPixelFormat(), m_depth).Save(image, path);
    }
    const std::size_t offset = image.GetImageOffset();
    const std::size_t payload = image.GetPayloadSize();
    ConvertSource source;
    source.data = static_cast<const unsigned char*>(image.GetPayloadBuf()) + offset;
    source.size = payload > offset ? payload - offset : 0;
    source.width = image.GetImageWidth();
    source.height = image.GetImageHeight();
    source.pixelFormat = m_readAs;
    source.linePadding = image.GetPaddingX();
    ConvertDestination destination;
    destination.target = m_target;
    destination.stride = ConvertedLineBytes(source.width, m_target);
    std::vector<unsigned char> pixels(destination.stride * source.height);
    destination.data = pixels.data();
    destination.size = pixels.size();
    const ConvertResult converted =
        ConvertPixels(image.GetPayloadBuf() != nullptr ? source : ConvertSource{}, destination);
    if (converted.status != ConvertStatus::Ok) {
        return "frame " + std::to_string(image.GetImageFrameId()) + " (" +
               PixelFormatText(m_format) +
               ") does not convert: " + ConvertStatusText(converted.status);
    }
    const std::size_t channels = m_target == PixelTarget::BGR8 ? 3 : 1;
    if (m_target == PixelTarget::Mono16 && converted.bitDepth < 16) {
        // Full scale, so that a 12-bit picture is not nearly black.
        const unsigned shift = 16 - converted.bitDepth;
        for (std::size_t i = 0; i + 1 < pixels.size(); i += 2) {
            std::uint16_t sample = 0;
            std::memcpy(&sample, &pixels[i], 2);
            sample = static_cast<std::uint16_t>(sample << shift);
            std::memcpy(&pixels[i], &sample, 2);
        }
    }
    WritePng(path, pixels.data(), source.width, source.height, channels, destination.stride,
             m_target == PixelTarget::Mono16 ? 16 : 8);
    return {};
}

}  // namespace lumocam
