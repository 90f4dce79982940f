#include <new>

#include "CImgTool.h"
#include "ConvertCommon.h"
#include "ImageToolEx.h"
#include "PixelFormats.h"

using namespace VEXOGENICAM;

namespace {

const unsigned char* In(const char* p) {
    return reinterpret_cast<const unsigned char*>(p);
}
unsigned char* Out(char* p) {
    return reinterpret_cast<unsigned char*>(p);
}
const unsigned short* In16(const char* p) {
    return reinterpret_cast<const unsigned short*>(p);
}

// Kept buffers start zeroed so that pixels a routine leaves unwritten are
// deterministic on the first frame.
std::unique_ptr<char[]> NewBlock(std::uint64_t size) {
    return std::make_unique<char[]>(static_cast<std::size_t>(size));
}

char* KeptOrNew(bool allocateEachTime, std::unique_ptr<char[]>& kept, std::uint64_t& keptSize,
                std::uint64_t size) {
    if (allocateEachTime) {
        return NewBlock(size).release();
    }
    if (kept != nullptr && keptSize == size) {
        return kept.get();
    }
    kept.reset();
    keptSize = 0;
    kept = NewBlock(size);
    keptSize = size;
    return kept.get();
}

}  // namespace

CImgTool::CImgTool(bool allocateEachTime) : m_allocateEachTime(allocateEachTime) {}

CImgTool::~CImgTool() = default;

char* CImgTool::GetSingleBuf(std::uint64_t size) {
    return KeptOrNew(m_allocateEachTime, m_singleBuf, m_singleSize, size);
}

char* CImgTool::GetRgbBuf(std::uint64_t size) {
    return KeptOrNew(m_allocateEachTime, m_rgbBuf, m_rgbSize, size);
}

void CImgTool::ReleaseBuf(char*& buffer) {
    if (buffer == nullptr || buffer == m_singleBuf.get() || buffer == m_rgbBuf.get()) {
        return;
    }
    delete[] buffer;
    buffer = nullptr;
}

char* CImgTool::Finish(bool converted, char* result) {
    if (!converted) {
        ReleaseBuf(result);
    }
    return result;
}

char* CImgTool::TransImage(char* buffer, std::uint64_t width, std::uint64_t height,
                           std::uint64_t pf, bool /*ignoredFlag*/, bool nativeOrder) {
    std::uint64_t pixels = 0;
    if (buffer == nullptr || width == 0 || height == 0 ||
        !imgtool::PixelCount(width, height, pixels)) {
        return nullptr;
    }
    try {
        switch (pf) {
            case PF_Mono8:
            case PF_Mono8s:
            case PF_BGR8:
                return buffer;
            case PF_BayerGR8:
            case PF_BayerRG8:
            case PF_BayerGB8:
            case PF_BayerBG8:
                return TransBayer(pf, buffer, width, height);
            case PF_Mono10p:
            case PF_Mono12p:
            case PF_Mono14p:
                return TransMonoP(buffer, width, height, imgtool::SampleBitsOf(pf));
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
                return TransBayerP(imgtool::BayerPatternOf(pf), buffer, width, height,
                                   imgtool::SampleBitsOf(pf));
            case PF_Mono10Packed:
            case PF_Mono12Packed:
                return TransPacked(buffer, width, height, imgtool::SampleBitsOf(pf));
            case PF_BayerGR10Packed:
            case PF_BayerRG10Packed:
            case PF_BayerGB10Packed:
            case PF_BayerBG10Packed:
            case PF_BayerGR12Packed:
            case PF_BayerRG12Packed:
            case PF_BayerGB12Packed:
            case PF_BayerBG12Packed:
                return TransPackedBayer(imgtool::BayerPatternOf(pf), buffer, width, height,
                                        imgtool::SampleBitsOf(pf));
            case PF_Mono10:
            case PF_Mono12:
            case PF_Mono14:
            case PF_Mono16:
                return TransDual(buffer, width, height, imgtool::SampleBitsOf(pf), nativeOrder);
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
                return TransDualBayer(imgtool::BayerPatternOf(pf), buffer, width, height,
                                      imgtool::SampleBitsOf(pf));
            case PF_YUV411_8_UYYVYY:
                return TransYUV411_8_UYYVYY(buffer, width, height);
            case PF_YUV422_8_UYVY:
                return TransYUV422_8_UYVY(buffer, width, height);
            case PF_YUV422_8:
                return TransYUV422_8(buffer, width, height);
            case PF_RGB565p:
                return TransRGB565p(buffer, width, height);
            case PF_BGR565p:
                return TransBGR565p(buffer, width, height);
            case PF_YCbCr422_8:
                return TransYCbCr422_8(buffer, width, height);
            case PF_YCbCr709_422_8:
                return TransYCbCr709_422_8(buffer, width, height);
            case PF_RGB8:
                return TransRGB(buffer, width, height);
            case PF_YUV8_UYV:
                return TransYUV8_UYV(buffer, width, height);
            case PF_YCbCr709_8_CbYCr:
                return TransYCbCr709_8_CbYCr(buffer, width, height);
            default:
                return nullptr;
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

char* CImgTool::TransDual(char* buffer, std::uint64_t w, std::uint64_t h, int bits,
                          bool nativeOrder) {
    char* out = GetSingleBuf(w * h);
    return Finish(ImageToolEx::TransDual(In16(buffer), Out(out), w, h, bits, nativeOrder), out);
}

char* CImgTool::TransPacked(char* buffer, std::uint64_t w, std::uint64_t h, int /*bits*/) {
    char* out = GetSingleBuf(w * h);
    return Finish(ImageToolEx::TransPacked(In(buffer), Out(out), w, h), out);
}

char* CImgTool::TransMonoP(char* buffer, std::uint64_t w, std::uint64_t h, int bits) {
    char* out = GetSingleBuf(w * h);
    return Finish(ImageToolEx::TransMonoP(In(buffer), Out(out), w, h, bits), out);
}

char* CImgTool::TransBayer(std::uint64_t pattern, char* buffer, std::uint64_t w, std::uint64_t h) {
    Routine routine = nullptr;
    switch (pattern) {
        case PF_BayerGR8:
            routine = ImageToolEx::TransBayerGR8;
            break;
        case PF_BayerRG8:
            routine = ImageToolEx::TransBayerRG8;
            break;
        case PF_BayerGB8:
            routine = ImageToolEx::TransBayerGB8;
            break;
        case PF_BayerBG8:
            routine = ImageToolEx::TransBayerBG8;
            break;
        default:
            break;
    }
    char* out = GetRgbBuf(3 * w * h);
    return Finish(routine != nullptr && routine(In(buffer), Out(out), w, h), out);
}

namespace {

// Reduction to one byte per pixel, then the demosaic; the single-channel block
// is kept in reuse mode and freed in allocating mode.
template <typename Reduce>
char* TwoStep(CImgTool& tool, std::uint64_t pattern, std::uint64_t w, std::uint64_t h,
              Reduce reduce) {
    char* single = reduce();
    if (single == nullptr) {
        return nullptr;
    }
    char* result = tool.TransBayer(pattern, single, w, h);
    tool.ReleaseBuf(single);
    return result;
}

}  // namespace

char* CImgTool::TransDualBayer(std::uint64_t pattern, char* buffer, std::uint64_t w,
                               std::uint64_t h, int bits) {
    return TwoStep(*this, pattern, w, h, [&] { return TransDual(buffer, w, h, bits, true); });
}

char* CImgTool::TransPackedBayer(std::uint64_t pattern, char* buffer, std::uint64_t w,
                                 std::uint64_t h, int bits) {
    return TwoStep(*this, pattern, w, h, [&] { return TransPacked(buffer, w, h, bits); });
}

char* CImgTool::TransBayerP(std::uint64_t pattern, char* buffer, std::uint64_t w, std::uint64_t h,
                            int bits) {
    return TwoStep(*this, pattern, w, h, [&] { return TransMonoP(buffer, w, h, bits); });
}

char* CImgTool::ConvertToRgb(Routine routine, char* buffer, std::uint64_t w, std::uint64_t h) {
    char* out = GetRgbBuf(3 * w * h);
    return Finish(routine(In(buffer), Out(out), w, h), out);
}

char* CImgTool::TransRGB(char* buffer, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransRGB, buffer, w, h);
}

char* CImgTool::TransRGB565p(char* buffer, std::uint64_t w, std::uint64_t h) {
    char* out = GetRgbBuf(3 * w * h);
    return Finish(ImageToolEx::TransRGB565p(In16(buffer), Out(out), w, h), out);
}

char* CImgTool::TransBGR565p(char* buffer, std::uint64_t w, std::uint64_t h) {
    char* out = GetRgbBuf(3 * w * h);
    return Finish(ImageToolEx::TransBGR565p(In16(buffer), Out(out), w, h), out);
}

char* CImgTool::TransYUV411_8_UYYVYY(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYUV411_8_UYYVYY, b, w, h);
}
char* CImgTool::TransYUV422_8_UYVY(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYUV422_8_UYVY, b, w, h);
}
char* CImgTool::TransYUV422_8(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYUV422_8, b, w, h);
}
char* CImgTool::TransYUV8_UYV(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYUV8_UYV, b, w, h);
}
char* CImgTool::TransYCbCr709_422_8(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYCbCr709_422_8, b, w, h);
}
char* CImgTool::TransYCbCr422_8(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYCbCr422_8, b, w, h);
}
char* CImgTool::TransYCbCr709_8_CbYCr(char* b, std::uint64_t w, std::uint64_t h) {
    return ConvertToRgb(ImageToolEx::TransYCbCr709_8_CbYCr, b, w, h);
}
