#include "ViewFrame.h"

#include <cstddef>

#include "ExitCodes.h"
#include "IImage.h"
#include "JpegEncoder.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

// Significant bits per sample, from the PFNC code's size field.
std::uint32_t FormatBits(std::uint64_t pixelFormat) {
    return static_cast<std::uint32_t>((pixelFormat >> 16) & 0xFF);
}

}  // namespace

ViewFrame::ViewFrame(IImage& image, std::uint64_t sequence)
    : m_sequence(sequence), m_facts(FrameFactsOf(image)) {
    const auto* payload = static_cast<const unsigned char*>(image.GetPayloadBuf());
    const std::size_t size = image.GetPayloadSize();
    m_imageOffset = image.GetImageOffset();
    m_linePadding = image.GetPaddingX();
    if (payload == nullptr || m_imageOffset >= size) {
        throw ToolError(kExitFailure, "the frame carries no pixels");
    }
    m_raw.assign(payload, payload + size);
    m_picture = ConvertForView(Source());
}

ConvertSource ViewFrame::Source() const {
    ConvertSource source;
    source.data = m_raw.data() + m_imageOffset;
    source.size = m_raw.size() - m_imageOffset;
    source.width = m_facts.width;
    source.height = m_facts.height;
    source.pixelFormat = m_facts.pixelFormat;
    source.linePadding = m_linePadding;
    return source;
}

const std::vector<unsigned char>& ViewFrame::Jpeg() const {
    std::call_once(m_jpegOnce, [this] {
        // One encoder per thread: requests for different frames run side by side.
        thread_local JpegEncoder encoder;
        m_jpeg = encoder.Encode(m_picture.pixels.data(), m_picture.width, m_picture.height,
                                m_picture.channels, m_picture.Stride());
    });
    return m_jpeg;
}

ViewFrame::PixelValue ViewFrame::PixelAt(std::uint64_t x, std::uint64_t y) const {
    if (x >= m_picture.width || y >= m_picture.height) {
        throw ToolError(kExitBadValue, "pixel (" + std::to_string(x) + ", " + std::to_string(y) +
                                           ") is outside the " + std::to_string(m_picture.width) +
                                           " x " + std::to_string(m_picture.height) + " frame");
    }
    PixelValue value;
    const unsigned char* pixel =
        m_picture.pixels.data() + y * m_picture.Stride() + x * m_picture.channels;
    if (m_picture.channels == 1) {
        value.shown = {pixel[0]};
    } else {
        value.shown = {pixel[2], pixel[1], pixel[0]};
    }
    const std::uint32_t bits = FormatBits(m_facts.pixelFormat);
    if (m_picture.channels == 1 && bits > 8) {
        // Only one line is converted: enough for the one sample asked for.
        ConvertSource line = Source();
        const std::uint64_t lineBytes = SourceLineBytes(line.width, line.pixelFormat);
        if (m_linePadding > 0 && lineBytes > 0) {
            const std::uint64_t offset = y * (lineBytes + m_linePadding);
            line.data = static_cast<const unsigned char*>(line.data) + offset;
            line.size -= offset;
            line.height = 1;
        }
        std::vector<std::uint16_t> samples(static_cast<std::size_t>(line.width * line.height));
        ConvertDestination destination;
        destination.data = samples.data();
        destination.size = samples.size() * sizeof(std::uint16_t);
        destination.target = PixelTarget::Mono16;
        const ConvertResult result = ConvertPixels(line, destination);
        if (result.status == ConvertStatus::Ok) {
            value.hasSample = true;
            value.bits = result.bitDepth;
            const std::uint64_t row = line.height == 1 ? 0 : y;
            value.sample = samples[static_cast<std::size_t>(row * line.width + x)];
        }
    }
    return value;
}

}  // namespace lumocam
