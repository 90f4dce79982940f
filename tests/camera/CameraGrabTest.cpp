#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::AnnouncedBuffers;
using camera_test::Config;
using camera_test::Device;
using camera_test::OpenCamera;
using camera_test::Session;
using camera_test::SetFeature;

TEST(CameraGrabTest, OneByOneDeliversEveryFrameInOrderWithItsMetadata) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = OpenCamera(session);
    IImage* image = reinterpret_cast<IImage*>(1);
    EXPECT_EQ(camera->GrabImage(&image, 10), -1);  // not started
    EXPECT_EQ(image, nullptr);
    camera->SetAnnounceBufCount(2);
    EXPECT_EQ(camera->GetAnnounceBufCount(), 8u);
    camera->SetAnnounceBufCount(3);
    EXPECT_EQ(camera->GetAnnounceBufCount(), 3u);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_TRUE(camera->IsGrabbing());
    EXPECT_EQ(AnnouncedBuffers(camera), 3);
    EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, 1), -1);
    EXPECT_EQ(camera->GrabImage(nullptr, 10), -1);
    // Twenty frames through three buffers: releasing re-queues each one.
    for (unsigned long long expected = 1; expected <= 20; ++expected) {
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
        EXPECT_EQ(image->GetImageFrameId(), expected);
        EXPECT_TRUE(image->IsComplete());
        EXPECT_TRUE(image->IsImagePresent());
        EXPECT_EQ(image->GetImageWidth(), 64u);
        EXPECT_EQ(image->GetImageHeight(), 48u);
        EXPECT_EQ(image->GetPixelFormat(), 0x01080001u);
        EXPECT_EQ(image->GetPayloadSize(), 64u * 48u);
        EXPECT_EQ(image->GetImageDepth(), 8u);
        EXPECT_EQ(image->GetImageChannel(), 1u);
        EXPECT_EQ(image->GetImageStep(), 64u);
        EXPECT_TRUE(image->GetChunks().empty());
        EXPECT_EQ(image->GetImageData(), image->GetPayloadBuf());  // Mono8 needs no copy
        image->SetTag(&expected);
        EXPECT_EQ(image->GetTag(), &expected);
        image->Release();
    }
    camera->StopGrab();
    EXPECT_FALSE(camera->IsGrabbing());
    EXPECT_EQ(AnnouncedBuffers(camera), 0);
    EXPECT_EQ(camera->GrabImage(&image, 10), -1);
}

TEST(CameraGrabTest, TimeOutsAndFiniteCounts) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = OpenCamera(session);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, 2), 0);
    IImage* image = nullptr;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
        image->Release();
    }
    image = reinterpret_cast<IImage*>(1);
    EXPECT_EQ(camera->GrabImage(&image, 50), -11);
    EXPECT_EQ(image, nullptr);
    camera->StopGrab();
    // A fresh start restarts the frame count.
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
    EXPECT_EQ(image->GetImageFrameId(), 1u);
    image->Release();
}

TEST(CameraGrabTest, StopReleasesWaitersAndLeavesNoBuffer) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = OpenCamera(session);
    SetFeature(camera, "TriggerMode", "On");  // no frame arrives
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    std::atomic<int> results[2] = {{0}, {0}};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 2; ++i) {
        waiters.emplace_back([&, i] {
            IImage* image = nullptr;
            results[i] = camera->GrabImage(&image, GENTL_INFINITE);
            if (image != nullptr) {
                image->Release();
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    camera->StopGrab();
    for (auto& t : waiters) {
        t.join();
    }
    EXPECT_EQ(results[0], -12);
    EXPECT_EQ(results[1], -12);
    EXPECT_EQ(AnnouncedBuffers(camera), 0);
    camera->StopGrab();  // a second stop is harmless
}

TEST(CameraGrabTest, ImagesReleasedAfterStopAreDropped) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = OpenCamera(session);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* kept[2] = {};
    ASSERT_EQ(camera->GrabImage(&kept[0], 2000), 0);
    ASSERT_EQ(camera->GrabImage(&kept[1], 2000), 0);
    camera->StopGrab();
    // The held buffers stay announced, so their pixels stay valid; the
    // release revokes instead of queueing.
    EXPECT_EQ(AnnouncedBuffers(camera), 2);
    EXPECT_EQ(kept[0]->GetImageFrameId(), 1u);
    EXPECT_NE(kept[0]->GetImageData(), nullptr);
    kept[0]->Release();
    EXPECT_EQ(AnnouncedBuffers(camera), 1);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_EQ(AnnouncedBuffers(camera), 9);
    kept[1]->Release();  // of the earlier acquisition: revoked at the next stop
    EXPECT_EQ(AnnouncedBuffers(camera), 9);
    IImage* image = nullptr;
    for (unsigned long long id = 1; id <= 10; ++id) {
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
        EXPECT_EQ(image->GetImageFrameId(), id);
        image->Release();
    }
    camera->StopGrab();
    EXPECT_EQ(AnnouncedBuffers(camera), 0);
}

TEST(CameraGrabTest, BufferAllocationLimits) {
    CAMERA_SCENARIO();
    {
        Session session(Config(Device{}, R"(, "faults": {"maxAllocBuffers": 3})"));
        ICamera* camera = OpenCamera(session);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        EXPECT_EQ(AnnouncedBuffers(camera), 3);
        IImage* image = nullptr;
        for (int i = 0; i < 6; ++i) {
            ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
            image->Release();
        }
    }
    {
        Session session(Config(Device{}, R"(, "faults": {"maxAllocBuffers": 0})"));
        ICamera* camera = OpenCamera(session);
        EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), -6);
        EXPECT_FALSE(camera->IsGrabbing());
    }
    {
        // A start that fails after announcing revokes what it announced.
        Session session(Config(
            Device{},
            R"(, "faults": {"calls": [{"function": "DSStartAcquisition", "error": -1001, "mode": "nth", "n": 1}]})"));
        ICamera* camera = OpenCamera(session);
        EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), -8);
        EXPECT_EQ(AnnouncedBuffers(camera), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        EXPECT_EQ(AnnouncedBuffers(camera), 8);
    }
}

TEST(CameraGrabTest, IncompleteFramesCarryMetadataButNoPixels) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}, R"(, "faults": {"incompleteEvery": 2})"));
    ICamera* camera = OpenCamera(session);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    for (unsigned long long id = 1; id <= 6; ++id) {
        IImage* image = nullptr;
        const int rc = camera->GrabImage(&image, 2000);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->GetImageFrameId(), id);
        if (id % 2 == 0) {
            EXPECT_EQ(rc, -23);
            EXPECT_FALSE(image->IsComplete());
            EXPECT_EQ(image->GetImageData(), nullptr);
        } else {
            EXPECT_EQ(rc, 0);
            EXPECT_NE(image->GetImageData(), nullptr);
        }
        image->Release();  // an incomplete buffer is re-queued as well
    }
}

TEST(CameraGrabTest, CoaXPressHeightComesFromTheBufferSize) {
    CAMERA_SCENARIO();
    // Chunk trailers make the buffer larger than the image, which shows
    // whether the height was derived from the buffer size.
    for (const char* tl : {"CXP", "U3V"}) {
        for (const char* format : {"Mono8", "Mono16"}) {
            Device device;
            device.tlType = tl;
            device.pixelFormat = format;
            device.width = 16;
            device.height = 4;
            Session session(Config(device));
            ICamera* camera = OpenCamera(session);
            SetFeature(camera, "ChunkModeActive", "1");
            SetFeature(camera, "ChunkSelector", "FrameID");
            SetFeature(camera, "ChunkEnable", "1");
            ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
            IImage* image = nullptr;
            ASSERT_EQ(camera->GrabImage(&image, 2000), 0) << tl << format;
            const size_t bytesPerPixel = std::string(format) == "Mono8" ? 1 : 2;
            const size_t expected =
                std::string(tl) == "CXP" ? image->GetPayloadSize() / (bytesPerPixel * 16) : 4;
            EXPECT_GT(image->GetPayloadSize(), 16 * 4 * bytesPerPixel);
            EXPECT_EQ(image->GetImageHeight(), expected) << tl << format;
            image->Release();
        }
    }
}
