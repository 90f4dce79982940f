// Vectorised kernels of the right-colour conversions, compiled per instruction
// set and chosen at run time; each equals the scalar rule of TargetKernels.h.
#include "TargetKernels.h"

#include <cstddef>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imgtool/TargetKernels.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#ifndef LUMO_TARGET_KERNELS_ONCE
#define LUMO_TARGET_KERNELS_ONCE
namespace imgtool {

void UnpackGroup16(const unsigned char* g, std::uint16_t* dst, int bits, bool bitStream) {
    if (!bitStream) {
        const int low = bits - 8;
        const unsigned mask = (1u << low) - 1;
        dst[0] = static_cast<std::uint16_t>((g[0] << low) | (g[1] & mask));
        dst[1] = static_cast<std::uint16_t>((g[2] << low) | ((g[1] >> 4) & mask));
        return;
    }
    const unsigned pixels = bits == 12 || bits == 4 ? 2 : 4;
    const unsigned bytes = (pixels * static_cast<unsigned>(bits) + 7) / 8;
    std::uint64_t value = 0;
    for (unsigned k = 0; k < bytes; ++k) {
        value |= static_cast<std::uint64_t>(g[k]) << (8 * k);
    }
    const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
    for (unsigned k = 0; k < pixels; ++k) {
        dst[k] = static_cast<std::uint16_t>(value & mask);
        value >>= bits;
    }
}

}  // namespace imgtool
#endif

HWY_BEFORE_NAMESPACE();
namespace imgtool {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Eight samples from one 16-byte load: each lane gathers the two bytes that
// hold its sample, a per-lane multiply moves the sample to the top and a fixed
// shift brings it down.
struct Unpack16Plan {
    unsigned step;  // source bytes per 8 samples
    uint8_t pairs[16];
    uint16_t multiplier[8];
    int shift;
};

constexpr Unpack16Plan kStream10{
    10, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9}, {64, 16, 4, 1, 64, 16, 4, 1}, 6};
constexpr Unpack16Plan kStream12{
    12, {0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11}, {16, 1, 16, 1, 16, 1, 16, 1}, 4};
// Two-in-three packing: the high bytes and the shared low-bits byte per lane.
constexpr uint8_t kPackedHigh[16] = {0, 0x80, 2, 0x80, 3, 0x80, 5,  0x80,
                                     6, 0x80, 8, 0x80, 9, 0x80, 11, 0x80};
constexpr uint8_t kPackedLow[16] = {1, 0x80, 1, 0x80, 4,  0x80, 4,  0x80,
                                    7, 0x80, 7, 0x80, 10, 0x80, 10, 0x80};

void UnpackGroups16Impl(const uint8_t* src, uint16_t* dst, uint64_t groups, int bits,
                        bool bitStream) {
    unsigned groupBytes = 3;
    unsigned groupPixels = 2;
    if (bitStream) {
        groupPixels = bits == 12 || bits == 4 ? 2 : 4;
        groupBytes = (groupPixels * static_cast<unsigned>(bits) + 7) / 8;
    }
    const uint64_t pixels = groups * groupPixels;
    const uint64_t srcBytes = groups * groupBytes;
    uint64_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::Full128<uint8_t> d8;
    const hn::Full128<uint16_t> d16;
    uint64_t s = 0;
    if (bitStream && (bits == 10 || bits == 12)) {
        const Unpack16Plan& plan = bits == 10 ? kStream10 : kStream12;
        const auto pairs = hn::LoadU(d8, plan.pairs);
        const auto multiplier = hn::LoadU(d16, plan.multiplier);
        for (; i + 8 <= pixels && s + 16 <= srcBytes; i += 8, s += plan.step) {
            const auto lanes =
                hn::BitCast(d16, hn::TableLookupBytes(hn::LoadU(d8, src + s), pairs));
            const auto values = hn::ShiftRightSame(hn::Mul(lanes, multiplier), plan.shift);
            hn::StoreU(values, d16, dst + i);
        }
    } else if (!bitStream) {
        const auto high = hn::LoadU(d8, kPackedHigh);
        const auto low = hn::LoadU(d8, kPackedLow);
        alignas(16) static constexpr uint16_t kNibble[8] = {16, 1, 16, 1, 16, 1, 16, 1};
        const auto nibble = hn::Load(d16, kNibble);
        const int lowBits = bits - 8;
        const auto lowMask = hn::Set(d16, static_cast<uint16_t>((1u << lowBits) - 1));
        for (; i + 8 <= pixels && s + 16 <= srcBytes; i += 8, s += 12) {
            const auto bytes = hn::LoadU(d8, src + s);
            const auto h = hn::BitCast(d16, hn::TableLookupBytesOr0(bytes, high));
            const auto l = hn::BitCast(d16, hn::TableLookupBytesOr0(bytes, low));
            const auto lowBitsOf = hn::And(hn::ShiftRight<4>(hn::Mul(l, nibble)), lowMask);
            hn::StoreU(hn::Or(hn::ShiftLeftSame(h, lowBits), lowBitsOf), d16, dst + i);
        }
    }
#else
    (void)pixels;
    (void)srcBytes;
#endif
    for (uint64_t g = i / groupPixels; g < groups; ++g) {
        UnpackGroup16(src + g * groupBytes, dst + g * groupPixels, bits, bitStream);
    }
}

void Words16Impl(const uint8_t* src, uint16_t* dst, uint64_t pixels, int bits, bool bigEndian) {
    const hn::ScalableTag<uint16_t> d;
    const size_t n = hn::Lanes(d);
    const uint16_t maskValue = static_cast<uint16_t>(bits >= 16 ? 0xFFFF : (1u << bits) - 1);
    const auto mask = hn::Set(d, maskValue);
    uint64_t i = 0;
    for (; i + n <= pixels; i += n) {
        hn::Vec<decltype(d)> v = hn::LoadU(d, reinterpret_cast<const uint16_t*>(src + 2 * i));
        if (bigEndian) {
            v = hn::Or(hn::ShiftLeft<8>(v), hn::ShiftRight<8>(v));
        }
        hn::StoreU(hn::And(v, mask), d, dst + i);
    }
    for (; i < pixels; ++i) {
        const unsigned a = src[2 * i];
        const unsigned b = src[2 * i + 1];
        dst[i] = static_cast<uint16_t>((bigEndian ? (a << 8) | b : (b << 8) | a) & maskValue);
    }
}

void Widen8To16Impl(const uint8_t* src, uint16_t* dst, uint64_t pixels) {
    const hn::ScalableTag<uint16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const size_t n = hn::Lanes(d16);
    uint64_t i = 0;
    for (; i + n <= pixels; i += n) {
        hn::StoreU(hn::PromoteTo(d16, hn::LoadU(d8, src + i)), d16, dst + i);
    }
    for (; i < pixels; ++i) {
        dst[i] = src[i];
    }
}

void GrayToTripleImpl(const uint8_t* src, uint8_t* dst, uint64_t pixels) {
    const hn::ScalableTag<uint8_t> d;
    const size_t n = hn::Lanes(d);
    uint64_t i = 0;
    for (; i + n <= pixels; i += n) {
        const auto v = hn::LoadU(d, src + i);
        hn::StoreInterleaved3(v, v, v, d, dst + 3 * i);
    }
    for (; i < pixels; ++i) {
        dst[3 * i] = dst[3 * i + 1] = dst[3 * i + 2] = src[i];
    }
}

template <class D16>
HWY_INLINE hn::Vec<D16> Luma(D16 d16, const uint8_t* bgr) {
    const hn::Rebind<uint8_t, D16> d8;
    hn::Vec<decltype(d8)> b, g, r;
    hn::LoadInterleaved3(d8, bgr, b, g, r);
    auto sum = hn::Mul(hn::PromoteTo(d16, r), hn::Set(d16, 77));
    sum = hn::Add(sum, hn::Mul(hn::PromoteTo(d16, g), hn::Set(d16, 150)));
    sum = hn::Add(sum, hn::Mul(hn::PromoteTo(d16, b), hn::Set(d16, 29)));
    return hn::ShiftRight<8>(hn::Add(sum, hn::Set(d16, 128)));
}

void LumaOfBgrImpl(const uint8_t* bgr, uint8_t* dst, uint64_t pixels) {
    const hn::ScalableTag<uint16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const hn::Rebind<int16_t, decltype(d16)> di;
    const size_t n = hn::Lanes(d16);
    uint64_t i = 0;
    for (; i + n <= pixels; i += n) {
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, Luma(d16, bgr + 3 * i))), d8, dst + i);
    }
    for (; i < pixels; ++i) {
        dst[i] = static_cast<uint8_t>(LumaPixel(bgr + 3 * i));
    }
}

void LumaOfBgr16Impl(const uint8_t* bgr, uint16_t* dst, uint64_t pixels) {
    const hn::ScalableTag<uint16_t> d16;
    const size_t n = hn::Lanes(d16);
    uint64_t i = 0;
    for (; i + n <= pixels; i += n) {
        hn::StoreU(Luma(d16, bgr + 3 * i), d16, dst + i);
    }
    for (; i < pixels; ++i) {
        dst[i] = static_cast<uint16_t>(LumaPixel(bgr + 3 * i));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace imgtool
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace imgtool {

HWY_EXPORT(UnpackGroups16Impl);
HWY_EXPORT(Words16Impl);
HWY_EXPORT(Widen8To16Impl);
HWY_EXPORT(GrayToTripleImpl);
HWY_EXPORT(LumaOfBgrImpl);
HWY_EXPORT(LumaOfBgr16Impl);

void UnpackGroups16(const unsigned char* src, std::uint16_t* dst, std::uint64_t groups, int bits,
                    bool bitStream) {
    HWY_DYNAMIC_DISPATCH(UnpackGroups16Impl)(src, dst, groups, bits, bitStream);
}
void Words16(const unsigned char* src, std::uint16_t* dst, std::uint64_t pixels, int bits,
             bool bigEndian) {
    HWY_DYNAMIC_DISPATCH(Words16Impl)(src, dst, pixels, bits, bigEndian);
}
void Widen8To16(const unsigned char* src, std::uint16_t* dst, std::uint64_t pixels) {
    HWY_DYNAMIC_DISPATCH(Widen8To16Impl)(src, dst, pixels);
}
void GrayToTriple(const unsigned char* src, unsigned char* dst, std::uint64_t pixels) {
    HWY_DYNAMIC_DISPATCH(GrayToTripleImpl)(src, dst, pixels);
}
void LumaOfBgr(const unsigned char* bgr, unsigned char* dst, std::uint64_t pixels) {
    HWY_DYNAMIC_DISPATCH(LumaOfBgrImpl)(bgr, dst, pixels);
}
void LumaOfBgr16(const unsigned char* bgr, std::uint16_t* dst, std::uint64_t pixels) {
    HWY_DYNAMIC_DISPATCH(LumaOfBgr16Impl)(bgr, dst, pixels);
}

}  // namespace imgtool
#endif
