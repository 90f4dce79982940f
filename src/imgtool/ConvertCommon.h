#pragma once

#include <cstdint>
#include <cstring>

#include "PixelFormats.h"

namespace imgtool {

// W * H, refusing frames whose three-channel result would not fit in memory.
inline bool PixelCount(std::uint64_t width, std::uint64_t height, std::uint64_t& pixels) {
    if (width != 0 && height > UINT64_MAX / 3 / width) {
        return false;
    }
    pixels = width * height;
    return true;
}

inline std::uint16_t LoadU16(const void* p) {
    std::uint16_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline unsigned char Clamp255(std::int32_t v) {
    return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

struct ChromaTables {
    const std::int32_t* TR;
    const std::int32_t* TGv;
    const std::int32_t* TGu;
    const std::int32_t* TB;
};

inline void YuvPixel(const ChromaTables& t, unsigned y, unsigned u, unsigned v,
                     unsigned char* out) {
    const std::int32_t yy = static_cast<std::int32_t>(y);
    out[0] = Clamp255(yy + t.TB[u]);
    out[1] = Clamp255(yy - t.TGv[v] - t.TGu[u]);
    out[2] = Clamp255(yy + t.TR[v]);
}

// Byte layouts of the luminance-chrominance formats: per group, the offsets of
// U, V and of each pixel's Y.
struct YuvLayout {
    unsigned groupBytes;
    unsigned pixels;
    unsigned u;
    unsigned v;
    unsigned y[4];
};

inline constexpr YuvLayout kYuyv{4, 2, 1, 3, {0, 2, 0, 0}};
inline constexpr YuvLayout kUyvy{4, 2, 0, 2, {1, 3, 0, 0}};
inline constexpr YuvLayout kUyyvyy{6, 4, 0, 3, {1, 2, 4, 5}};
inline constexpr YuvLayout kUyv{3, 1, 0, 2, {1, 0, 0, 0}};
inline constexpr YuvLayout kCbYCr{3, 1, 2, 0, {1, 0, 0, 0}};

inline void YuvGroup(const ChromaTables& t, const YuvLayout& l, const unsigned char* g,
                     unsigned char* out, unsigned pixels) {
    for (unsigned k = 0; k < pixels; ++k) {
        YuvPixel(t, g[l.y[k]], g[l.u], g[l.v], out + 3 * k);
    }
}

// Colour sites: 0 red, 1 green, 2 blue.
enum Site : unsigned char { kRed = 0, kGreen = 1, kBlue = 2 };

// Index 0..3 for the GR, RG, GB, BG orders, or -1 for another code.
inline int BayerOrder(std::uint64_t pattern) {
    if (pattern >= 0x01080008 && pattern <= 0x0108000B) {
        return static_cast<int>(pattern - 0x01080008);
    }
    return -1;
}

inline Site SiteAt(int order, std::uint64_t row, std::uint64_t col) {
    static constexpr Site kLayout[4][2][2] = {{{kGreen, kRed}, {kBlue, kGreen}},
                                              {{kRed, kGreen}, {kGreen, kBlue}},
                                              {{kGreen, kBlue}, {kRed, kGreen}},
                                              {{kBlue, kGreen}, {kGreen, kRed}}};
    return kLayout[order][row & 1][col & 1];
}

// Bit-stream groups of the p formats: bytes per group and pixels per group.
inline bool PGroup(int bits, unsigned& bytes, unsigned& pixels) {
    switch (bits) {
        case 10:
            bytes = 5;
            pixels = 4;
            return true;
        case 12:
            bytes = 3;
            pixels = 2;
            return true;
        case 14:
            bytes = 7;
            pixels = 4;
            return true;
        default:
            return false;
    }
}

inline void UnpackPGroup(const unsigned char* g, unsigned bytes, unsigned pixels, int bits,
                         unsigned char* out) {
    std::uint64_t value = 0;
    for (unsigned k = 0; k < bytes; ++k) {
        value |= static_cast<std::uint64_t>(g[k]) << (8 * k);
    }
    const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
    for (unsigned k = 0; k < pixels; ++k) {
        out[k] = static_cast<unsigned char>((value & mask) >> (bits - 8));
        value >>= bits;
    }
}

// Chroma terms computed arithmetically: coefficient times |i - 128|, truncated,
// as whole part times |d| plus a 16-bit fixed-point fraction; the fractions are
// searched at first use so that every one of the 256 entries equals the table.
struct ChromaFixed {
    std::uint16_t whole[4];
    std::uint16_t fraction[4];
    bool exact;
};

// Vectorised kernels with a scalar finish; they produce exactly what the
// per-pixel rules above produce.
void BayerInteriorRow(const unsigned char* up, const unsigned char* mid, const unsigned char* down,
                      unsigned char* dst, std::uint64_t x0, std::uint64_t x1, bool redRow,
                      bool greenAtEvenColumn);
void Yuv422Groups(const ChromaTables& t, bool uyvy, const unsigned char* src, unsigned char* dst,
                  std::uint64_t groups);
// The same with arithmetic terms fitted by FitChroma (scalar when not exact).
void Yuv422Groups(const ChromaTables& t, const ChromaFixed& fixed, bool uyvy,
                  const unsigned char* src, unsigned char* dst, std::uint64_t groups);
ChromaFixed FitChroma(const ChromaTables& t);
void SwapRedBlue(const unsigned char* src, unsigned char* dst, std::uint64_t pixels);
void DualToSingle(const unsigned char* src, unsigned char* dst, std::uint64_t pixels, int bits,
                  bool nativeOrder);
void Unpack565(const unsigned char* src, unsigned char* dst, std::uint64_t pixels,
               bool lowFieldFirst);
// Complete groups of a p format (bits 10/12/14) or of the two-in-three packing (bits 0).
void UnpackGroups(const unsigned char* src, unsigned char* dst, std::uint64_t groups, int bits);

// The 8-bit Bayer code that carries the colour order of a deeper Bayer format.
inline std::uint64_t BayerPatternOf(std::uint64_t pf) {
    switch (pf) {
        case VEXOGENICAM::PF_BayerGR10p:
        case VEXOGENICAM::PF_BayerGR12p:
        case VEXOGENICAM::PF_BayerGR14p:
        case VEXOGENICAM::PF_BayerGR10Packed:
        case VEXOGENICAM::PF_BayerGR12Packed:
        case VEXOGENICAM::PF_BayerGR10:
        case VEXOGENICAM::PF_BayerGR12:
        case VEXOGENICAM::PF_BayerGR14:
        case VEXOGENICAM::PF_BayerGR16:
            return VEXOGENICAM::PF_BayerGR8;
        case VEXOGENICAM::PF_BayerRG10p:
        case VEXOGENICAM::PF_BayerRG12p:
        case VEXOGENICAM::PF_BayerRG14p:
        case VEXOGENICAM::PF_BayerRG10Packed:
        case VEXOGENICAM::PF_BayerRG12Packed:
        case VEXOGENICAM::PF_BayerRG10:
        case VEXOGENICAM::PF_BayerRG12:
        case VEXOGENICAM::PF_BayerRG14:
        case VEXOGENICAM::PF_BayerRG16:
            return VEXOGENICAM::PF_BayerRG8;
        case VEXOGENICAM::PF_BayerGB10p:
        case VEXOGENICAM::PF_BayerGB12p:
        case VEXOGENICAM::PF_BayerGB14p:
        case VEXOGENICAM::PF_BayerGB10Packed:
        case VEXOGENICAM::PF_BayerGB12Packed:
        case VEXOGENICAM::PF_BayerGB10:
        case VEXOGENICAM::PF_BayerGB12:
        case VEXOGENICAM::PF_BayerGB14:
        case VEXOGENICAM::PF_BayerGB16:
            return VEXOGENICAM::PF_BayerGB8;
        default:
            return VEXOGENICAM::PF_BayerBG8;
    }
}

// Bits per sample that the reduction routines take for a deep mono or Bayer
// format; the two-byte and Packed codes do not carry it in their wire size.
inline int SampleBitsOf(std::uint64_t pf) {
    switch (pf) {
        case VEXOGENICAM::PF_Mono10:
        case VEXOGENICAM::PF_BayerGR10:
        case VEXOGENICAM::PF_BayerRG10:
        case VEXOGENICAM::PF_BayerGB10:
        case VEXOGENICAM::PF_BayerBG10:
        case VEXOGENICAM::PF_Mono10Packed:
        case VEXOGENICAM::PF_BayerGR10Packed:
        case VEXOGENICAM::PF_BayerRG10Packed:
        case VEXOGENICAM::PF_BayerGB10Packed:
        case VEXOGENICAM::PF_BayerBG10Packed:
            return 10;
        case VEXOGENICAM::PF_Mono12:
        case VEXOGENICAM::PF_BayerGR12:
        case VEXOGENICAM::PF_BayerRG12:
        case VEXOGENICAM::PF_BayerGB12:
        case VEXOGENICAM::PF_BayerBG12:
        case VEXOGENICAM::PF_Mono12Packed:
        case VEXOGENICAM::PF_BayerGR12Packed:
        case VEXOGENICAM::PF_BayerRG12Packed:
        case VEXOGENICAM::PF_BayerGB12Packed:
        case VEXOGENICAM::PF_BayerBG12Packed:
            return 12;
        case VEXOGENICAM::PF_Mono14:
        case VEXOGENICAM::PF_BayerGR14:
        case VEXOGENICAM::PF_BayerRG14:
        case VEXOGENICAM::PF_BayerGB14:
        case VEXOGENICAM::PF_BayerBG14:
            return 14;
        case VEXOGENICAM::PF_Mono16:
        case VEXOGENICAM::PF_BayerGR16:
        case VEXOGENICAM::PF_BayerRG16:
        case VEXOGENICAM::PF_BayerGB16:
        case VEXOGENICAM::PF_BayerBG16:
            return 16;
        default:
            return static_cast<int>((pf >> 16) & 0xFF);
    }
}

}  // namespace imgtool
