#include "ConvertCommon.h"
#include "ImageToolEx.h"

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

}  // namespace

namespace ImageToolEx {

bool TransDual(const unsigned short* s, unsigned char* d, std::uint64_t w, std::uint64_t h,
               int bits, bool nativeOrder) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p) || bits <= 8) {
        return false;
    }
    imgtool::DualToSingle(reinterpret_cast<const unsigned char*>(s), d, p, bits, nativeOrder);
    return true;
}

bool TransPacked(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    imgtool::UnpackGroups(s, d, p >> 1, 0);
    return true;
}

bool TransMonoP(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h,
                int bits) {
    std::uint64_t p = 0;
    unsigned groupBytes = 0;
    unsigned groupPixels = 0;
    if (!Valid(s, d, w, h, p) || !imgtool::PGroup(bits, groupBytes, groupPixels)) {
        return false;
    }
    imgtool::UnpackGroups(s, d, p / groupPixels, bits);
    return true;
}

bool TransRGB(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    std::uint64_t p = 0;
    if (!Valid(s, d, w, h, p)) {
        return false;
    }
    imgtool::SwapRedBlue(s, d, p);
    return true;
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
