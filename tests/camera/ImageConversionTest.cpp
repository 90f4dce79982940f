#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "CameraSession.h"
#include "Scene.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;

LumoSim::SceneParams Params(const IImage* image) {
    auto* img = const_cast<IImage*>(image);
    LumoSim::SceneParams p;
    p.sensorWidth = kWidth;
    p.sensorHeight = kHeight;
    p.width = static_cast<uint32_t>(img->GetImageWidth());
    p.height = static_cast<uint32_t>(img->GetImageHeight());
    p.pixelFormat = static_cast<uint32_t>(img->GetPixelFormat());
    return p;
}

// One image of `format`, checked against the scene frame with the same ID.
void CheckFormat(const char* format, unsigned long long code, size_t channels) {
    Device device;
    device.pixelFormat = format;
    device.width = kWidth;
    device.height = kHeight;
    Session session(Config(device));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    for (int n = 0; n < 3; ++n) {  // frames of different scene shifts
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0) << format;
        EXPECT_EQ(image->GetPixelFormat(), code) << format;
        EXPECT_EQ(image->GetImageChannel(), channels) << format;
        EXPECT_EQ(image->GetImageStep(), kWidth * channels) << format;

        const auto params = Params(image);
        std::vector<uint8_t> raw(LumoSim::CScene::FrameSize(params) + 64);
        LumoSim::CScene::Render(params, image->GetImageFrameId(), raw.data(), raw.size());
        EXPECT_EQ(std::memcmp(raw.data(),
                              static_cast<char*>(image->GetPayloadBuf()) + image->GetImageOffset(),
                              LumoSim::CScene::FrameSize(params)),
                  0)
            << format << ": raw frame";

        auto* converted = static_cast<const uint8_t*>(image->GetImageData());
        ASSERT_NE(converted, nullptr) << format;
        EXPECT_EQ(image->GetImageData(), converted) << "converted once";
        const size_t bytes = static_cast<size_t>(kWidth) * kHeight * channels;
        std::vector<uint8_t> actual(converted, converted + bytes);

        CImgTool reference(false);
        auto* expected = reinterpret_cast<const uint8_t*>(reference.TransImage(
            reinterpret_cast<char*>(raw.data()), kWidth, kHeight, code, true, true));
        ASSERT_NE(expected, nullptr) << format;
        EXPECT_EQ(std::memcmp(actual.data(), expected, bytes), 0) << format;
        image->Release();
    }
}

}  // namespace

TEST(ImageConversionTest, MonoFormatsMatchTheScene) {
    CAMERA_SCENARIO();
    CheckFormat("Mono8", 0x01080001, 1);
    CheckFormat("Mono12Packed", 0x010C0006, 1);
}

TEST(ImageConversionTest, BayerFormatsMatchTheScene) {
    CAMERA_SCENARIO();
    CheckFormat("BayerRG8", 0x01080009, 3);
    CheckFormat("BayerRG12", 0x01100011, 3);
}

TEST(ImageConversionTest, ColourFormatsMatchTheScene) {
    CAMERA_SCENARIO();
    CheckFormat("YUV422_8", 0x02100032, 3);
    CheckFormat("RGB8", 0x02180014, 3);
}

TEST(ImageConversionTest, Rgb8BecomesTheSceneColoursInBgrOrder) {
    CAMERA_SCENARIO();
    Device device;
    device.pixelFormat = "RGB8";
    Session session(Config(device));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
    const auto params = Params(image);
    auto* bgr = static_cast<const uint8_t*>(image->GetImageData());
    ASSERT_NE(bgr, nullptr);
    for (uint32_t y = 0; y < params.height; y += 7) {
        for (uint32_t x = 0; x < params.width; x += 5) {
            const auto c = LumoSim::CScene::Colour(params, x, y, image->GetImageFrameId());
            const uint8_t* px = bgr + (static_cast<size_t>(y) * params.width + x) * 3;
            EXPECT_EQ(px[0], c.b >> 8);
            EXPECT_EQ(px[1], c.g >> 8);
            EXPECT_EQ(px[2], c.r >> 8);
        }
    }
    image->Release();
}
