#include "ConvertCommon.h"
#include "ImageToolEx.h"
#include "WorkerPool.h"

namespace {

using imgtool::Site;
using imgtool::SiteAt;

// Writes the red, green and blue samples of the 2 x 2 block at (row, col), with
// green taken from greenRow, as one blue-green-red pixel.
void BlockColour(int order, const unsigned char* src, std::uint64_t width, std::uint64_t row,
                 std::uint64_t col, std::uint64_t greenRow, unsigned char* out) {
    unsigned char red = 0;
    unsigned char blue = 0;
    unsigned char green = 0;
    for (std::uint64_t r = row; r < row + 2; ++r) {
        for (std::uint64_t c = col; c < col + 2; ++c) {
            const unsigned char s = src[r * width + c];
            const Site site = SiteAt(order, r, c);
            if (site == imgtool::kRed) {
                red = s;
            } else if (site == imgtool::kBlue) {
                blue = s;
            } else if (r == greenRow) {
                green = s;
            }
        }
    }
    out[0] = blue;
    out[1] = green;
    out[2] = red;
}

void CopyPixel(unsigned char* dst, std::uint64_t width, std::uint64_t row, std::uint64_t col,
               const unsigned char* px) {
    unsigned char* d = dst + 3 * (row * width + col);
    d[0] = px[0];
    d[1] = px[1];
    d[2] = px[2];
}

void InteriorRow(int order, const unsigned char* src, unsigned char* dst, std::uint64_t w,
                 std::uint64_t we, std::uint64_t r) {
    const bool redRow =
        SiteAt(order, r, 0) == imgtool::kRed || SiteAt(order, r, 1) == imgtool::kRed;
    const bool greenAtEven = SiteAt(order, r, 0) == imgtool::kGreen;
    imgtool::BayerInteriorRow(src + (r - 1) * w, src + r * w, src + (r + 1) * w, dst + 3 * r * w, 1,
                              we - 1, redRow, greenAtEven);
}

bool Demosaic(int order, const unsigned char* src, unsigned char* dst, std::uint64_t w,
              std::uint64_t h) {
    std::uint64_t pixels = 0;
    if (src == nullptr || dst == nullptr || w < 2 || h < 2 || !imgtool::PixelCount(w, h, pixels)) {
        return false;
    }
    unsigned char px[3];
    std::uint64_t we = w;
    std::uint64_t he = h;
    if (w % 2 == 1) {
        for (std::uint64_t r = 0; r + 1 < h; r += 2) {
            BlockColour(order, src, w, r, w - 2, r, px);
            CopyPixel(dst, w, r, w - 1, px);
            CopyPixel(dst, w, r + 1, w - 1, px);
        }
        we = w - 1;
    }
    if (h % 2 == 1) {
        for (std::uint64_t c = 0; c + 1 < w; c += 2) {
            BlockColour(order, src, w, h - 2, c, h - 1, px);
            CopyPixel(dst, w, h - 1, c, px);
            CopyPixel(dst, w, h - 1, c + 1, px);
        }
        if (w % 2 == 1) {
            BlockColour(order, src, w, h - 2, w - 2, h - 1, px);
            CopyPixel(dst, w, h - 1, w - 1, px);
        }
        he = h - 1;
    }
    for (std::uint64_t c = 0; c + 1 < we; c += 2) {
        BlockColour(order, src, w, 0, c, 0, px);
        CopyPixel(dst, w, 0, c, px);
        CopyPixel(dst, w, 0, c + 1, px);
        BlockColour(order, src, w, he - 2, c, he - 1, px);
        CopyPixel(dst, w, he - 1, c, px);
        CopyPixel(dst, w, he - 1, c + 1, px);
    }
    for (std::uint64_t r = 0; r + 1 < he; r += 2) {
        BlockColour(order, src, w, r, 0, r, px);
        CopyPixel(dst, w, r, 0, px);
        CopyPixel(dst, w, r + 1, 0, px);
        BlockColour(order, src, w, r, we - 2, r, px);
        CopyPixel(dst, w, r, we - 1, px);
        CopyPixel(dst, w, r + 1, we - 1, px);
    }
    // Interior: rows 1..he-2, columns 1..we-2, one tight kernel per row; large
    // frames share the rows out over the conversion threads.
    if (he < 3) {
        return true;
    }
    return imgtool::ForEachSpan(he - 2, imgtool::kPixelsPerSpan / w + 1,
                                [&](std::uint64_t first, std::uint64_t end) {
                                    for (std::uint64_t r = first + 1; r < end + 1; ++r) {
                                        InteriorRow(order, src, dst, w, we, r);
                                    }
                                });
}

}  // namespace

namespace ImageToolEx {

bool TransBayerGR8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Demosaic(0, s, d, w, h);
}
bool TransBayerRG8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Demosaic(1, s, d, w, h);
}
bool TransBayerGB8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Demosaic(2, s, d, w, h);
}
bool TransBayerBG8(const unsigned char* s, unsigned char* d, std::uint64_t w, std::uint64_t h) {
    return Demosaic(3, s, d, w, h);
}

}  // namespace ImageToolEx
