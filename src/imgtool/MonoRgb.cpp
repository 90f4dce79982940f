#include "ConvertCommon.h"
#include "ImageToolEx.h"
#include "WorkerPool.h"

namespace imgtool {

// 5- and 6-bit fields expanded to 8 bits, rounded to nearest in double precision.
struct Expand565 {
    unsigned char five[32];
    unsigned char six[64];
    Expand565() {
        for (int x = 0; x < 32; ++x) {
            five[x] = static_cast<unsigned char>(static_cast<int>(x * 8.225806451612904 + 0.5));
        }
        for (int x = 0; x < 64; ++x) {
            six[x] = static_cast<unsigned char>(static_cast<int>(x * 4.0476190476190474 + 0.5));
        }
    }
};

const Expand565& Expand565Tables() {
    static const Expand565 tables;
    return tables;
}

void Unpack565(const unsigned char* src, unsigned char* dst, std::uint64_t pixels,
               bool lowFieldFirst) {
    const Expand565& e = Expand565Tables();
    for (std::uint64_t i = 0; i < pixels; ++i) {
        const unsigned v = LoadU16(src + 2 * i);
        const unsigned char low = e.five[v & 31];
        const unsigned char mid = e.six[(v >> 5) & 63];
        const unsigned char high = e.five[v >> 11];
        dst[3 * i] = lowFieldFirst ? low : high;
        dst[3 * i + 1] = mid;
        dst[3 * i + 2] = lowFieldFirst ? high : low;
    }
}

}  // namespace imgtool

namespace {

bool Valid(const void* s, const void* d, std::uint64_t w, std::uint64_t h, std::uint64_t& p) {
    return s != nullptr && d != nullptr && w != 0 && h != 0 && imgtool::PixelCount(w, h, p);
}

bool UnpackSpans(const unsigned char* s, unsigned char* d, std::uint64_t groups,
                 unsigned groupBytes, unsigned groupPixels, int bits) {
    return imgtool::ForEachSpan(
        groups, imgtool::kPixelsPerSpan / groupPixels, [&](std::uint64_t b, std::uint64_t e) {
            imgtool::UnpackGroups(s + b * groupBytes, d + b * groupPixels, e - b, bits);
        });
}

}  // namespace

namespace ImageToolEx {

bool TransDual(const unsigned short* s, unsigned char* d, std::uint64_t w, std::uint64_t h,
               int bits, bool nativeOrder) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p) || bits <= 8) {
        return false;
    }
    const auto* src = reinterpret_cast<const unsigned char*>(s);
    return imgtool::ForEachSpan(p, imgtool::kPixelsPerSpan, [&](std::uint64_t b, std::uint64_t e) {
        imgtool::DualToSingle(src + 2 * b, d + b, e - b, bits, nativeOrder);
    });
}

bool TransPacked(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    return UnpackSpans(s, d, p >> 1, 3, 2, 0);
}

bool TransMonoP(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h,
                int bits) {
    std::uint64_t p = 0;
    unsigned groupBytes = 0;
    unsigned groupPixels = 0;
    if (!Valid(s, d, w, h, p) || !imgtool::PGroup(bits, groupBytes, groupPixels)) {
        return false;
    }
    return UnpackSpans(s, d, p / groupPixels, groupBytes, groupPixels, bits);
}

bool TransRGB(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    return imgtool::ForEachSpan(p, imgtool::kPixelsPerSpan, [&](std::uint64_t b, std::uint64_t e) {
        imgtool::SwapRedBlue(s + 3 * b, d + 3 * b, e - b);
    });
}

bool TransRGB565p(const unsigned short* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    imgtool::Unpack565(reinterpret_cast<const unsigned char*>(s), d, p, true);
    return true;
}

bool TransBGR565p(const unsigned short* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    imgtool::Unpack565(reinterpret_cast<const unsigned char*>(s), d, p, false);
    return true;
}

}  // namespace ImageToolEx
