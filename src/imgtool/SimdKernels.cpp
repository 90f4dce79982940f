// Vectorised inner loops, compiled once per instruction set and chosen at run
// time. Each one is bit-exact with the scalar rule it replaces (ScalarRules.h
// and ConvertCommon.h); tails that do not fill a vector use the scalar rule.
#include <cstddef>
#include <cstdint>

#include "ConvertCommon.h"
#include "ScalarRules.h"
#include "ImageToolEx.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imgtool/SimdKernels.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace imgtool {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// floor((a + b) / 2) without widening.
template <class V>
HWY_INLINE V AverageDown(V a, V b) {
    return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

// floor((a + b + c + d) / 4) from the two pair means and their dropped bits:
// the sum of the dropped halves adds one to the final mean only when both exist.
template <class D, class V>
HWY_INLINE V QuadMean(D d, V a, V b, V c, V e) {
    const V one = hn::Set(d, 1);
    const V ab = AverageDown(a, b);
    const V ce = AverageDown(c, e);
    const V carry = hn::And(hn::And(hn::Xor(a, b), hn::Xor(c, e)), hn::And(hn::Xor(ab, ce), one));
    return hn::Add(AverageDown(ab, ce), carry);
}

void BayerRowImpl(const uint8_t* up, const uint8_t* mid, const uint8_t* down, uint8_t* dst,
                  uint64_t x0, uint64_t x1, bool redRow, bool greenAtEven) {
    const hn::ScalableTag<uint8_t> d;
    const size_t n = hn::Lanes(d);
    uint64_t x = x0;
    if (x1 - x0 >= n) {
        // Green sites of a vector starting at an even and at an odd column; the
        // start's parity picks one (a one-lane vector changes parity every step).
        const auto one = hn::Set(d, 1);
        const auto greenParity = hn::Set(d, greenAtEven ? 0 : 1);
        const auto greenFromEven = hn::Eq(hn::And(hn::Iota(d, 0), one), greenParity);
        const auto greenFromOdd = hn::Eq(hn::And(hn::Iota(d, 1), one), greenParity);
        auto row = [&](uint64_t at) {
            const auto isGreen = (at & 1) == 0 ? greenFromEven : greenFromOdd;
            const auto l = hn::LoadU(d, mid + at - 1);
            const auto c = hn::LoadU(d, mid + at);
            const auto r = hn::LoadU(d, mid + at + 1);
            const auto u = hn::LoadU(d, up + at);
            const auto b = hn::LoadU(d, down + at);
            const auto horizontal = AverageDown(l, r);
            const auto vertical = AverageDown(u, b);
            const auto crossCarry = hn::And(hn::And(hn::Xor(l, r), hn::Xor(u, b)),
                                            hn::And(hn::Xor(horizontal, vertical), one));
            const auto cross = hn::Add(AverageDown(horizontal, vertical), crossCarry);
            const auto diagonal =
                QuadMean(d, hn::LoadU(d, up + at - 1), hn::LoadU(d, up + at + 1),
                         hn::LoadU(d, down + at - 1), hn::LoadU(d, down + at + 1));
            const auto green = hn::IfThenElse(isGreen, c, cross);
            const auto own = hn::IfThenElse(isGreen, horizontal, c);
            const auto other = hn::IfThenElse(isGreen, vertical, diagonal);
            if (redRow) {
                hn::StoreInterleaved3(other, green, own, d, dst + 3 * at);
            } else {
                hn::StoreInterleaved3(own, green, other, d, dst + 3 * at);
            }
        };
        for (; x + n <= x1; x += n) {
            row(x);
        }
        // The last partial vector is redone overlapping the previous one.
        if (x < x1) {
            row(x1 - n);
            x = x1;
        }
    }
    for (; x < x1; ++x) {
        const bool green = ((x & 1) == 0) == greenAtEven;
        BayerInteriorPixel(up, mid, down, x, redRow, green, dst + 3 * x);
    }
}

// Five pixels per 16-byte shuffle; each store's last byte is rewritten by the
// next step, which starts 15 bytes further on.
void SwapRedBlueImpl(const uint8_t* src, uint8_t* dst, uint64_t pixels) {
    uint64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::Full128<uint8_t> d;
    alignas(16) static constexpr uint8_t kSwap[16] = {2, 1,  0,  5, 4,  3,  8,  7,
                                                      6, 11, 10, 9, 14, 13, 12, 15};
    const auto swap = hn::Load(d, kSwap);
    const uint64_t bytes = 3 * pixels;
    auto five = [&](uint64_t at) {
        hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, src + at), swap), d, dst + at);
    };
    for (; 3 * i + 60 + 16 <= bytes; i += 20) {
        five(3 * i);
        five(3 * i + 15);
        five(3 * i + 30);
        five(3 * i + 45);
    }
    for (; 3 * i + 16 <= bytes; i += 5) {
        five(3 * i);
    }
#endif
    for (; i < pixels; ++i) {
        dst[3 * i] = src[3 * i + 2];
        dst[3 * i + 1] = src[3 * i + 1];
        dst[3 * i + 2] = src[3 * i];
    }
}

void DualImpl(const uint8_t* src, uint8_t* dst, uint64_t pixels, int bits, bool nativeOrder) {
    uint64_t i = 0;
    const int shift = static_cast<int>(static_cast<unsigned>(bits - 8) & 31);
    if (shift <= 8) {
        // Bytes split into low and high planes; the wanted 8 bits straddle them.
        const hn::ScalableTag<uint8_t> d;
        const hn::RebindToSigned<decltype(d)> di;
        const size_t n = hn::Lanes(d);
        const auto lowShift = hn::Set(d, static_cast<uint8_t>(shift));
        (void)di;
        for (; i + n <= pixels; i += n) {
            hn::Vec<decltype(d)> a, b;
            hn::LoadInterleaved2(d, src + 2 * i, a, b);
            const auto low = nativeOrder ? a : b;
            const auto high = nativeOrder ? b : a;
            hn::Vec<decltype(d)> out;
            if (shift == 8) {
                out = high;
            } else if (shift == 0) {
                out = low;
            } else {
                out = hn::Or(hn::ShiftRightSame(low, shift), hn::ShiftLeftSame(high, 8 - shift));
            }
            (void)lowShift;
            hn::StoreU(out, d, dst + i);
        }
    }
    for (; i < pixels; ++i) {
        dst[i] = DualPixel(src + 2 * i, bits, nativeOrder);
    }
}

// Eight output pixels from one 16-byte load: a byte shuffle puts the two bytes
// holding each sample's top 8 bits into a 16-bit lane, a multiply-high shifts
// each lane by its own amount, and the low bytes are kept.
struct UnpackPlan {
    unsigned step;        // source bytes per 8 pixels
    uint8_t shuffle[16];  // byte pair per lane, 0x80 = zero
    uint16_t multiplier[8];
};

constexpr UnpackPlan kPlan10{
    10,
    {0, 1, 1, 2, 2, 3, 0x80, 4, 5, 6, 6, 7, 7, 8, 0x80, 9},
    {1 << 14, 1 << 12, 1 << 10, 1 << 8, 1 << 14, 1 << 12, 1 << 10, 1 << 8}};
constexpr UnpackPlan kPlan12{12,
                             {0, 1, 0x80, 2, 3, 4, 0x80, 5, 6, 7, 0x80, 8, 9, 10, 0x80, 11},
                             {1 << 12, 1 << 8, 1 << 12, 1 << 8, 1 << 12, 1 << 8, 1 << 12, 1 << 8}};
constexpr UnpackPlan kPlan14{
    14,
    {0, 1, 2, 3, 4, 5, 0x80, 6, 7, 8, 9, 10, 11, 12, 0x80, 13},
    {1 << 10, 1 << 12, 1 << 14, 1 << 8, 1 << 10, 1 << 12, 1 << 14, 1 << 8}};
constexpr UnpackPlan kPlanPacked{
    12,
    {0x80, 0, 0x80, 2, 0x80, 3, 0x80, 5, 0x80, 6, 0x80, 8, 0x80, 9, 0x80, 11},
    {1 << 8, 1 << 8, 1 << 8, 1 << 8, 1 << 8, 1 << 8, 1 << 8, 1 << 8}};

void UnpackGroupsImpl(const uint8_t* src, uint8_t* dst, uint64_t groups, int bits) {
    const UnpackPlan& plan = bits == 10   ? kPlan10
                             : bits == 12 ? kPlan12
                             : bits == 14 ? kPlan14
                                          : kPlanPacked;
    unsigned groupBytes = 3;
    unsigned groupPixels = 2;
    if (bits != 0) {
        PGroup(bits, groupBytes, groupPixels);
    }
    const uint64_t pixels = groups * groupPixels;
    const uint64_t srcBytes = groups * groupBytes;
    uint64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::Full128<uint8_t> d8;
    const hn::Full128<uint16_t> d16;
    const hn::Full64<uint8_t> dOut;
    const hn::Full128<int16_t> di16;
    const auto shuffle = hn::LoadU(d8, plan.shuffle);
    const auto multiplier = hn::LoadU(d16, plan.multiplier);
    const auto lowByte = hn::Set(d16, 0xFF);
    uint64_t s = 0;
    auto eight = [&](uint64_t from, uint64_t to) {
        const auto bytes = hn::TableLookupBytesOr0(hn::LoadU(d8, src + from), shuffle);
        const auto lanes = hn::MulHigh(hn::BitCast(d16, bytes), multiplier);
        hn::StoreU(hn::DemoteTo(dOut, hn::BitCast(di16, hn::And(lanes, lowByte))), dOut, dst + to);
    };
    for (; i + 32 <= pixels && s + 3 * plan.step + 16 <= srcBytes; i += 32, s += 4 * plan.step) {
        eight(s, i);
        eight(s + plan.step, i + 8);
        eight(s + 2 * plan.step, i + 16);
        eight(s + 3 * plan.step, i + 24);
    }
    for (; i + 8 <= pixels && s + 16 <= srcBytes; i += 8, s += plan.step) {
        eight(s, i);
    }
#else
    (void)plan;
    (void)pixels;
    (void)srcBytes;
#endif
    for (uint64_t g = i / groupPixels; g < groups; ++g) {
        const uint8_t* in = src + g * groupBytes;
        uint8_t* out = dst + g * groupPixels;
        if (bits == 0) {
            out[0] = in[0];
            out[1] = in[2];
        } else {
            UnpackPGroup(in, groupBytes, groupPixels, bits, out);
        }
    }
}

void Yuv422Impl(const ChromaTables& t, const ChromaFixed& f, bool uyvy, const uint8_t* src,
                uint8_t* dst, uint64_t groups) {
    uint64_t g = 0;
    if (f.exact) {
        const hn::ScalableTag<uint16_t> d;
        const hn::RebindToSigned<decltype(d)> di;
        const size_t n = hn::Lanes(d);
        const auto low = hn::Set(d, 0xFF);
        const auto bias = hn::Set(di, 128);
        const auto zero = hn::Zero(di);
        const auto top = hn::Set(di, 255);
        auto term = [&](auto ad, auto negative, int k) {
            auto v = hn::MulHigh(ad, hn::Set(d, f.fraction[k]));
            if (f.whole[k] != 0) {
                v = hn::Add(v, hn::Mul(ad, hn::Set(d, f.whole[k])));
            }
            const auto s = hn::BitCast(di, v);
            return hn::IfThenElse(negative, hn::Neg(s), s);
        };
        auto clamp = [&](auto v) { return hn::BitCast(d, hn::Min(hn::Max(v, zero), top)); };
        for (; g + n <= groups; g += n) {
            hn::Vec<decltype(d)> a, b;
            hn::LoadInterleaved2(d, reinterpret_cast<const uint16_t*>(src + 4 * g), a, b);
            const auto y0 = hn::BitCast(di, uyvy ? hn::ShiftRight<8>(a) : hn::And(a, low));
            const auto y1 = hn::BitCast(di, uyvy ? hn::ShiftRight<8>(b) : hn::And(b, low));
            const auto u = hn::BitCast(di, uyvy ? hn::And(a, low) : hn::ShiftRight<8>(a));
            const auto v = hn::BitCast(di, uyvy ? hn::And(b, low) : hn::ShiftRight<8>(b));
            const auto du = hn::Sub(u, bias);
            const auto dv = hn::Sub(v, bias);
            const auto nu = hn::Lt(du, zero);
            const auto nv = hn::Lt(dv, zero);
            const auto au = hn::BitCast(d, hn::Abs(du));
            const auto av = hn::BitCast(d, hn::Abs(dv));
            const auto red = term(av, nv, 0);
            const auto green = hn::Add(term(av, nv, 1), term(au, nu, 2));
            const auto blue = term(au, nu, 3);
            const auto w0 =
                hn::Or(clamp(hn::Add(y0, blue)), hn::ShiftLeft<8>(clamp(hn::Sub(y0, green))));
            const auto w1 =
                hn::Or(clamp(hn::Add(y0, red)), hn::ShiftLeft<8>(clamp(hn::Add(y1, blue))));
            const auto w2 =
                hn::Or(clamp(hn::Sub(y1, green)), hn::ShiftLeft<8>(clamp(hn::Add(y1, red))));
            hn::StoreInterleaved3(w0, w1, w2, d, reinterpret_cast<uint16_t*>(dst + 6 * g));
        }
    }
    const YuvLayout& layout = uyvy ? kUyvy : kYuyv;
    for (; g < groups; ++g) {
        YuvGroup(t, layout, src + 4 * g, dst + 6 * g, 2);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace imgtool
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace imgtool {

HWY_EXPORT(BayerRowImpl);
HWY_EXPORT(SwapRedBlueImpl);
HWY_EXPORT(DualImpl);
HWY_EXPORT(UnpackGroupsImpl);
HWY_EXPORT(Yuv422Impl);

namespace {

bool FitTerm(const std::int32_t* table, uint16_t& whole, uint16_t& fraction) {
    const std::int32_t top = table[255] >= 0 ? table[255] : -table[255];
    whole = static_cast<uint16_t>(top / 127);
    for (uint32_t m = 0; m < 65536; ++m) {
        bool ok = true;
        for (int i = 0; i < 256 && ok; ++i) {
            const int dlt = i - 128;
            const uint32_t ad = static_cast<uint32_t>(dlt < 0 ? -dlt : dlt);
            const int32_t mag = static_cast<int32_t>(whole * ad + ((ad * m) >> 16));
            ok = (dlt < 0 ? -mag : mag) == table[i];
        }
        if (ok) {
            fraction = static_cast<uint16_t>(m);
            return true;
        }
    }
    return false;
}

}  // namespace

ChromaFixed FitChroma(const ChromaTables& t) {
    ChromaFixed f{};
    const std::int32_t* tables[4] = {t.TR, t.TGv, t.TGu, t.TB};
    f.exact = true;
    for (int k = 0; k < 4; ++k) {
        f.exact = FitTerm(tables[k], f.whole[k], f.fraction[k]) && f.exact;
    }
    return f;
}

namespace {

const ChromaFixed& FixedFor(const ChromaTables& t) {
    static const ChromaFixed yuv =
        FitChroma(ChromaTables{ImageToolEx::g_yuvTab.TR, ImageToolEx::g_yuvTab.TGv,
                               ImageToolEx::g_yuvTab.TGu, ImageToolEx::g_yuvTab.TB});
    static const ChromaFixed ycbcr =
        FitChroma(ChromaTables{ImageToolEx::g_ycbcrTab.TR, ImageToolEx::g_ycbcrTab.TGv,
                               ImageToolEx::g_ycbcrTab.TGu, ImageToolEx::g_ycbcrTab.TB});
    static const ChromaFixed none{};
    if (t.TR == ImageToolEx::g_yuvTab.TR) {
        return yuv;
    }
    if (t.TR == ImageToolEx::g_ycbcrTab.TR) {
        return ycbcr;
    }
    return none;
}

}  // namespace

void BayerInteriorRow(const unsigned char* up, const unsigned char* mid, const unsigned char* down,
                      unsigned char* dst, std::uint64_t x0, std::uint64_t x1, bool redRow,
                      bool greenAtEvenColumn) {
    if (x1 <= x0) {
        return;
    }
    HWY_DYNAMIC_DISPATCH(BayerRowImpl)(up, mid, down, dst, x0, x1, redRow, greenAtEvenColumn);
}

void Yuv422Groups(const ChromaTables& t, bool uyvy, const unsigned char* src, unsigned char* dst,
                  std::uint64_t groups) {
    HWY_DYNAMIC_DISPATCH(Yuv422Impl)(t, FixedFor(t), uyvy, src, dst, groups);
}

void Yuv422Groups(const ChromaTables& t, const ChromaFixed& fixed, bool uyvy,
                  const unsigned char* src, unsigned char* dst, std::uint64_t groups) {
    HWY_DYNAMIC_DISPATCH(Yuv422Impl)(t, fixed, uyvy, src, dst, groups);
}

void SwapRedBlue(const unsigned char* src, unsigned char* dst, std::uint64_t pixels) {
    HWY_DYNAMIC_DISPATCH(SwapRedBlueImpl)(src, dst, pixels);
}

void DualToSingle(const unsigned char* src, unsigned char* dst, std::uint64_t pixels, int bits,
                  bool nativeOrder) {
    HWY_DYNAMIC_DISPATCH(DualImpl)(src, dst, pixels, bits, nativeOrder);
}

void UnpackGroups(const unsigned char* src, unsigned char* dst, std::uint64_t groups, int bits) {
    HWY_DYNAMIC_DISPATCH(UnpackGroupsImpl)(src, dst, groups, bits);
}

}  // namespace imgtool
#endif
