#include "RowDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "TargetKernels.h"

namespace imgtool {

namespace {

// Full-range inverse of the luma and colour-difference encoding:
// R = Y + cR V', G = Y - cGu U' - cGv V', B = Y + cB U', with U' = U - 128.
struct ChromaSet {
    std::int32_t TR[256], TGv[256], TGu[256], TB[256];
    ChromaTables tables;
    ChromaFixed fixed;

    ChromaSet(double cR, double cGv, double cGu, double cB) : tables{TR, TGv, TGu, TB} {
        for (int i = 0; i < 256; ++i) {
            // Truncated like the camera path's tables, so that its 4:2:2 kernel serves.
            TR[i] = static_cast<std::int32_t>(cR * (i - 128));
            TGv[i] = static_cast<std::int32_t>(cGv * (i - 128));
            TGu[i] = static_cast<std::int32_t>(cGu * (i - 128));
            TB[i] = static_cast<std::int32_t>(cB * (i - 128));
        }
        fixed = FitChroma(tables);
    }
};

const ChromaSet& ChromaSetOf(ColourStandard standard) {
    // Kr, Kb of BT.601 (0.299, 0.114) and BT.709 (0.2126, 0.0722).
    static const ChromaSet bt601(1.402, 0.714136, 0.344136, 1.772);
    static const ChromaSet bt709(1.5748, 0.468124, 0.187324, 1.8556);
    return standard == ColourStandard::Bt709 ? bt709 : bt601;
}

std::size_t PixelBytes(int kind) {
    return kind == 0 ? 1 : kind == 1 ? 2 : 3;
}

}  // namespace

void RowDecoder::Samples8(std::uint64_t y, unsigned char* out) {
    Decode(Kind::Samples8, y, out);
}

void RowDecoder::Samples16(std::uint64_t y, std::uint16_t* out) {
    Decode(Kind::Samples16, y, reinterpret_cast<unsigned char*>(out));
}

void RowDecoder::Bgr(std::uint64_t y, unsigned char* out) {
    Decode(Kind::Bgr, y, out);
}

void RowDecoder::Decode(Kind kind, std::uint64_t y, unsigned char* out) {
    const SourceFormat& f = m_frame.format;
    const std::uint64_t width = m_frame.width;
    const unsigned char* stream = m_frame.data;
    std::uint64_t available = m_frame.streamBytes;
    std::uint64_t first = y * width;
    if (m_frame.padded) {
        stream += y * m_frame.lineStride;
        available = m_frame.lineBytes;
        first = 0;
    }
    const std::uint64_t g0 = first / f.groupPixels;
    const std::uint64_t skip = first % f.groupPixels;
    const std::uint64_t end = first + width;
    const std::uint64_t gEnd = (end + f.groupPixels - 1) / f.groupPixels;
    const std::uint64_t complete = std::min(gEnd, available / f.groupBytes);
    const std::size_t pixelBytes = PixelBytes(static_cast<int>(kind));
    if (skip == 0 && end % f.groupPixels == 0 && complete == gEnd) {
        Groups(kind, stream + g0 * f.groupBytes, gEnd - g0, out);
        return;
    }
    // A line that starts or ends inside a group: whole groups into scratch, a
    // group cut short by the end of the stream from a filled copy.
    const std::uint64_t groups = gEnd - g0;
    m_scratch.resize(static_cast<std::size_t>(groups * f.groupPixels * pixelBytes));
    unsigned char* tmp = m_scratch.data();
    const std::uint64_t direct = complete > g0 ? complete - g0 : 0;
    Groups(kind, stream + g0 * f.groupBytes, direct, tmp);
    for (std::uint64_t g = g0 + direct; g < gEnd; ++g) {
        unsigned char group[8];
        std::memset(group, f.FillByte(), sizeof group);
        const std::uint64_t at = g * f.groupBytes;
        if (at < available) {
            std::memcpy(group, stream + at, static_cast<std::size_t>(available - at));
        }
        Groups(kind, group, 1, tmp + (g - g0) * f.groupPixels * pixelBytes);
    }
    std::memcpy(out, tmp + skip * pixelBytes, static_cast<std::size_t>(width * pixelBytes));
}

void RowDecoder::Groups(Kind kind, const unsigned char* src, std::uint64_t groups,
                        unsigned char* out) {
    if (groups == 0) {
        return;
    }
    const SourceFormat& f = m_frame.format;
    const std::uint64_t pixels = groups * f.groupPixels;
    auto* out16 = reinterpret_cast<std::uint16_t*>(out);
    switch (f.packing) {
        case Packing::Byte:
            if (kind == Kind::Samples16) {
                Widen8To16(src, out16, pixels);
            } else {
                std::memcpy(out, src, static_cast<std::size_t>(pixels));
            }
            return;
        case Packing::Word:
            if (kind == Kind::Samples16) {
                Words16(src, out16, pixels, f.bits, m_frame.bigEndian16);
            } else {
                DualToSingle(src, out, pixels, f.bits, !m_frame.bigEndian16);
            }
            return;
        case Packing::BitStream:
        case Packing::GevPacked: {
            const bool stream = f.packing == Packing::BitStream;
            if (kind == Kind::Samples16) {
                UnpackGroups16(src, out16, groups, f.bits, stream);
            } else if (f.bits == 4) {
                for (std::uint64_t g = 0; g < groups; ++g) {
                    out[2 * g] = static_cast<unsigned char>((src[g] & 15) * 17);
                    out[2 * g + 1] = static_cast<unsigned char>((src[g] >> 4) * 17);
                }
            } else {
                UnpackGroups(src, out, groups, stream ? f.bits : 0);
            }
            return;
        }
        case Packing::Rgb:
            SwapRedBlue(src, out, pixels);
            return;
        case Packing::Bgr:
            std::memcpy(out, src, static_cast<std::size_t>(3 * pixels));
            return;
        case Packing::Rgb565:
        case Packing::Bgr565:
            Unpack565(src, out, pixels, f.packing == Packing::Bgr565);
            return;
        case Packing::Chroma: {
            const ChromaSet& set = ChromaSetOf(f.standard);
            if (f.layout.groupBytes == 4) {
                Yuv422Groups(set.tables, set.fixed, f.layout.u == 0, src, out, groups);
                return;
            }
            for (std::uint64_t g = 0; g < groups; ++g) {
                YuvGroup(set.tables, f.layout, src + g * f.groupBytes, out + 3 * g * f.groupPixels,
                         f.groupPixels);
            }
            return;
        }
    }
}

}  // namespace imgtool
