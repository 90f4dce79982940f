#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <list>
#include <map>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

constexpr unsigned long long kFrameIdChunk = 0x1001;
constexpr unsigned long long kWidthChunk = 0x1003;
constexpr unsigned long long kPixelFormatChunk = 0x1005;

ICamera* OpenWithChunks(const Session& session, std::initializer_list<const char*> chunks) {
    ICamera* camera = session.Camera();
    EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    SetFeature(camera, "ChunkModeActive", "1");
    for (const char* chunk : chunks) {
        SetFeature(camera, "ChunkSelector", chunk);
        SetFeature(camera, "ChunkEnable", "1");
    }
    return camera;
}

std::map<unsigned long long, std::uint64_t> ChunkValues(IImage* image) {
    std::map<unsigned long long, std::uint64_t> values;
    for (IChunk* chunk : image->GetChunks()) {
        std::uint64_t value = 0;
        EXPECT_EQ(chunk->GetLength(), sizeof value);
        std::memcpy(&value, chunk->GetData(), sizeof value);
        values[chunk->GetID()] = value;
    }
    return values;
}

}  // namespace

TEST(ChunkTest, EnabledChunksPointIntoTheBufferAndFollowEachFrame) {
    CAMERA_SCENARIO();
    Device device;
    device.width = 32;
    device.height = 8;
    Session session(Config(device));
    ICamera* camera = OpenWithChunks(session, {"FrameID", "Width", "PixelFormat"});
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    for (unsigned long long frame = 1; frame <= 3; ++frame) {
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
        EXPECT_EQ(image->GetImageOffset(), 0u);  // chunk payloads start with the image
        const auto* base = static_cast<const unsigned char*>(image->GetPayloadBuf());
        for (IChunk* chunk : image->GetChunks()) {
            const auto* data = static_cast<const unsigned char*>(chunk->GetData());
            EXPECT_GE(data, base + 32 * 8);  // behind the pixels
            EXPECT_LE(data + chunk->GetLength(), base + image->GetPayloadSize());
        }
        const auto values = ChunkValues(image);
        EXPECT_EQ(values.size(), 3u);
        EXPECT_EQ(values.at(kFrameIdChunk), frame);
        EXPECT_EQ(values.at(kWidthChunk), 32u);
        EXPECT_EQ(values.at(kPixelFormatChunk), 0x01080001u);
        // The list is a copy: emptying it leaves the image's chunks alone.
        std::list<IChunk*> copy = image->GetChunks();
        copy.clear();
        EXPECT_EQ(image->GetChunks().size(), 3u);
        image->Release();
    }
}

TEST(ChunkTest, ChunkReachingPastTheBufferIsLeftOut) {
    CAMERA_SCENARIO();
    // The producer reports the first chunk with the whole buffer's length.
    Session session(Config(Device{}, R"(, "faults": {"chunkOverrun": true})"));
    ICamera* camera = OpenWithChunks(session, {"FrameID", "Width"});
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
    const auto values = ChunkValues(image);
    EXPECT_EQ(values.size(), 1u);
    EXPECT_EQ(values.count(kFrameIdChunk), 0u);
    EXPECT_EQ(values.at(kWidthChunk), 64u);
    EXPECT_NE(image->GetImageData(), nullptr);  // the pixels are unaffected
    image->Release();
}
