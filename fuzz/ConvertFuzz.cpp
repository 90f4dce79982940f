// ConvertPixels on arbitrary frames: any format code, size, padding, stride
// and target. The source and destination are exactly as large as claimed, so a
// read or write past either shows under AddressSanitizer; a conversion that
// reports success must leave the bytes between destination lines alone.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "PixelConvert.h"

namespace {

using namespace VEXOGENICAM;

constexpr std::size_t kHeader = 11;
constexpr std::uint8_t kGap = 0x5A;

struct Request {
    ConvertSource source;
    PixelTarget target;
    DemosaicMethod method;
    std::uint64_t strideExtra;
    bool tightStride;
    bool shortDestination;
};

Request Decode(const std::uint8_t* h) {
    Request r;
    std::uint32_t code = 0;
    std::memcpy(&code, h, sizeof code);
    r.source.pixelFormat = code;
    r.source.width = 1 + h[4] % 96;
    r.source.height = 1 + h[5] % 64;
    r.source.linePadding = h[6] % 8;
    r.target = static_cast<PixelTarget>(h[7] % 5);  // 4 is not a target
    r.method = static_cast<DemosaicMethod>(h[8] % 3);
    r.strideExtra = h[9] % 7;
    r.source.bigEndian16 = (h[10] & 1) != 0;
    r.shortDestination = (h[10] & 2) != 0;
    r.tightStride = (h[10] & 4) != 0;
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kHeader) {
        return 0;
    }
    Request r = Decode(data);
    const std::vector<std::uint8_t> frame(data + kHeader, data + size);
    r.source.data = frame.empty() ? nullptr : frame.data();
    r.source.size = frame.size();

    const std::uint64_t line = ConvertedLineBytes(r.source.width, r.target);
    const std::uint64_t stride = (line == 0 ? 3 * r.source.width : line) + r.strideExtra;
    std::uint64_t bytes = (r.source.height - 1) * stride + (line == 0 ? stride : line);
    if (r.shortDestination) {
        --bytes;
    }
    std::vector<std::uint8_t> out(bytes, kGap);
    ConvertDestination dst;
    dst.data = out.data();
    dst.size = out.size();
    dst.stride = r.tightStride ? 0 : stride;
    dst.target = r.target;

    const ConvertResult result = ConvertPixels(r.source, dst, r.method);
    if (result.status != ConvertStatus::Ok) {
        for (const std::uint8_t b : out) {
            if (b != kGap) {
                std::abort();  // a refused conversion wrote
            }
        }
        return 0;
    }
    if (result.bitDepth < 4 || result.bitDepth > 16) {
        std::abort();
    }
    const std::uint64_t used = dst.stride == 0 ? line : stride;
    for (std::uint64_t y = 0; y + 1 < r.source.height; ++y) {
        for (std::uint64_t x = line; x < used; ++x) {
            if (out[y * used + x] != kGap) {
                std::abort();  // wrote between lines
            }
        }
    }
    return 0;
}
