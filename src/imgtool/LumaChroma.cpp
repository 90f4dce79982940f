#include "ConvertCommon.h"
#include "ImageToolEx.h"
#include "WorkerPool.h"

namespace {

using imgtool::ChromaTables;
using imgtool::YuvLayout;

template <typename Table>
ChromaTables TablesOf(const Table& t) {
    return ChromaTables{t.TR, t.TGv, t.TGu, t.TB};
}

// Only complete groups are converted; a trailing partial group stays unwritten.
bool Convert(const ChromaTables& t, const YuvLayout& l, const unsigned char* src,
             unsigned char* dst, std::uint64_t w, std::uint64_t h) {
    std::uint64_t pixels = 0;
    if (src == nullptr || dst == nullptr || w == 0 || h == 0 ||
        !imgtool::PixelCount(w, h, pixels)) {
        return false;
    }
    const std::uint64_t bytes = pixels * 2 * l.groupBytes / (2 * l.pixels);
    const std::uint64_t groups = bytes / l.groupBytes;
    if (l.groupBytes == 4) {
        return imgtool::ForEachSpan(
            groups, imgtool::kPixelsPerSpan / 2, [&](std::uint64_t b, std::uint64_t e) {
                imgtool::Yuv422Groups(t, l.u == 0, src + 4 * b, dst + 6 * b, e - b);
            });
    }
    for (std::uint64_t g = 0; g < groups; ++g) {
        imgtool::YuvGroup(t, l, src + g * l.groupBytes, dst + 3 * g * l.pixels, l.pixels);
    }
    return true;
}

}  // namespace

namespace ImageToolEx {

bool TransYUV411_8_UYYVYY(const unsigned char* s, unsigned char* d, std::uint64_t w,
                          std::uint64_t h) {
    return Convert(TablesOf(g_yuvTab), imgtool::kUyyvyy, s, d, w, h);
}
bool TransYUV422_8_UYVY(const unsigned char* s, unsigned char* d, std::uint64_t w,
                        std::uint64_t h) {
    return Convert(TablesOf(g_yuvTab), imgtool::kUyvy, s, d, w, h);
}
bool TransYUV422_8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Convert(TablesOf(g_yuvTab), imgtool::kYuyv, s, d, w, h);
}
bool TransYUV8_UYV(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Convert(TablesOf(g_yuvTab), imgtool::kUyv, s, d, w, h);
}
bool TransYCbCr422_8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Convert(TablesOf(g_ycbcrTab), imgtool::kYuyv, s, d, w, h);
}
bool TransYCbCr709_422_8(const unsigned char* s, unsigned char* d, std::uint64_t w,
                         std::uint64_t h) {
    return TransYCbCr422_8(s, d, w, h);
}
bool TransYCbCr709_8_CbYCr(const unsigned char* s, unsigned char* d, std::uint64_t w,
                           std::uint64_t h) {
    return Convert(TablesOf(g_ycbcrTab), imgtool::kCbYCr, s, d, w, h);
}

}  // namespace ImageToolEx
