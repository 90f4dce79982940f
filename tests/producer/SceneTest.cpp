#include <gtest/gtest.h>

#include <vector>

#include "FrameRenderer.h"
#include "Scene.h"

namespace {

using namespace LumoSim;

TEST(Scene, BarsGradientAndShift) {
    SceneParams p{80, 40, 0, 0, 80, 40, 0x02180014, false};
    // Top-left is the white bar at full level; bar 7 is dark.
    const Rgb16 white = CScene::Colour(p, 0, 0, 0);
    EXPECT_EQ(white.r, 0xFFFF);
    EXPECT_EQ(white.g, 0xFFFF);
    const Rgb16 black = CScene::Colour(p, 79, 0, 0);
    EXPECT_EQ(black.r, 0x1000);
    EXPECT_LT(CScene::Colour(p, 0, 39, 0).r, white.r);
    // Frame 1 is frame 0 moved left by 8 pixels.
    EXPECT_EQ(CScene::Colour(p, 2, 5, 1).g, CScene::Colour(p, 10, 5, 0).g);
    EXPECT_EQ(CScene::Shift(9), 8u);
}

TEST(Scene, PackingsMatchTheirDefinitions) {
    SceneParams p{64, 8, 0, 0, 3, 1, 0x010C0047, false};  // Mono12p, 3 pixels → 4 bytes
    std::vector<uint8_t> out(8, 0xAA);
    ASSERT_EQ(CScene::Render(p, 0, out.data(), out.size()), 4u);
    const PixelFormatInfo& f = *FindPixelFormat(0x010C0047);
    const uint16_t s0 = CScene::Sample(p, f, 0, 0, 0), s1 = CScene::Sample(p, f, 1, 0, 0);
    EXPECT_EQ(out[0], s0 & 0xFF);
    EXPECT_EQ(out[1], ((s0 >> 8) & 0x0F) | ((s1 & 0x0F) << 4));
    EXPECT_EQ(out[2], s1 >> 4);
    EXPECT_EQ(out[4], 0xAA);  // nothing written past the frame

    p.pixelFormat = 0x010C0006;  // Mono12Packed
    ASSERT_EQ(CScene::Render(p, 0, out.data(), out.size()), 4u);
    EXPECT_EQ(out[0], s0 >> 4);
    EXPECT_EQ(out[1], (s0 & 0x0F) | ((s1 & 0x0F) << 4));
    p.pixelFormat = 0x01100007;  // Mono16, both byte orders
    p.width = 1;
    ASSERT_EQ(CScene::Render(p, 0, out.data(), out.size()), 2u);
    const uint16_t m16 = CScene::Sample(p, *FindPixelFormat(0x01100007), 0, 0, 0);
    EXPECT_EQ(out[0] | (out[1] << 8), m16);
    p.bigEndian16 = true;
    CScene::Render(p, 0, out.data(), out.size());
    EXPECT_EQ((out[0] << 8) | out[1], m16);
}

TEST(Scene, BayerMosaicTakesThePatternColour) {
    SceneParams p{64, 8, 0, 0, 64, 8, 0x01080009, false};  // BayerRG8
    const PixelFormatInfo& f = *FindPixelFormat(p.pixelFormat);
    // In the yellow bar red and green are lit, blue is dark.
    const uint32_t x = 8;
    EXPECT_EQ(CScene::Sample(p, f, x, 0, 0), CScene::Colour(p, x, 0, 0).r >> 8);
    EXPECT_EQ(CScene::Sample(p, f, x + 1, 1, 0), CScene::Colour(p, x + 1, 1, 0).b >> 8);
    EXPECT_EQ(CScene::Sample(p, f, x + 1, 0, 0), CScene::Colour(p, x + 1, 0, 0).g >> 8);
}

// The cached renderer must reproduce the direct rendering byte for byte, for every format,
// frame and a few awkward geometries.
TEST(Scene, FastRendererEqualsDirectRendering) {
    size_t count = 0;
    const PixelFormatInfo* table = PixelFormatTable(count);
    for (size_t i = 0; i < count; ++i) {
        for (const auto& [w, h, ox] : {std::tuple{64u, 6u, 0u}, {36u, 5u, 3u}, {13u, 3u, 1u}}) {
            SceneParams p{100, 20, ox, 2, w, h, table[i].code, false};
            CFrameRenderer fast;
            const size_t size = static_cast<size_t>(CScene::FrameSize(p));
            for (uint64_t frame : {0u, 1u, 7u, 12u}) {
                std::vector<uint8_t> a(size + 4, 0), b(size + 4, 0);
                EXPECT_EQ(CScene::Render(p, frame, a.data(), size), size);
                EXPECT_EQ(fast.Render(p, frame, b.data(), size), size);
                EXPECT_EQ(a, b) << table[i].name << " " << w << "x" << h << " frame " << frame;
            }
        }
    }
}

}  // namespace
