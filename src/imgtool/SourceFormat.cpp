#include "SourceFormat.h"

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

bool DescribeBayer(std::uint64_t pf, SourceFormat& f) {
    if (pf >= PF_BayerGR4p && pf <= PF_BayerBG4p) {
        // The 4p codes run GR, RG, GB, BG like the 8-bit ones.
        f = Sampled(Packing::BitStream, 4, static_cast<int>(pf - PF_BayerGR4p));
        return true;
    }
    const int order = BayerOrder(BayerPatternOf(pf));
    const int bits = SampleBitsOf(pf);
    switch (pf) {
        case PF_BayerGR8:
        case PF_BayerRG8:
        case PF_BayerGB8:
        case PF_BayerBG8:
            f = Sampled(Packing::Byte, 8, BayerOrder(pf));
            return true;
        case PF_BayerBG10p:
        case PF_BayerGB10p:
        case PF_BayerGR10p:
        case PF_BayerRG10p:
        case PF_BayerBG12p:
        case PF_BayerGB12p:
        case PF_BayerGR12p:
        case PF_BayerRG12p:
        case PF_BayerGR14p:
        case PF_BayerRG14p:
        case PF_BayerGB14p:
        case PF_BayerBG14p:
            f = Sampled(Packing::BitStream, bits, order);
            return true;
        case PF_BayerGR10Packed:
        case PF_BayerRG10Packed:
        case PF_BayerGB10Packed:
        case PF_BayerBG10Packed:
        case PF_BayerGR12Packed:
        case PF_BayerRG12Packed:
        case PF_BayerGB12Packed:
        case PF_BayerBG12Packed:
            f = Sampled(Packing::GevPacked, bits, order);
            return true;
        case PF_BayerGR10:
        case PF_BayerRG10:
        case PF_BayerGB10:
        case PF_BayerBG10:
        case PF_BayerGR12:
        case PF_BayerRG12:
        case PF_BayerGB12:
        case PF_BayerBG12:
        case PF_BayerGR14:
        case PF_BayerRG14:
        case PF_BayerGB14:
        case PF_BayerBG14:
        case PF_BayerGR16:
        case PF_BayerRG16:
        case PF_BayerGB16:
        case PF_BayerBG16:
            f = Sampled(Packing::Word, bits, order);
            return true;
        default:
            return false;
    }
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
