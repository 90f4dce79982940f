#include <algorithm>
#include <cstring>
#include <new>

#include "ConvertCommon.h"
#include "ImageTool.h"
#include "PixelFormats.h"

namespace VEXOGENICAM {

namespace {

const unsigned char* In(const char* p) {
    return reinterpret_cast<const unsigned char*>(p);
}
unsigned char* Out(char* p) {
    return reinterpret_cast<unsigned char*>(p);
}

// A zeroed result block of `channels` bytes per pixel, or null for a null
// frame or a size that cannot be allocated.
char* NewResult(const char* buffer, std::uint64_t w, std::uint64_t h, unsigned channels,
                std::uint64_t& pixels) {
    if (buffer == nullptr || !imgtool::PixelCount(w, h, pixels)) {
        return nullptr;
    }
    return new (std::nothrow) char[static_cast<std::size_t>(pixels * channels)]();
}

// Converts every group that starts inside the n source bytes; a final group
// that runs past them is completed with neutral bytes (128), and no pixel past
// the frame is written.
char* ConvertYuv(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pf,
                 const imgtool::YuvLayout& layout) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result == nullptr) {
        return nullptr;
    }
    std::int32_t tr[256], tgv[256], tb[256], tgu[256];
    InitYUVTab(pf, tr, tgv, tb, tgu);
    const imgtool::ChromaTables tables{tr, tgv, tgu, tb};
    const std::uint64_t n = pixels * 2 * layout.groupBytes / (2 * layout.pixels);
    const unsigned char* src = In(buffer);
    unsigned char* dst = Out(result);
    std::uint64_t pixel = 0;
    for (std::uint64_t offset = 0; offset < n; offset += layout.groupBytes) {
        const unsigned todo =
            static_cast<unsigned>(std::min<std::uint64_t>(layout.pixels, pixels - pixel));
        if (offset + layout.groupBytes <= n) {
            imgtool::YuvGroup(tables, layout, src + offset, dst + 3 * pixel, todo);
        } else {
            unsigned char group[6];
            std::memset(group, 128, sizeof group);
            std::memcpy(group, src + offset, static_cast<std::size_t>(n - offset));
            imgtool::YuvGroup(tables, layout, group, dst + 3 * pixel, todo);
        }
        pixel += layout.pixels;
        if (pixel >= pixels) {
            break;
        }
    }
    return result;
}

template <typename Reduce>
char* ReduceThenDemosaic(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pattern,
                         Reduce reduce) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result == nullptr) {
        return nullptr;
    }
    reduce(Out(result), pixels);
    TransBayerToGRB(pattern, Out(result), Out(result), w, h);
    return result;
}

}  // namespace

void TransDualToSingle(int bits, const unsigned short* source, unsigned char* destination,
                       std::uint64_t pixelCount, bool nativeOrder) {
    imgtool::DualToSingle(reinterpret_cast<const unsigned char*>(source), destination, pixelCount,
                          bits, nativeOrder);
}

void TransPackedToSingle(int /*bits*/, const unsigned char* source, unsigned char* destination,
                         std::uint64_t pixelCount) {
    imgtool::UnpackGroups(source, destination, pixelCount >> 1, 0);
}

void TransMonoPToSingle(int bits, const unsigned char* source, unsigned char* destination,
                        std::uint64_t pixelCount) {
    unsigned groupBytes = 0;
    unsigned groupPixels = 0;
    if (!imgtool::PGroup(bits, groupBytes, groupPixels)) {
        return;
    }
    const std::uint64_t groups = pixelCount / groupPixels;
    imgtool::UnpackGroups(source, destination, groups, bits);
    const std::uint64_t done = groups * groupPixels;
    if (done == pixelCount) {
        return;
    }
    const std::uint64_t available = (pixelCount * static_cast<unsigned>(bits)) >> 3;
    unsigned char group[8] = {};
    std::memcpy(group, source + groups * groupBytes,
                static_cast<std::size_t>(available - groups * groupBytes));
    unsigned char pixels[8] = {};
    imgtool::UnpackPGroup(group, groupBytes, groupPixels, bits, pixels);
    std::memcpy(destination + done, pixels, static_cast<std::size_t>(pixelCount - done));
}

char* TransMono8(char* buffer) {
    return buffer;
}

char* TransBGR(char* buffer, std::uint64_t /*width*/, std::uint64_t /*height*/) {
    return buffer;
}

char* TransDualMono(char* buffer, std::uint64_t w, std::uint64_t h, int bits, bool nativeOrder) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 1, pixels);
    if (result != nullptr) {
        TransDualToSingle(bits, reinterpret_cast<const unsigned short*>(buffer), Out(result),
                          pixels, nativeOrder);
    }
    return result;
}

char* TransPackedMono(char* buffer, std::uint64_t w, std::uint64_t h, int bits) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 1, pixels);
    if (result != nullptr) {
        TransPackedToSingle(bits, In(buffer), Out(result), pixels);
    }
    return result;
}

char* TransMonoP(char* buffer, std::uint64_t w, std::uint64_t h, int bits) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 1, pixels);
    if (result != nullptr) {
        TransMonoPToSingle(bits, In(buffer), Out(result), pixels);
    }
    return result;
}

char* TransBayer8(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pattern) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result != nullptr) {
        TransBayerToGRB(pattern, In(buffer), Out(result), w, h);
    }
    return result;
}

char* TransDualBayer(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pattern,
                     int bits) {
    return ReduceThenDemosaic(buffer, w, h, pattern, [&](unsigned char* out, std::uint64_t p) {
        TransDualToSingle(bits, reinterpret_cast<const unsigned short*>(buffer), out, p, true);
    });
}

char* TransPackedBayer(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pattern,
                       int bits) {
    return ReduceThenDemosaic(buffer, w, h, pattern, [&](unsigned char* out, std::uint64_t p) {
        TransPackedToSingle(bits, In(buffer), out, p);
    });
}

char* TransBayerP(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pattern, int bits) {
    return ReduceThenDemosaic(buffer, w, h, pattern, [&](unsigned char* out, std::uint64_t p) {
        TransMonoPToSingle(bits, In(buffer), out, p);
    });
}

char* TransRGB(char* buffer, std::uint64_t w, std::uint64_t h) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result != nullptr) {
        imgtool::SwapRedBlue(In(buffer), Out(result), pixels);
    }
    return result;
}

char* TransRGB565p(char* buffer, std::uint64_t w, std::uint64_t h) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result != nullptr) {
        imgtool::Unpack565(In(buffer), Out(result), pixels, true);
    }
    return result;
}

char* TransBGR565p(char* buffer, std::uint64_t w, std::uint64_t h) {
    std::uint64_t pixels = 0;
    char* result = NewResult(buffer, w, h, 3, pixels);
    if (result != nullptr) {
        imgtool::Unpack565(In(buffer), Out(result), pixels, false);
    }
    return result;
}

char* TransYUV411_8_UYYVYY(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kUyyvyy);
}
char* TransYUV422_8_UYVY(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kUyvy);
}
char* TransYUV422_8(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kYuyv);
}
char* TransYUV8_UYV(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kUyv);
}
char* TransYCbCr422_8(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kYuyv);
}
char* TransYCbCr709_422_8(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return TransYCbCr422_8(b, w, h, pf);
}
char* TransYCbCr709_8_CbYCr(char* b, std::uint64_t w, std::uint64_t h, std::uint64_t pf) {
    return ConvertYuv(b, w, h, pf, imgtool::kCbYCr);
}

char* TransImage(char* buffer, std::uint64_t w, std::uint64_t h, std::uint64_t pf,
                 bool nativeOrder) {
    switch (pf) {
        case PF_Mono8:
        case PF_Mono8s:
            return TransMono8(buffer);
        case PF_BGR8:
            return TransBGR(buffer, w, h);
        case PF_BayerGR8:
        case PF_BayerRG8:
        case PF_BayerGB8:
        case PF_BayerBG8:
            return TransBayer8(buffer, w, h, pf);
        case PF_Mono10p:
        case PF_Mono12p:
        case PF_Mono14p:
            return TransMonoP(buffer, w, h, imgtool::SampleBitsOf(pf));
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
            return TransBayerP(buffer, w, h, imgtool::BayerPatternOf(pf),
                               imgtool::SampleBitsOf(pf));
        case PF_Mono10Packed:
        case PF_Mono12Packed:
            return TransPackedMono(buffer, w, h, imgtool::SampleBitsOf(pf));
        case PF_BayerGR10Packed:
        case PF_BayerRG10Packed:
        case PF_BayerGB10Packed:
        case PF_BayerBG10Packed:
        case PF_BayerGR12Packed:
        case PF_BayerRG12Packed:
        case PF_BayerGB12Packed:
        case PF_BayerBG12Packed:
            return TransPackedBayer(buffer, w, h, imgtool::BayerPatternOf(pf),
                                    imgtool::SampleBitsOf(pf));
        case PF_Mono10:
        case PF_Mono12:
        case PF_Mono14:
            return TransDualMono(buffer, w, h, imgtool::SampleBitsOf(pf), true);
        case PF_Mono16:
            return TransDualMono(buffer, w, h, 16, nativeOrder);
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
            return TransDualBayer(buffer, w, h, imgtool::BayerPatternOf(pf),
                                  imgtool::SampleBitsOf(pf));
        case PF_YUV411_8_UYYVYY:
            return TransYUV411_8_UYYVYY(buffer, w, h, pf);
        case PF_YUV422_8_UYVY:
            return TransYUV422_8_UYVY(buffer, w, h, pf);
        case PF_YUV422_8:
            return TransYUV422_8(buffer, w, h, pf);
        case PF_RGB565p:
            return TransRGB565p(buffer, w, h);
        case PF_BGR565p:
            return TransBGR565p(buffer, w, h);
        case PF_YCbCr422_8:
            return TransYCbCr422_8(buffer, w, h, pf);
        case PF_YCbCr709_422_8:
            return TransYCbCr709_422_8(buffer, w, h, pf);
        case PF_RGB8:
            return TransRGB(buffer, w, h);
        case PF_YUV8_UYV:
            return TransYUV8_UYV(buffer, w, h, pf);
        case PF_YCbCr709_8_CbYCr:
            return TransYCbCr709_8_CbYCr(buffer, w, h, pf);
        default:
            return nullptr;
    }
}

}  // namespace VEXOGENICAM
