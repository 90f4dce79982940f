#pragma once

// Plain per-pixel model of ConvertPixels with bilinear demosaicing, written
// from the rules in PixelConvert.h for clarity, not speed.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "PixelConvert.h"
#include "PixelFormats.h"

namespace cmodel {

using namespace VEXOGENICAM;
using Bytes = std::vector<std::uint8_t>;

enum class Pack { Byte, Word, Stream, GevPacked, Rgb, Bgr, Rgb565, Bgr565, Chroma };

struct Format {
    Pack pack = Pack::Byte;
    int bits = 8;
    int order = -1;  // Bayer GR, RG, GB, BG = 0..3
    int groupPixels = 1, groupBytes = 1;
    int u = 0, v = 0, y[4] = {0, 0, 0, 0};
    bool bt709 = false;
};

inline bool Describe(std::uint64_t code, Format& f) {
    struct Entry {
        std::uint64_t code;
        Pack pack;
        int bits, order;
    };
    static const Entry sampled[] = {
        {PF_Mono8, Pack::Byte, 8, -1},
        {PF_Mono8s, Pack::Byte, 8, -1},
        {PF_BayerGR8, Pack::Byte, 8, 0},
        {PF_BayerRG8, Pack::Byte, 8, 1},
        {PF_BayerGB8, Pack::Byte, 8, 2},
        {PF_BayerBG8, Pack::Byte, 8, 3},
        {PF_BayerGR4p, Pack::Stream, 4, 0},
        {PF_BayerRG4p, Pack::Stream, 4, 1},
        {PF_BayerGB4p, Pack::Stream, 4, 2},
        {PF_BayerBG4p, Pack::Stream, 4, 3},
        {PF_Mono10p, Pack::Stream, 10, -1},
        {PF_Mono12p, Pack::Stream, 12, -1},
        {PF_Mono14p, Pack::Stream, 14, -1},
        {PF_BayerGR10p, Pack::Stream, 10, 0},
        {PF_BayerRG10p, Pack::Stream, 10, 1},
        {PF_BayerGB10p, Pack::Stream, 10, 2},
        {PF_BayerBG10p, Pack::Stream, 10, 3},
        {PF_BayerGR12p, Pack::Stream, 12, 0},
        {PF_BayerRG12p, Pack::Stream, 12, 1},
        {PF_BayerGB12p, Pack::Stream, 12, 2},
        {PF_BayerBG12p, Pack::Stream, 12, 3},
        {PF_BayerGR14p, Pack::Stream, 14, 0},
        {PF_BayerRG14p, Pack::Stream, 14, 1},
        {PF_BayerGB14p, Pack::Stream, 14, 2},
        {PF_BayerBG14p, Pack::Stream, 14, 3},
        {PF_Mono10Packed, Pack::GevPacked, 10, -1},
        {PF_Mono12Packed, Pack::GevPacked, 12, -1},
        {PF_BayerGR10Packed, Pack::GevPacked, 10, 0},
        {PF_BayerRG10Packed, Pack::GevPacked, 10, 1},
        {PF_BayerGB10Packed, Pack::GevPacked, 10, 2},
        {PF_BayerBG10Packed, Pack::GevPacked, 10, 3},
        {PF_BayerGR12Packed, Pack::GevPacked, 12, 0},
        {PF_BayerRG12Packed, Pack::GevPacked, 12, 1},
        {PF_BayerGB12Packed, Pack::GevPacked, 12, 2},
        {PF_BayerBG12Packed, Pack::GevPacked, 12, 3},
        {PF_Mono10, Pack::Word, 10, -1},
        {PF_Mono12, Pack::Word, 12, -1},
        {PF_Mono14, Pack::Word, 14, -1},
        {PF_Mono16, Pack::Word, 16, -1},
        {PF_BayerGR10, Pack::Word, 10, 0},
        {PF_BayerRG10, Pack::Word, 10, 1},
        {PF_BayerGB10, Pack::Word, 10, 2},
        {PF_BayerBG10, Pack::Word, 10, 3},
        {PF_BayerGR12, Pack::Word, 12, 0},
        {PF_BayerRG12, Pack::Word, 12, 1},
        {PF_BayerGB12, Pack::Word, 12, 2},
        {PF_BayerBG12, Pack::Word, 12, 3},
        {PF_BayerGR14, Pack::Word, 14, 0},
        {PF_BayerRG14, Pack::Word, 14, 1},
        {PF_BayerGB14, Pack::Word, 14, 2},
        {PF_BayerBG14, Pack::Word, 14, 3},
        {PF_BayerGR16, Pack::Word, 16, 0},
        {PF_BayerRG16, Pack::Word, 16, 1},
        {PF_BayerGB16, Pack::Word, 16, 2},
        {PF_BayerBG16, Pack::Word, 16, 3},
    };
    for (const auto& e : sampled) {
        if (e.code != code) {
            continue;
        }
        f = Format{};
        f.pack = e.pack;
        f.bits = e.bits;
        f.order = e.order;
        if (e.pack == Pack::Word) {
            f.groupBytes = 2;
        } else if (e.pack == Pack::GevPacked) {
            f.groupPixels = 2;
            f.groupBytes = 3;
        } else if (e.pack == Pack::Stream) {
            f.groupPixels = e.bits == 4 || e.bits == 12 ? 2 : 4;
            f.groupBytes = f.groupPixels * e.bits / 8;
        }
        return true;
    }
    auto chroma = [&](int gb, int gp, int u, int v, std::initializer_list<int> ys, bool bt709) {
        f = Format{};
        f.pack = Pack::Chroma;
        f.groupBytes = gb;
        f.groupPixels = gp;
        f.u = u;
        f.v = v;
        std::copy(ys.begin(), ys.end(), f.y);
        f.bt709 = bt709;
        return true;
    };
    auto colour = [&](Pack p, int gb) {
        f = Format{};
        f.pack = p;
        f.groupBytes = gb;
        return true;
    };
    switch (code) {
        case PF_RGB8:
            return colour(Pack::Rgb, 3);
        case PF_BGR8:
            return colour(Pack::Bgr, 3);
        case PF_RGB565p:
            return colour(Pack::Rgb565, 2);
        case PF_BGR565p:
            return colour(Pack::Bgr565, 2);
        case PF_YUV411_8_UYYVYY:
            return chroma(6, 4, 0, 3, {1, 2, 4, 5}, false);
        case PF_YUV422_8_UYVY:
            return chroma(4, 2, 0, 2, {1, 3}, false);
        case PF_YUV422_8:
        case PF_YCbCr422_8:
            return chroma(4, 2, 1, 3, {0, 2}, false);
        case PF_YCbCr709_422_8:
            return chroma(4, 2, 1, 3, {0, 2}, true);
        case PF_YUV8_UYV:
            return chroma(3, 1, 0, 2, {1}, false);
        case PF_YCbCr709_8_CbYCr:
            return chroma(3, 1, 0, 2, {1}, true);
        default:
            return false;
    }
}

// One stream of pixels: a whole unpadded frame, or one line of a padded one.
struct Stream {
    const std::uint8_t* bytes;
    long size;
    std::uint8_t fill;
    int Byte(long i) const { return i < size ? bytes[i] : fill; }
};

struct Sample {
    unsigned value;  // of `bits` bits
    unsigned full8;  // at full 8-bit scale
};

inline Sample SampleAt(const Format& f, const Stream& s, long k, bool bigEndian) {
    unsigned v = 0;
    switch (f.pack) {
        case Pack::Byte:
            v = s.Byte(k);
            return {v, v};
        case Pack::Word: {
            const unsigned a = s.Byte(2 * k), b = s.Byte(2 * k + 1);
            const unsigned raw = bigEndian ? (a << 8) | b : (b << 8) | a;
            v = raw & ((1u << f.bits) - 1);
            return {v, v >> (f.bits - 8)};
        }
        case Pack::Stream: {
            const long bit = k * f.bits;
            for (int i = 0; i < f.bits; ++i) {
                const long at = bit + i;
                v |= ((s.Byte(at / 8) >> (at % 8)) & 1u) << i;
            }
            return {v, f.bits == 4 ? v * 17 : v >> (f.bits - 8)};
        }
        case Pack::GevPacked: {
            const long j = k / 2;
            const int low = f.bits - 8;
            const unsigned mid = s.Byte(3 * j + 1);
            const unsigned high = s.Byte(3 * j + (k % 2 ? 2 : 0));
            v = (high << low) | ((k % 2 ? mid >> 4 : mid) & ((1u << low) - 1));
            return {v, high};
        }
        default:
            return {0, 0};
    }
}

inline std::uint8_t Clamp(int v) {
    return static_cast<std::uint8_t>(std::clamp(v, 0, 255));
}

// Blue, green, red of a colour format's pixel.
inline void ColourAt(const Format& f, const Stream& s, long k, int bgr[3]) {
    auto e5 = [](unsigned x) { return static_cast<int>(x * 8.225806451612904 + 0.5); };
    auto e6 = [](unsigned x) { return static_cast<int>(x * 4.0476190476190474 + 0.5); };
    switch (f.pack) {
        case Pack::Rgb:
            bgr[0] = s.Byte(3 * k + 2), bgr[1] = s.Byte(3 * k + 1), bgr[2] = s.Byte(3 * k);
            return;
        case Pack::Bgr:
            bgr[0] = s.Byte(3 * k), bgr[1] = s.Byte(3 * k + 1), bgr[2] = s.Byte(3 * k + 2);
            return;
        case Pack::Rgb565:
        case Pack::Bgr565: {
            const unsigned v = s.Byte(2 * k) | (s.Byte(2 * k + 1) << 8);
            const int low = e5(v & 31), high = e5(v >> 11);
            bgr[1] = e6((v >> 5) & 63);
            bgr[0] = f.pack == Pack::Rgb565 ? high : low;
            bgr[2] = f.pack == Pack::Rgb565 ? low : high;
            return;
        }
        case Pack::Chroma: {
            const long g = k / f.groupPixels * f.groupBytes;
            const int y = s.Byte(g + f.y[k % f.groupPixels]);
            const int u = s.Byte(g + f.u) - 128, v = s.Byte(g + f.v) - 128;
            const double cr = f.bt709 ? 1.5748 : 1.402, cgv = f.bt709 ? 0.468124 : 0.714136;
            const double cgu = f.bt709 ? 0.187324 : 0.344136, cb = f.bt709 ? 1.8556 : 1.772;
            bgr[0] = Clamp(y + static_cast<int>(cb * u));
            bgr[1] = Clamp(y - static_cast<int>(cgv * v) - static_cast<int>(cgu * u));
            bgr[2] = Clamp(y + static_cast<int>(cr * v));
            return;
        }
        default:
            return;
    }
}

struct Frame {
    const Bytes* bytes;
    long w, h, padding;
    bool bigEndian;
};

inline long LineBytes(const Format& f, long w) {
    return w / f.groupPixels * f.groupBytes +
           (w % f.groupPixels * f.groupBytes + f.groupPixels - 1) / f.groupPixels;
}

// The stream holding pixel (x, y) and the pixel's index in it.
inline Stream StreamOf(const Format& f, const Frame& fr, long y, long x, long& k) {
    const std::uint8_t fill = f.pack == Pack::Chroma ? 128 : 0;
    if (fr.padding == 0) {
        const long p = fr.w * fr.h;
        k = y * fr.w + x;
        return {fr.bytes->data(),
                p / f.groupPixels * f.groupBytes + p % f.groupPixels * f.groupBytes / f.groupPixels,
                fill};
    }
    k = x;
    const long line = LineBytes(f, fr.w);
    return {fr.bytes->data() + y * (line + fr.padding), line, fill};
}

inline long Mirror(long i, long n) {
    if (i < 0) {
        i = -i;
    }
    if (i >= n) {
        i = 2 * n - 2 - i;
    }
    return std::clamp(i, 0L, n - 1);
}

inline int SiteColour(int order, long r, long c) {  // 0 red, 1 green, 2 blue
    static const int layout[4][2][2] = {
        {{1, 0}, {2, 1}}, {{0, 1}, {1, 2}}, {{1, 2}, {0, 1}}, {{2, 1}, {1, 0}}};
    return layout[order][r & 1][c & 1];
}

inline void BilinearAt(const Format& f, const Frame& fr, long y, long x, int bgr[3]) {
    auto M = [&](long r, long c) {
        long k = 0;
        const Stream s = StreamOf(f, fr, Mirror(r, fr.h), Mirror(c, fr.w), k);
        return static_cast<int>(SampleAt(f, s, k, fr.bigEndian).full8);
    };
    const int site = SiteColour(f.order, y, x);
    int rgb[3];
    if (site == 1) {
        const bool redRow = SiteColour(f.order, y, 0) == 0 || SiteColour(f.order, y, 1) == 0;
        const int horizontal = (M(y, x - 1) + M(y, x + 1)) >> 1;
        const int vertical = (M(y - 1, x) + M(y + 1, x)) >> 1;
        rgb[1] = M(y, x);
        rgb[0] = redRow ? horizontal : vertical;
        rgb[2] = redRow ? vertical : horizontal;
    } else {
        rgb[site] = M(y, x);
        rgb[1] = (M(y - 1, x) + M(y + 1, x) + M(y, x - 1) + M(y, x + 1)) >> 2;
        rgb[2 - site] =
            (M(y - 1, x - 1) + M(y - 1, x + 1) + M(y + 1, x - 1) + M(y + 1, x + 1)) >> 2;
    }
    bgr[0] = rgb[2], bgr[1] = rgb[1], bgr[2] = rgb[0];
}

// The converted frame, lines `stride` bytes apart; bytes between lines keep `gap`.
inline Bytes Expected(std::uint64_t code, const Frame& fr, PixelTarget target, long stride,
                      std::uint8_t gap) {
    Format f;
    Describe(code, f);
    const long pixelBytes = target == PixelTarget::Mono8    ? 1
                            : target == PixelTarget::Mono16 ? 2
                                                            : 3;
    Bytes out(static_cast<std::size_t>((fr.h - 1) * stride + fr.w * pixelBytes), gap);
    const bool sampled = f.pack <= Pack::GevPacked;
    for (long y = 0; y < fr.h; ++y) {
        for (long x = 0; x < fr.w; ++x) {
            std::uint8_t* o = &out[y * stride + x * pixelBytes];
            long k = 0;
            const Stream s = StreamOf(f, fr, y, x, k);
            int bgr[3] = {0, 0, 0};
            if (sampled && f.order < 0) {
                const Sample v = SampleAt(f, s, k, fr.bigEndian);
                if (target == PixelTarget::Mono16) {
                    o[0] = static_cast<std::uint8_t>(v.value),
                    o[1] = static_cast<std::uint8_t>(v.value >> 8);
                    continue;
                }
                bgr[0] = bgr[1] = bgr[2] = static_cast<int>(v.full8);
            } else if (sampled) {
                BilinearAt(f, fr, y, x, bgr);
            } else {
                ColourAt(f, s, k, bgr);
            }
            const int luma = (77 * bgr[2] + 150 * bgr[1] + 29 * bgr[0] + 128) >> 8;
            switch (target) {
                case PixelTarget::BGR8:
                    o[0] = Clamp(bgr[0]), o[1] = Clamp(bgr[1]), o[2] = Clamp(bgr[2]);
                    break;
                case PixelTarget::RGB8:
                    o[0] = Clamp(bgr[2]), o[1] = Clamp(bgr[1]), o[2] = Clamp(bgr[0]);
                    break;
                case PixelTarget::Mono8:
                    o[0] = Clamp(luma);
                    break;
                case PixelTarget::Mono16:
                    o[0] = static_cast<std::uint8_t>(luma), o[1] = 0;
                    break;
            }
        }
    }
    return out;
}

}  // namespace cmodel
