#pragma once

// Plain per-pixel model of every conversion rule, written for clarity, not
// speed; the exactness tests compare the library with it bit for bit.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "PixelFormats.h"

namespace model {

using Bytes = std::vector<std::uint8_t>;
using namespace VEXOGENICAM;

struct Tables {
    int tr[256], tgv[256], tgu[256], tb[256];
};

inline Tables MakeTables(double r, double gv, double gu, double b) {
    Tables t{};
    for (int i = 0; i < 256; ++i) {
        t.tr[i] = static_cast<int>(r * (i - 128));
        t.tgv[i] = static_cast<int>(gv * (i - 128));
        t.tgu[i] = static_cast<int>(gu * (i - 128));
        t.tb[i] = static_cast<int>(b * (i - 128));
    }
    return t;
}
inline Tables Yuv() {
    return MakeTables(1.370705, 0.698001, 0.337633, 1.732446);
}
inline Tables YCbCr() {
    return MakeTables(1.53965, 0.18314, 0.45768, 1.81418);
}
inline Tables Zero() {
    return MakeTables(0, 0, 0, 0);
}

inline std::uint8_t Clamp(int v) {
    return static_cast<std::uint8_t>(std::clamp(v, 0, 255));
}

inline void YuvPixel(const Tables& t, int y, int u, int v, std::uint8_t* out) {
    out[0] = Clamp(y + t.tb[u]);
    out[1] = Clamp(y - t.tgv[v] - t.tgu[u]);
    out[2] = Clamp(y + t.tr[v]);
}

// Group description: bytes, pixels, U offset, V offset, Y offsets.
struct Layout {
    int bytes, pixels, u, v, y[4];
};
inline constexpr Layout kYUYV{4, 2, 1, 3, {0, 2}};
inline constexpr Layout kUYVY{4, 2, 0, 2, {1, 3}};
inline constexpr Layout kUYYVYY{6, 4, 0, 3, {1, 2, 4, 5}};
inline constexpr Layout kUYV{3, 1, 0, 2, {1}};
inline constexpr Layout kCbYCr{3, 1, 2, 0, {1}};

// Camera path: complete groups only.
inline void YuvCamera(const Tables& t, const Layout& l, const Bytes& src, Bytes& dst, long p) {
    const long n = p * l.bytes / l.pixels;
    long d = 0;
    for (long off = 0; off < n - (l.bytes - 1); off += l.bytes) {
        for (int k = 0; k < l.pixels; ++k, ++d) {
            YuvPixel(t, src[off + l.y[k]], src[off + l.u], src[off + l.v], &dst[3 * d]);
        }
    }
}

// Free path: every group starting below n; bytes past n read as 128; pixels
// past the frame dropped.
inline void YuvFree(const Tables& t, const Layout& l, const Bytes& src, Bytes& dst, long p) {
    const long n = p * l.bytes / l.pixels;
    auto at = [&](long i) { return i < n ? src[i] : 128; };
    long d = 0;
    for (long off = 0; off < n; off += l.bytes) {
        for (int k = 0; k < l.pixels; ++k, ++d) {
            if (d < p) {
                YuvPixel(t, at(off + l.y[k]), at(off + l.u), at(off + l.v), &dst[3 * d]);
            }
        }
    }
}

inline std::uint8_t Dual(const Bytes& src, long i, int bits, bool native) {
    unsigned v = native ? src[2 * i] | (src[2 * i + 1] << 8) : src[2 * i + 1] | (src[2 * i] << 8);
    return static_cast<std::uint8_t>((v >> ((bits - 8) & 31)) & 0xFF);
}

inline void Packed(const Bytes& src, Bytes& dst, long p) {
    for (long j = 0; j < p / 2; ++j) {
        dst[2 * j] = src[3 * j];
        dst[2 * j + 1] = src[3 * j + 2];
    }
}

// completeOnly: camera path; otherwise the final group is read with missing
// bytes as 0 and only pixels inside the frame are kept.
inline void MonoP(const Bytes& src, Bytes& dst, long p, int bits, bool completeOnly) {
    const int gb = bits == 10 ? 5 : bits == 12 ? 3 : 7;
    const int gp = bits == 12 ? 2 : 4;
    const long available = p * bits / 8;
    for (long d = 0, s = 0; d < p; d += gp, s += gb) {
        if (completeOnly && d + gp > p) {
            break;
        }
        std::uint64_t value = 0;
        for (int k = 0; k < gb; ++k) {
            if (s + k < available) {
                value |= std::uint64_t{src[s + k]} << (8 * k);
            }
        }
        for (int k = 0; k < gp; ++k) {
            const std::uint64_t sample = value & ((1u << bits) - 1);
            value >>= bits;
            if (d + k < p) {
                dst[d + k] = static_cast<std::uint8_t>(sample >> (bits - 8));
            }
        }
    }
}

inline int Colour(int order, long r, long c) {  // 0 R, 1 G, 2 B
    static const int layout[4][2][2] = {
        {{1, 0}, {2, 1}}, {{0, 1}, {1, 2}}, {{1, 2}, {0, 1}}, {{2, 1}, {1, 0}}};
    return layout[order][r & 1][c & 1];
}

// Camera path bilinear demosaic, steps 1 to 5 in order.
inline void BayerCamera(int order, const Bytes& s, Bytes& d, long w, long h) {
    auto S = [&](long r, long c) { return int{s[r * w + c]}; };
    auto put = [&](long r, long c, int b, int g, int rr) {
        d[3 * (r * w + c)] = static_cast<std::uint8_t>(b);
        d[3 * (r * w + c) + 1] = static_cast<std::uint8_t>(g);
        d[3 * (r * w + c) + 2] = static_cast<std::uint8_t>(rr);
    };
    auto block = [&](long r0, long c0, long gRow, int& b, int& g, int& rr) {
        for (long r = r0; r < r0 + 2; ++r) {
            for (long c = c0; c < c0 + 2; ++c) {
                const int col = Colour(order, r, c);
                if (col == 0)
                    rr = S(r, c);
                if (col == 2)
                    b = S(r, c);
                if (col == 1 && r == gRow)
                    g = S(r, c);
            }
        }
    };
    int b = 0, g = 0, rr = 0;
    long W = w, H = h;
    if (w % 2) {
        for (long r = 0; r < h - 1; r += 2) {
            block(r, w - 2, r, b, g, rr);
            put(r, w - 1, b, g, rr);
            put(r + 1, w - 1, b, g, rr);
        }
        W = w - 1;
    }
    if (h % 2) {
        for (long c = 0; c < w - 1; c += 2) {
            block(h - 2, c, h - 1, b, g, rr);
            put(h - 1, c, b, g, rr);
            put(h - 1, c + 1, b, g, rr);
        }
        if (w % 2) {
            block(h - 2, w - 2, h - 1, b, g, rr);
            put(h - 1, w - 1, b, g, rr);
        }
        H = h - 1;
    }
    for (long c = 0; c < W - 1; c += 2) {
        block(0, c, 0, b, g, rr);
        put(0, c, b, g, rr);
        put(0, c + 1, b, g, rr);
        block(H - 2, c, H - 1, b, g, rr);
        put(H - 1, c, b, g, rr);
        put(H - 1, c + 1, b, g, rr);
    }
    for (long r = 0; r < H - 1; r += 2) {
        block(r, 0, r, b, g, rr);
        put(r, 0, b, g, rr);
        put(r + 1, 0, b, g, rr);
        block(r, W - 2, r, b, g, rr);
        put(r, W - 1, b, g, rr);
        put(r + 1, W - 1, b, g, rr);
    }
    for (int r0 = 1; r0 < static_cast<int>(H) - 2; r0 += 2) {
        for (int c0 = 1; c0 - 1 < static_cast<int>(W) - 3; c0 += 2) {
            for (long r = r0; r < r0 + 2; ++r) {
                for (long c = c0; c < c0 + 2; ++c) {
                    const int col = Colour(order, r, c);
                    int ch[3];
                    if (col == 1) {
                        const int horizontalColour = Colour(order, r, c - 1);
                        ch[1] = S(r, c);
                        ch[horizontalColour] = (S(r, c - 1) + S(r, c + 1)) >> 1;
                        ch[2 - horizontalColour] = (S(r - 1, c) + S(r + 1, c)) >> 1;
                    } else {
                        ch[col] = S(r, c);
                        ch[1] = (S(r - 1, c) + S(r, c - 1) + S(r, c + 1) + S(r + 1, c)) >> 2;
                        ch[2 - col] = (S(r - 1, c - 1) + S(r - 1, c + 1) + S(r + 1, c - 1) +
                                       S(r + 1, c + 1)) >>
                                      2;
                    }
                    put(r, c, ch[2], ch[1], ch[0]);
                }
            }
        }
    }
}

// Free path: nearest-neighbour planes, then the fixed-parity pass.
inline void BayerFree(int order, const Bytes& s, Bytes& d, long w, long h) {
    std::vector<int> R(w * h), G(w * h), B(w * h);
    auto S = [&](long r, long c) -> int {
        if (c >= w)
            c -= 2;
        if (r >= h)
            r -= 2;
        return (r < 0 || c < 0) ? 0 : s[r * w + c];
    };
    for (long r = 0; r < h; r += 2) {
        for (long c = 0; c < w; c += 2) {
            int red = 0, blue = 0, green[2] = {0, 0};
            for (int dr = 0; dr < 2; ++dr) {
                for (int dc = 0; dc < 2; ++dc) {
                    const int col = Colour(order, dr, dc);
                    if (col == 0)
                        red = S(r + dr, c + dc);
                    if (col == 2)
                        blue = S(r + dr, c + dc);
                    if (col == 1)
                        green[dr] = S(r + dr, c + dc);
                }
            }
            for (int dr = 0; dr < 2; ++dr) {
                for (int dc = 0; dc < 2; ++dc) {
                    if (r + dr < h && c + dc < w) {
                        R[(r + dr) * w + c + dc] = red;
                        B[(r + dr) * w + c + dc] = blue;
                        G[(r + dr) * w + c + dc] = green[dr];
                    }
                }
            }
        }
    }
    auto P = [&](std::vector<int>& X, long r, long c) { return X[r * w + c]; };
    for (long r = 0; r < h; ++r) {
        for (long c = 0; c < w; ++c) {
            int red, green, blue;
            if (r == 0 || c == 0 || r == h - 1 || c == w - 1) {
                red = P(R, r, c), green = P(G, r, c), blue = P(B, r, c);
            } else {
                const int k = (c & 1) + 2 * (r & 1);
                const int cross =
                    (P(G, r - 1, c) + P(G, r, c - 1) + P(G, r, c + 1) + P(G, r + 1, c)) >> 2;
                if (k == 0) {
                    red = P(R, r, c);
                    green = cross;
                    blue = (P(B, r - 1, c - 1) + P(B, r - 1, c + 1) + P(B, r + 1, c - 1) +
                            P(B, r + 1, c + 1)) >>
                           2;
                } else if (k == 1) {
                    red = (P(R, r, c - 1) + P(R, r, c + 1)) >> 1;
                    green = P(G, r, c);
                    blue = (P(B, r - 1, c) + P(B, r + 1, c)) >> 1;
                } else {
                    red = (P(R, r - 1, c - 1) + P(R, r - 1, c + 1) + P(R, r + 1, c - 1) +
                           P(R, r + 1, c + 1)) >>
                          2;
                    green = cross;
                    blue = P(B, r, c);
                }
            }
            d[3 * (r * w + c)] = static_cast<std::uint8_t>(blue);
            d[3 * (r * w + c) + 1] = static_cast<std::uint8_t>(green);
            d[3 * (r * w + c) + 2] = static_cast<std::uint8_t>(red);
        }
    }
}

inline std::uint8_t Five(int x) {
    return static_cast<std::uint8_t>(static_cast<int>(x * 8.225806451612904 + 0.5));
}
inline std::uint8_t Six(int x) {
    return static_cast<std::uint8_t>(static_cast<int>(x * 4.0476190476190474 + 0.5));
}

inline void Rgb565(const Bytes& s, Bytes& d, long p, bool lowFirst) {
    for (long i = 0; i < p; ++i) {
        const int v = s[2 * i] | (s[2 * i + 1] << 8);
        const std::uint8_t lo = Five(v & 31), mid = Six((v >> 5) & 63), hi = Five(v >> 11);
        d[3 * i] = lowFirst ? lo : hi;
        d[3 * i + 1] = mid;
        d[3 * i + 2] = lowFirst ? hi : lo;
    }
}

enum class Kind {
    Mono8,
    Bayer8,
    MonoP,
    BayerP,
    MonoPacked,
    BayerPacked,
    Dual,
    DualBayer,
    Rgb8,
    Bgr8,
    Rgb565,
    Bgr565,
    YuvLike
};

struct Format {
    std::uint64_t code;
    Kind kind;
    int bits;
    int order;  // Bayer colour order, 0 GR, 1 RG, 2 GB, 3 BG
    Layout layout;
};

inline std::vector<Format> AllConvertible() {
    std::vector<Format> f = {
        {PF_Mono8, Kind::Mono8, 8, 0, {}},
        {PF_Mono8s, Kind::Mono8, 8, 0, {}},
        {PF_BayerGR8, Kind::Bayer8, 8, 0, {}},
        {PF_BayerRG8, Kind::Bayer8, 8, 1, {}},
        {PF_BayerGB8, Kind::Bayer8, 8, 2, {}},
        {PF_BayerBG8, Kind::Bayer8, 8, 3, {}},
        {PF_Mono10p, Kind::MonoP, 10, 0, {}},
        {PF_Mono12p, Kind::MonoP, 12, 0, {}},
        {PF_Mono14p, Kind::MonoP, 14, 0, {}},
        {PF_BayerBG10p, Kind::BayerP, 10, 3, {}},
        {PF_BayerGB10p, Kind::BayerP, 10, 2, {}},
        {PF_BayerGR10p, Kind::BayerP, 10, 0, {}},
        {PF_BayerRG10p, Kind::BayerP, 10, 1, {}},
        {PF_BayerBG12p, Kind::BayerP, 12, 3, {}},
        {PF_BayerGB12p, Kind::BayerP, 12, 2, {}},
        {PF_BayerGR12p, Kind::BayerP, 12, 0, {}},
        {PF_BayerRG12p, Kind::BayerP, 12, 1, {}},
        {PF_BayerGR14p, Kind::BayerP, 14, 0, {}},
        {PF_BayerRG14p, Kind::BayerP, 14, 1, {}},
        {PF_BayerGB14p, Kind::BayerP, 14, 2, {}},
        {PF_BayerBG14p, Kind::BayerP, 14, 3, {}},
        {PF_Mono10Packed, Kind::MonoPacked, 10, 0, {}},
        {PF_Mono12Packed, Kind::MonoPacked, 12, 0, {}},
        {PF_BayerGR10Packed, Kind::BayerPacked, 10, 0, {}},
        {PF_BayerRG10Packed, Kind::BayerPacked, 10, 1, {}},
        {PF_BayerGB10Packed, Kind::BayerPacked, 10, 2, {}},
        {PF_BayerBG10Packed, Kind::BayerPacked, 10, 3, {}},
        {PF_BayerGR12Packed, Kind::BayerPacked, 12, 0, {}},
        {PF_BayerRG12Packed, Kind::BayerPacked, 12, 1, {}},
        {PF_BayerGB12Packed, Kind::BayerPacked, 12, 2, {}},
        {PF_BayerBG12Packed, Kind::BayerPacked, 12, 3, {}},
        {PF_Mono10, Kind::Dual, 10, 0, {}},
        {PF_Mono12, Kind::Dual, 12, 0, {}},
        {PF_Mono16, Kind::Dual, 16, 0, {}},
        {PF_Mono14, Kind::Dual, 14, 0, {}},
        {PF_YUV411_8_UYYVYY, Kind::YuvLike, 8, 0, kUYYVYY},
        {PF_YUV422_8_UYVY, Kind::YuvLike, 8, 0, kUYVY},
        {PF_YUV422_8, Kind::YuvLike, 8, 0, kYUYV},
        {PF_YCbCr422_8, Kind::YuvLike, 8, 0, kYUYV},
        {PF_YCbCr709_422_8, Kind::YuvLike, 8, 0, kYUYV},
        {PF_RGB565p, Kind::Rgb565, 8, 0, {}},
        {PF_BGR565p, Kind::Bgr565, 8, 0, {}},
        {PF_RGB8, Kind::Rgb8, 8, 0, {}},
        {PF_BGR8, Kind::Bgr8, 8, 0, {}},
        {PF_YUV8_UYV, Kind::YuvLike, 8, 0, kUYV},
        {PF_YCbCr709_8_CbYCr, Kind::YuvLike, 8, 0, kCbYCr},
    };
    const std::uint64_t dualBayer[4][4] = {
        {PF_BayerGR10, PF_BayerRG10, PF_BayerGB10, PF_BayerBG10},
        {PF_BayerGR12, PF_BayerRG12, PF_BayerGB12, PF_BayerBG12},
        {PF_BayerGR14, PF_BayerRG14, PF_BayerGB14, PF_BayerBG14},
        {PF_BayerGR16, PF_BayerRG16, PF_BayerGB16, PF_BayerBG16}};
    for (int b = 0; b < 4; ++b) {
        for (int o = 0; o < 4; ++o) {
            f.push_back({dualBayer[b][o], Kind::DualBayer, 10 + 2 * b, o, {}});
        }
    }
    return f;
}

inline Tables CameraTables(std::uint64_t code) {
    return (code == PF_YCbCr422_8 || code == PF_YCbCr709_422_8 || code == PF_YCbCr709_8_CbYCr)
               ? YCbCr()
               : Yuv();
}

inline Tables FreeTables(std::uint64_t code) {
    if (code == PF_YCbCr709_422_8 || code == PF_YCbCr709_8_CbYCr)
        return YCbCr();
    if (code == PF_YCbCr422_8)
        return Zero();
    return Yuv();
}

// Expected result of either front door for a frame; pixels a routine leaves
// unwritten are 0 (both doors hand out zeroed blocks on first use).
inline Bytes Expected(const Format& f, const Bytes& src, long w, long h, bool native, bool free) {
    const long p = w * h;
    Bytes single(p, 0);
    Bytes rgb(3 * p, 0);
    auto demosaic = [&](const Bytes& mosaic) {
        if (free) {
            BayerFree(f.order, mosaic, rgb, w, h);
        } else if (w >= 2 && h >= 2) {
            BayerCamera(f.order, mosaic, rgb, w, h);
        }
        return rgb;
    };
    switch (f.kind) {
        case Kind::Mono8:
            return src;
        case Kind::Bgr8:
            return src;
        case Kind::Bayer8:
            return demosaic(src);
        case Kind::MonoP:
            MonoP(src, single, p, f.bits, !free);
            return single;
        case Kind::BayerP:
            MonoP(src, single, p, f.bits, !free);
            return demosaic(single);
        case Kind::MonoPacked:
            Packed(src, single, p);
            return single;
        case Kind::BayerPacked:
            Packed(src, single, p);
            return demosaic(single);
        case Kind::Dual:
            for (long i = 0; i < p; ++i)
                single[i] = Dual(src, i, f.bits, (free && f.bits != 16) || native);
            return single;
        case Kind::DualBayer:
            for (long i = 0; i < p; ++i)
                single[i] = Dual(src, i, f.bits, true);
            return demosaic(single);
        case Kind::Rgb8:
            for (long i = 0; i < p; ++i) {
                rgb[3 * i] = src[3 * i + 2], rgb[3 * i + 1] = src[3 * i + 1],
                        rgb[3 * i + 2] = src[3 * i];
            }
            return rgb;
        case Kind::Rgb565:
            Rgb565(src, rgb, p, true);
            return rgb;
        case Kind::Bgr565:
            Rgb565(src, rgb, p, false);
            return rgb;
        case Kind::YuvLike:
            if (free) {
                YuvFree(FreeTables(f.code), f.layout, src, rgb, p);
            } else {
                YuvCamera(CameraTables(f.code), f.layout, src, rgb, p);
            }
            return rgb;
    }
    return {};
}

}  // namespace model
