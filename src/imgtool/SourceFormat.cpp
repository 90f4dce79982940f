#include "SourceFormat.h"

#include <algorithm>
#include <iterator>

#include "PixelFormats.h"

namespace imgtool {

namespace {

using namespace VEXOGENICAM;

SourceFormat Sampled(Packing packing, int bits, int order) {
    SourceFormat f;
    f.packing = packing;
    f.bits = bits;
    f.bayerOrder = order;
    switch (packing) {
        case Packing::Word:
            f.groupBytes = 2;
            break;
        case Packing::GevPacked:
            f.groupPixels = 2;
            f.groupBytes = 3;
            break;
        case Packing::BitStream:
            if (bits == 4) {
                f.groupPixels = 2;
                f.groupBytes = 1;
            } else {
                PGroup(bits, f.groupBytes, f.groupPixels);
            }
            break;
        default:
            break;
    }
    return f;
}

SourceFormat Colour(Packing packing, unsigned groupBytes) {
    SourceFormat f;
    f.packing = packing;
    f.groupBytes = groupBytes;
    return f;
}

SourceFormat Chroma(const YuvLayout& layout, ColourStandard standard) {
    SourceFormat f;
    f.packing = Packing::Chroma;
    f.layout = layout;
    f.groupPixels = layout.pixels;
    f.groupBytes = layout.groupBytes;
    f.standard = standard;
    return f;
}

bool Within(std::uint64_t pf, std::uint64_t first, std::uint64_t last) {
    return pf >= first && pf <= last;
}

// The Bayer families by their code ranges; the colour order and the depth come
// from the same tables the camera path uses.
bool DescribeBayer(std::uint64_t pf, SourceFormat& f) {
    if (Within(pf, PF_BayerGR4p, PF_BayerBG4p)) {
        // The 4p codes run GR, RG, GB, BG like the 8-bit ones.
        f = Sampled(Packing::BitStream, 4, static_cast<int>(pf - PF_BayerGR4p));
        return true;
    }
    if (Within(pf, PF_BayerGR8, PF_BayerBG8)) {
        f = Sampled(Packing::Byte, 8, BayerOrder(pf));
        return true;
    }
    static constexpr std::uint64_t kBitStream[] = {
        PF_BayerBG10p, PF_BayerGB10p, PF_BayerGR10p, PF_BayerRG10p, PF_BayerBG12p, PF_BayerGB12p,
        PF_BayerGR12p, PF_BayerRG12p, PF_BayerGR14p, PF_BayerRG14p, PF_BayerGB14p, PF_BayerBG14p};
    Packing packing = Packing::Byte;
    if (Within(pf, PF_BayerGR10Packed, PF_BayerBG12Packed)) {
        packing = Packing::GevPacked;
    } else if (Within(pf, PF_BayerGR10, PF_BayerBG12) || Within(pf, PF_BayerGR16, PF_BayerBG16) ||
               Within(pf, PF_BayerGR14, PF_BayerBG14)) {
        packing = Packing::Word;
    } else if (std::find(std::begin(kBitStream), std::end(kBitStream), pf) !=
               std::end(kBitStream)) {
        packing = Packing::BitStream;
    } else {
        return false;
    }
    f = Sampled(packing, SampleBitsOf(pf), BayerOrder(BayerPatternOf(pf)));
    return true;
}

}  // namespace

bool DescribeFormat(std::uint64_t pf, SourceFormat& f) {
    if (DescribeBayer(pf, f)) {
        return true;
    }
    switch (pf) {
        case PF_Mono8:
        case PF_Mono8s:
            // Cameras and the simulator fill Mono8s like Mono8.
            f = Sampled(Packing::Byte, 8, -1);
            return true;
        case PF_Mono10p:
        case PF_Mono12p:
        case PF_Mono14p:
            f = Sampled(Packing::BitStream, SampleBitsOf(pf), -1);
            return true;
        case PF_Mono10Packed:
        case PF_Mono12Packed:
            f = Sampled(Packing::GevPacked, SampleBitsOf(pf), -1);
            return true;
        case PF_Mono10:
        case PF_Mono12:
        case PF_Mono14:
        case PF_Mono16:
            f = Sampled(Packing::Word, SampleBitsOf(pf), -1);
            return true;
        case PF_RGB8:
            f = Colour(Packing::Rgb, 3);
            return true;
        case PF_BGR8:
            f = Colour(Packing::Bgr, 3);
            return true;
        case PF_RGB565p:
            f = Colour(Packing::Rgb565, 2);
            return true;
        case PF_BGR565p:
            f = Colour(Packing::Bgr565, 2);
            return true;
        case PF_YUV411_8_UYYVYY:
            f = Chroma(kUyyvyy, ColourStandard::Bt601);
            return true;
        case PF_YUV422_8_UYVY:
            f = Chroma(kUyvy, ColourStandard::Bt601);
            return true;
        case PF_YUV422_8:
        case PF_YCbCr422_8:
            f = Chroma(kYuyv, ColourStandard::Bt601);
            return true;
        case PF_YCbCr709_422_8:
            f = Chroma(kYuyv, ColourStandard::Bt709);
            return true;
        case PF_YUV8_UYV:
            f = Chroma(kUyv, ColourStandard::Bt601);
            return true;
        case PF_YCbCr709_8_CbYCr:
            // Cb Y Cr has the shape of U Y V.
            f = Chroma(kUyv, ColourStandard::Bt709);
            return true;
        default:
            return false;
    }
}

bool StreamBytes(const SourceFormat& f, std::uint64_t pixels, std::uint64_t& bytes) {
    const std::uint64_t groups = pixels / f.groupPixels;
    const std::uint64_t rest = pixels % f.groupPixels;
    if (groups > UINT64_MAX / f.groupBytes) {
        return false;
    }
    bytes = groups * f.groupBytes + rest * f.groupBytes / f.groupPixels;
    return true;
}

bool LineBytes(const SourceFormat& f, std::uint64_t pixels, std::uint64_t& bytes) {
    const std::uint64_t groups = pixels / f.groupPixels;
    const std::uint64_t rest = pixels % f.groupPixels;
    if (groups > UINT64_MAX / f.groupBytes - 1) {
        return false;
    }
    bytes = groups * f.groupBytes + (rest * f.groupBytes + f.groupPixels - 1) / f.groupPixels;
    return true;
}

}  // namespace imgtool
