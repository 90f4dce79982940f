// Hand-worked cases of the individual routines, and the vectorised chroma
// arithmetic checked against the tables for every index.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ImageTool.h"
#include "ImageToolEx.h"
#include "ReferenceModel.h"

namespace {

using Bytes = std::vector<unsigned char>;

TEST(BayerRoutines, HandWorkedMosaics) {
    const Bytes gr = {10, 20, 30, 40};
    Bytes out(12, 0xEE);
    ASSERT_TRUE(ImageToolEx::TransBayerGR8(gr.data(), out.data(), 2, 2));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Bytes(out.begin() + 3 * i, out.begin() + 3 * i + 3), (Bytes{30, 10, 20}));
    }

    const Bytes uniform(9 * 7, 100);
    Bytes camera(uniform.size() * 3), loose(uniform.size() * 3);
    ASSERT_TRUE(ImageToolEx::TransBayerBG8(uniform.data(), camera.data(), 9, 7));
    VEXOGENICAM::TransBayerToGRB(VEXOGENICAM::PF_BayerBG8, uniform.data(), loose.data(), 9, 7);
    EXPECT_EQ(camera, Bytes(camera.size(), 100));
    EXPECT_EQ(loose, Bytes(loose.size(), 100));

    Bytes untouched(30, 0xEE);
    EXPECT_FALSE(ImageToolEx::TransBayerRG8(uniform.data(), untouched.data(), 1, 10));
    EXPECT_FALSE(ImageToolEx::TransBayerRG8(uniform.data(), untouched.data(), 10, 1));
    EXPECT_FALSE(ImageToolEx::TransBayerRG8(nullptr, untouched.data(), 4, 4));
    EXPECT_FALSE(ImageToolEx::TransBayerRG8(uniform.data(), nullptr, 4, 4));
    EXPECT_EQ(untouched, Bytes(30, 0xEE));
}

TEST(BayerRoutines, OddWidthColumnAndFreeParityRule) {
    // 5 x 4 RG mosaic: column 4 copies the block at columns 3 and 4.
    Bytes mosaic(20);
    for (int i = 0; i < 20; ++i) {
        mosaic[i] = static_cast<unsigned char>(i * 11);
    }
    Bytes out(60);
    ASSERT_TRUE(ImageToolEx::TransBayerRG8(mosaic.data(), out.data(), 5, 4));
    // Rows 0/1, columns 3/4: (0,3)=G 33, (0,4)=R 44, (1,3)=B 88, (1,4)=G 99.
    for (int row : {0, 1}) {
        const unsigned char* px = &out[3 * (row * 5 + 4)];
        EXPECT_EQ(Bytes(px, px + 3), (Bytes{88, 33, 44}));
    }

    // Free path, 4 x 4 GR: pixel (1, 2) is an odd-row, even-column site and
    // takes red from the diagonal of the red plane.
    Bytes gr(16);
    for (int i = 0; i < 16; ++i) {
        gr[i] = static_cast<unsigned char>(1 + i * 7);
    }
    Bytes expected(48), actual(48);
    model::Bytes src(gr.begin(), gr.end()), exp(48);
    model::BayerFree(0, src, exp, 4, 4);
    VEXOGENICAM::TransBayerToGRB(VEXOGENICAM::PF_BayerGR8, gr.data(), actual.data(), 4, 4);
    EXPECT_TRUE(std::equal(exp.begin(), exp.end(), actual.begin()));
    // Red plane: cell (0,0) red 8 at its four positions, cell (0,2) red 22,
    // cell (2,0) red 64, cell (2,2) red 78; the diagonal of (1,2) is
    // (0,1) 8, (0,3) 22, (2,1) 64, (2,3) 78.
    EXPECT_EQ(actual[3 * (1 * 4 + 2) + 2], (8 + 22 + 64 + 78) >> 2);

    // In place, as the free two-step wrappers use it.
    Bytes inPlace(48, 0);
    std::copy(gr.begin(), gr.end(), inPlace.begin());
    VEXOGENICAM::TransBayerToGRB(VEXOGENICAM::PF_BayerGR8, inPlace.data(), inPlace.data(), 4, 4);
    EXPECT_EQ(inPlace, actual);
}

TEST(YuvRoutines, HandWorkedPixels) {
    Bytes out(12, 0);
    const Bytes grey422 = {100, 128, 100, 128};
    ASSERT_TRUE(ImageToolEx::TransYUV422_8(grey422.data(), out.data(), 1, 2));
    EXPECT_EQ(out, (Bytes{100, 100, 100, 100, 100, 100, 0, 0, 0, 0, 0, 0}));

    const Bytes uyv = {128, 200, 255};
    Bytes px(3);
    ASSERT_TRUE(ImageToolEx::TransYUV8_UYV(uyv.data(), px.data(), 1, 1));
    EXPECT_EQ(px, (Bytes{200, 112, 255}));
    EXPECT_EQ(ImageToolEx::g_yuvTab.TR[0], -175);
    EXPECT_EQ(ImageToolEx::g_yuvTab.TR[255], 174);

    Bytes four(12, 0);
    const Bytes uyyvyy = {128, 1, 2, 128, 3, 4};
    ASSERT_TRUE(ImageToolEx::TransYUV411_8_UYYVYY(uyyvyy.data(), four.data(), 4, 1));
    EXPECT_EQ(four, (Bytes{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));

    // The free YCbCr422_8 path has all-zero tables: grey. The camera path
    // uses the YCbCr set: colour.
    std::vector<char> colourful = {90, 20, 90, char(230)};
    char* grey = VEXOGENICAM::TransImage(colourful.data(), 2, 1, VEXOGENICAM::PF_YCbCr422_8, true);
    ASSERT_NE(grey, nullptr);
    EXPECT_EQ(Bytes(grey, grey + 6), Bytes(6, 90));
    delete[] grey;
    Bytes colour(6);
    ASSERT_TRUE(ImageToolEx::TransYCbCr422_8(reinterpret_cast<unsigned char*>(colourful.data()),
                                             colour.data(), 2, 1));
    EXPECT_NE(colour, Bytes(6, 90));

    EXPECT_FALSE(ImageToolEx::TransYUV422_8_UYVY(nullptr, out.data(), 2, 2));
    EXPECT_FALSE(ImageToolEx::TransYCbCr709_8_CbYCr(uyv.data(), out.data(), 0, 2));
}

TEST(YuvRoutines, VectorisedChromaEqualsTablesForEveryIndexPair) {
    // 65536 groups cover every (U, V) pair; the kernel must equal the table
    // arithmetic for all of them, in both 4:2:2 layouts and both sets.
    std::mt19937 rng(3);
    Bytes frame(65536 * 4);
    for (std::size_t g = 0; g < 65536; ++g) {
        frame[4 * g] = static_cast<unsigned char>(rng());
        frame[4 * g + 1] = static_cast<unsigned char>(g & 255);
        frame[4 * g + 2] = static_cast<unsigned char>(rng());
        frame[4 * g + 3] = static_cast<unsigned char>(g >> 8);
    }
    const model::Bytes src(frame.begin(), frame.end());
    Bytes out(65536 * 2 * 3);
    struct Case {
        bool (*routine)(const unsigned char*, unsigned char*, std::uint64_t, std::uint64_t);
        model::Layout layout;
        model::Tables tables;
    };
    const Case cases[] = {{ImageToolEx::TransYUV422_8, model::kYUYV, model::Yuv()},
                          {ImageToolEx::TransYUV422_8_UYVY, model::kUYVY, model::Yuv()},
                          {ImageToolEx::TransYCbCr422_8, model::kYUYV, model::YCbCr()}};
    for (const Case& c : cases) {
        model::Bytes expected(out.size(), 0);
        model::YuvCamera(c.tables, c.layout, src, expected, 65536 * 2);
        ASSERT_TRUE(c.routine(frame.data(), out.data(), 512, 256));
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
    }
    for (int i = 0; i < 256; ++i) {
        const model::Tables yuv = model::Yuv();
        ASSERT_EQ(ImageToolEx::g_yuvTab.TGu[i], yuv.tgu[i]);
        ASSERT_EQ(ImageToolEx::g_ycbcrTab.TB[i], model::YCbCr().tb[i]);
    }
}

TEST(MonoRoutines, HandWorkedSamples) {
    const unsigned short mono12 = 0x0ABC;
    unsigned char px = 0;
    ASSERT_TRUE(ImageToolEx::TransDual(&mono12, &px, 1, 1, 12, true));
    EXPECT_EQ(px, 0xAB);
    ASSERT_TRUE(ImageToolEx::TransDual(&mono12, &px, 1, 1, 12, false));
    EXPECT_EQ(px, 0xC0);
    const unsigned short full16 = 0xFFFF, full10 = 0x03FF, over10 = 1024;
    ASSERT_TRUE(ImageToolEx::TransDual(&full16, &px, 1, 1, 16, true));
    EXPECT_EQ(px, 0xFF);
    ASSERT_TRUE(ImageToolEx::TransDual(&full10, &px, 1, 1, 10, true));
    EXPECT_EQ(px, 0xFF);
    ASSERT_TRUE(ImageToolEx::TransDual(&over10, &px, 1, 1, 10, true));
    EXPECT_EQ(px, 0);
    EXPECT_FALSE(ImageToolEx::TransDual(&full16, &px, 1, 1, 8, true));

    const Bytes packed = {0x12, 0x34, 0x56};
    Bytes two(2);
    ASSERT_TRUE(ImageToolEx::TransPacked(packed.data(), two.data(), 2, 1));
    EXPECT_EQ(two, (Bytes{0x12, 0x56}));

    const Bytes p10 = {0xFF, 0x03, 0x00, 0x00, 0x00};
    Bytes four(4, 9);
    ASSERT_TRUE(ImageToolEx::TransMonoP(p10.data(), four.data(), 4, 1, 10));
    EXPECT_EQ(four, (Bytes{255, 0, 0, 0}));
    const Bytes p12a = {0x01, 0x20, 0x00}, p12b = {0xF0, 0xFF, 0xFF};
    ASSERT_TRUE(ImageToolEx::TransMonoP(p12a.data(), two.data(), 2, 1, 12));
    EXPECT_EQ(two, (Bytes{0, 0}));
    ASSERT_TRUE(ImageToolEx::TransMonoP(p12b.data(), two.data(), 2, 1, 12));
    EXPECT_EQ(two, (Bytes{0xFF, 0xFF}));
    EXPECT_FALSE(ImageToolEx::TransMonoP(p12b.data(), two.data(), 2, 1, 0));
    EXPECT_FALSE(ImageToolEx::TransMonoP(p12b.data(), two.data(), 2, 1, 9));

    // Camera path: a trailing partial group stays unwritten.
    Bytes three(3, 9);
    ASSERT_TRUE(ImageToolEx::TransMonoP(p12b.data(), three.data(), 3, 1, 12));
    EXPECT_EQ(three, (Bytes{0xFF, 0xFF, 9}));
    // Free path: writes exactly P pixels and reads only the frame's bytes.
    Bytes exact(3, 9);
    const Bytes p12c = {0xF0, 0xFF, 0xFF, 0x30};
    VEXOGENICAM::TransMonoPToSingle(12, p12c.data(), exact.data(), 3);
    EXPECT_EQ(exact, (Bytes{0xFF, 0xFF, 0x03}));
}

TEST(RgbRoutines, SwapAndFiveSixFive) {
    const Bytes rgb = {1, 2, 3};
    Bytes out(3);
    ASSERT_TRUE(ImageToolEx::TransRGB(rgb.data(), out.data(), 1, 1));
    EXPECT_EQ(out, (Bytes{3, 2, 1}));

    const unsigned short white = 0xFFFF;
    ASSERT_TRUE(ImageToolEx::TransRGB565p(&white, out.data(), 1, 1));
    EXPECT_EQ(out, (Bytes{255, 255, 255}));
    // low field 1, mid 32, high 16.
    const unsigned short fields = static_cast<unsigned short>(1 | (32 << 5) | (16 << 11));
    ASSERT_TRUE(ImageToolEx::TransRGB565p(&fields, out.data(), 1, 1));
    EXPECT_EQ(out, (Bytes{8, 130, 132}));
    ASSERT_TRUE(ImageToolEx::TransBGR565p(&fields, out.data(), 1, 1));
    EXPECT_EQ(out, (Bytes{132, 130, 8}));
    const unsigned short mid1 = 1 << 5;
    ASSERT_TRUE(ImageToolEx::TransRGB565p(&mid1, out.data(), 1, 1));
    EXPECT_EQ(out[1], 4);
    EXPECT_FALSE(ImageToolEx::TransBGR565p(nullptr, out.data(), 1, 1));
}

}  // namespace
