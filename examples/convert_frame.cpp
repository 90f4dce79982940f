// Converts a synthetic Bayer frame to 8-bit BGR with the conversion tool and
// writes it as a PPM picture.
//
//   convert_frame [out.ppm]
#include <cstdint>
#include <cstdio>
#include <vector>

#include "CImgTool.h"
#include "PixelFormats.h"

int main(int argc, char** argv) {
    const std::uint64_t width = 320, height = 240;
    // A BayerRG8 mosaic of a horizontal red ramp over a vertical blue ramp.
    std::vector<char> mosaic(width * height);
    for (std::uint64_t y = 0; y < height; ++y) {
        for (std::uint64_t x = 0; x < width; ++x) {
            const bool redSite = (y % 2 == 0) && (x % 2 == 0);
            const bool blueSite = (y % 2 == 1) && (x % 2 == 1);
            const unsigned v = redSite ? x * 255 / width : blueSite ? y * 255 / height : 128;
            mosaic[y * width + x] = static_cast<char>(v);
        }
    }

    CImgTool tool(false);  // reuse mode: the result lives in the tool
    std::uint64_t bits = 0, channels = 0, payload = 0;
    tool.PayloadCalc(width, height, VEXOGENICAM::PF_BayerRG8, bits, channels, payload);
    const char* bgr =
        tool.TransImage(mosaic.data(), width, height, VEXOGENICAM::PF_BayerRG8, false, true);
    if (bgr == nullptr) {
        std::fprintf(stderr, "conversion failed\n");
        return 1;
    }
    std::printf("BayerRG8 %lux%lu: %lu raw bytes -> %lu channel(s) of %lu bits\n", width, height,
                payload, channels, bits);

    const char* path = argc > 1 ? argv[1] : "convert_frame.ppm";
    FILE* out = std::fopen(path, "wb");
    if (out == nullptr) {
        std::perror(path);
        return 1;
    }
    std::fprintf(out, "P6\n%lu %lu\n255\n", width, height);
    for (std::uint64_t i = 0; i < width * height; ++i) {  // BGR to the RGB of PPM
        const char rgb[3] = {bgr[3 * i + 2], bgr[3 * i + 1], bgr[3 * i]};
        std::fwrite(rgb, 1, 3, out);
    }
    std::fclose(out);
    std::printf("wrote %s\n", path);
    return 0;
}
