#include <vector>

#include "ConvertCommon.h"
#include "ImageTool.h"

namespace VEXOGENICAM {

// Samples a cell needs beyond an odd-sized mosaic are taken from the same
// colour two rows or columns back (0 when the frame has none), and cells only
// fill plane positions inside the frame.
void TransBayerToGRB(std::uint64_t pattern, const unsigned char* source, unsigned char* destination,
                     std::uint64_t w, std::uint64_t h) {
    std::uint64_t pixels = 0;
    if (source == nullptr || destination == nullptr || !imgtool::PixelCount(w, h, pixels) ||
        pixels == 0) {
        return;
    }
    std::vector<unsigned char> red(pixels), green(pixels), blue(pixels);
    const int order = imgtool::BayerOrder(pattern);
    auto sample = [&](std::uint64_t r, std::uint64_t c) -> unsigned char {
        if (c >= w) {
            if (w < 2) {
                return 0;
            }
            c -= 2;
        }
        if (r >= h) {
            if (h < 2) {
                return 0;
            }
            r -= 2;
        }
        return source[r * w + c];
    };
    if (order >= 0) {
        for (std::uint64_t r = 0; r < h; r += 2) {
            for (std::uint64_t c = 0; c < w; c += 2) {
                unsigned char cellRed = 0, cellBlue = 0, greenRow[2] = {0, 0};
                for (unsigned dr = 0; dr < 2; ++dr) {
                    for (unsigned dc = 0; dc < 2; ++dc) {
                        const unsigned char s = sample(r + dr, c + dc);
                        switch (imgtool::SiteAt(order, dr, dc)) {
                            case imgtool::kRed:
                                cellRed = s;
                                break;
                            case imgtool::kBlue:
                                cellBlue = s;
                                break;
                            default:
                                greenRow[dr] = s;
                                break;
                        }
                    }
                }
                for (unsigned dr = 0; dr < 2 && r + dr < h; ++dr) {
                    for (unsigned dc = 0; dc < 2 && c + dc < w; ++dc) {
                        const std::uint64_t i = (r + dr) * w + c + dc;
                        red[i] = cellRed;
                        blue[i] = cellBlue;
                        green[i] = greenRow[dr];
                    }
                }
            }
        }
    }
    for (std::uint64_t r = 0; r < h; ++r) {
        for (std::uint64_t c = 0; c < w; ++c) {
            const std::uint64_t i = r * w + c;
            unsigned char* out = destination + 3 * i;
            if (r == 0 || c == 0 || r + 1 == h || c + 1 == w) {
                out[0] = blue[i];
                out[1] = green[i];
                out[2] = red[i];
                continue;
            }
            const std::uint64_t up = i - w;
            const std::uint64_t down = i + w;
            const unsigned greenCross =
                (green[up] + green[i - 1] + green[i + 1] + green[down]) >> 2;
            if ((r & 1) == 0 && (c & 1) == 0) {
                out[0] = static_cast<unsigned char>(
                    (blue[up - 1] + blue[up + 1] + blue[down - 1] + blue[down + 1]) >> 2);
                out[1] = static_cast<unsigned char>(greenCross);
                out[2] = red[i];
            } else if ((r & 1) == 0) {
                out[0] = static_cast<unsigned char>((blue[up] + blue[down]) >> 1);
                out[1] = green[i];
                out[2] = static_cast<unsigned char>((red[i - 1] + red[i + 1]) >> 1);
            } else {
                // Odd rows share one rule whatever the column parity.
                out[0] = blue[i];
                out[1] = static_cast<unsigned char>(greenCross);
                out[2] = static_cast<unsigned char>(
                    (red[up - 1] + red[up + 1] + red[down - 1] + red[down + 1]) >> 2);
            }
        }
    }
}

}  // namespace VEXOGENICAM
