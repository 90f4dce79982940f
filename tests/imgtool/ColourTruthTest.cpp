// Every colour format the simulator offers, converted by ConvertPixels, must
// show the simulator's scene: the colours of its definition (Scene.h), not
// whatever the library produced before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "PixelConvert.h"
#include "Scene.h"

namespace {

using namespace VEXOGENICAM;

struct Frame {
    LumoSim::SceneParams params;
    std::vector<unsigned char> bytes;
};

Frame Render(const LumoSim::PixelFormatInfo& f, std::uint32_t w, std::uint32_t h) {
    Frame frame;
    frame.params.sensorWidth = w;
    frame.params.sensorHeight = h;
    frame.params.width = w;
    frame.params.height = h;
    frame.params.pixelFormat = f.code;
    frame.bytes.resize(LumoSim::CScene::FrameSize(frame.params));
    LumoSim::CScene::Render(frame.params, 0, frame.bytes.data(), frame.bytes.size());
    return frame;
}

std::vector<unsigned char> Convert(const Frame& frame, PixelTarget target, DemosaicMethod method) {
    const auto& p = frame.params;
    std::vector<unsigned char> out(ConvertedLineBytes(p.width, target) * p.height);
    ConvertSource src;
    src.data = frame.bytes.data();
    src.size = frame.bytes.size();
    src.width = p.width;
    src.height = p.height;
    src.pixelFormat = p.pixelFormat;
    ConvertDestination dst;
    dst.data = out.data();
    dst.size = out.size();
    dst.target = target;
    const ConvertResult r = ConvertPixels(src, dst, method);
    EXPECT_EQ(r.status, ConvertStatus::Ok);
    return out;
}

bool IsColour(const LumoSim::PixelFormatInfo& f) {
    using LumoSim::Packing;
    return f.pattern != LumoSim::Bayer::None ||
           (f.packing != Packing::Byte8 && f.packing != Packing::Word16 &&
            f.packing != Packing::LsbStream && f.packing != Packing::GevPacked);
}

std::vector<const LumoSim::PixelFormatInfo*> ColourFormats() {
    std::size_t count = 0;
    const LumoSim::PixelFormatInfo* table = LumoSim::PixelFormatTable(count);
    std::vector<const LumoSim::PixelFormatInfo*> formats;
    for (std::size_t i = 0; i < count; ++i) {
        if (IsColour(table[i])) {
            formats.push_back(&table[i]);
        }
    }
    return formats;
}

// What the format itself loses: 4-bit samples and 5-bit fields cannot come
// closer to the scene than their step; 8 bits and more round within a few levels.
int Tolerance(const LumoSim::PixelFormatInfo& f) {
    if (f.bits == 4) {
        return 17;
    }
    if (f.packing == LumoSim::Packing::Rgb565 || f.packing == LumoSim::Packing::Bgr565) {
        return 9;
    }
    return 4;
}

// Pixels whose 5 x 5 neighbourhood (and chroma group) lies inside one bar.
bool InsideBar(std::uint32_t x, std::uint32_t w) {
    const std::uint32_t barWidth = w / 8;
    const std::uint32_t inBar = x % barWidth;
    return inBar >= 4 && inBar + 4 < barWidth;
}

struct Truth {
    int b, g, r;
};

Truth SceneAt(const Frame& frame, std::uint32_t x, std::uint32_t y) {
    const LumoSim::Rgb16 c = LumoSim::CScene::Colour(frame.params, x, y, 0);
    return {c.b >> 8, c.g >> 8, c.r >> 8};
}

TEST(ColourTruth, EveryColourFormatShowsTheSceneColours) {
    constexpr std::uint32_t kWidth = 256, kHeight = 128;
    for (const auto* f : ColourFormats()) {
        SCOPED_TRACE(f->name);
        const Frame frame = Render(*f, kWidth, kHeight);
        const auto bgr = Convert(frame, PixelTarget::BGR8, DemosaicMethod::Bilinear);
        const auto rgb = Convert(frame, PixelTarget::RGB8, DemosaicMethod::Bilinear);
        const auto mono = Convert(frame, PixelTarget::Mono8, DemosaicMethod::Bilinear);
        int worst = 0;
        int worstLuma = 0;
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            for (std::uint32_t x = 0; x < kWidth; ++x) {
                if (!InsideBar(x, kWidth)) {
                    continue;
                }
                const Truth t = SceneAt(frame, x, y);
                const unsigned char* o = &bgr[3 * (y * kWidth + x)];
                const unsigned char* q = &rgb[3 * (y * kWidth + x)];
                worst = std::max({worst, std::abs(o[0] - t.b), std::abs(o[1] - t.g),
                                  std::abs(o[2] - t.r), std::abs(q[0] - t.r), std::abs(q[1] - t.g),
                                  std::abs(q[2] - t.b)});
                const int luma = (77 * t.r + 150 * t.g + 29 * t.b + 128) >> 8;
                worstLuma = std::max(worstLuma, std::abs(mono[y * kWidth + x] - luma));
            }
        }
        EXPECT_LE(worst, Tolerance(*f));
        EXPECT_LE(worstLuma, Tolerance(*f));
    }
}

// Mean error over the whole frame, bar edges and frame borders included.
double MeanError(const Frame& frame, const std::vector<unsigned char>& bgr) {
    const auto& p = frame.params;
    double sum = 0;
    for (std::uint32_t y = 0; y < p.height; ++y) {
        for (std::uint32_t x = 0; x < p.width; ++x) {
            const Truth t = SceneAt(frame, x, y);
            const unsigned char* o = &bgr[3 * (y * p.width + x)];
            sum += std::abs(o[0] - t.b) + std::abs(o[1] - t.g) + std::abs(o[2] - t.r);
        }
    }
    return sum / (3.0 * p.width * p.height);
}

TEST(ColourTruth, GradientCorrectedDemosaicIsCloserToTheSceneThanBilinear) {
    for (const auto* f : ColourFormats()) {
        if (f->pattern == LumoSim::Bayer::None || f->bits == 4) {
            continue;
        }
        SCOPED_TRACE(f->name);
        // Narrow bars: many colour edges, where the two methods differ.
        const Frame frame = Render(*f, 96, 64);
        const double bilinear =
            MeanError(frame, Convert(frame, PixelTarget::BGR8, DemosaicMethod::Bilinear));
        const double gradient =
            MeanError(frame, Convert(frame, PixelTarget::BGR8, DemosaicMethod::GradientCorrected));
        EXPECT_LT(gradient, 0.75 * bilinear) << gradient << " vs " << bilinear;
    }
}

}  // namespace
