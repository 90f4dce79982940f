// Chunk features of the simulated camera's remote map reading the values of
// the grabbed image they are attached to.
#include <gtest/gtest.h>

#include "CameraSession.h"
#include "ImageChunks.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::RemoteMap;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

int64_t ChunkInt(ICamera* camera, const char* name) {
    return GenApi::CIntegerPtr(RemoteMap(camera)->GetNode(name))->GetValue();
}

}  // namespace

TEST(ChunkAdapterCameraTest, ChunkFeaturesFollowTheAttachedImage) {
    CAMERA_SCENARIO();
    Device device;
    device.width = 32;
    device.height = 8;
    Session session(Config(device));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    SetFeature(camera, "ChunkModeActive", "1");
    for (const char* chunk : {"FrameID", "Width", "PixelFormat"}) {
        SetFeature(camera, "ChunkSelector", chunk);
        SetFeature(camera, "ChunkEnable", "1");
    }
    // Before any image the chunk features have nothing to read.
    EXPECT_THROW(ChunkInt(camera, "ChunkFrameID"), GenICam::AccessException);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    {  // adapters go before the camera that owns their node map
        GenApi::CChunkAdapterGeneric generic(RemoteMap(camera));
        GenApi::CChunkAdapterGEV gev(RemoteMap(camera));
        IImage* first = nullptr;
        IImage* second = nullptr;
        ASSERT_EQ(camera->GrabImage(&first, 2000), 0);
        ASSERT_EQ(camera->GrabImage(&second, 2000), 0);
        for (IImage* image : {first, second, first}) {
            AttachImageChunks(image, generic);
            EXPECT_EQ(ChunkInt(camera, "ChunkFrameID"),
                      static_cast<int64_t>(image->GetImageFrameId()));
            EXPECT_EQ(ChunkInt(camera, "ChunkWidth"), 32);
            EXPECT_EQ(ChunkInt(camera, "ChunkPixelFormat"), 0x01080001);
            // The producer writes GigE Vision trailers: the layout parses on its own too.
            auto* payload = static_cast<uint8_t*>(image->GetPayloadBuf());
            const auto size = static_cast<int64_t>(image->GetPayloadSize());
            ASSERT_TRUE(gev.CheckBufferLayout(payload, size));
            gev.AttachBuffer(payload, size);
            EXPECT_EQ(ChunkInt(camera, "ChunkFrameID"),
                      static_cast<int64_t>(image->GetImageFrameId()));
        }
        EXPECT_NE(first->GetImageFrameId(), second->GetImageFrameId());
        // Not enabled: the image carries no height chunk.
        AttachImageChunks(second, generic);
        EXPECT_THROW(ChunkInt(camera, "ChunkHeight"), GenICam::AccessException);
        generic.DetachBuffer();
        gev.DetachBuffer();
        first->Release();
        second->Release();
    }
    camera->Release();
}
