#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

ICamera* StartCamera(const Session& session, GRAB_STRATEGY strategy) {
    ICamera* camera = session.Camera();
    EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    EXPECT_EQ(camera->StartGrab(strategy, GENTL_INFINITE), 0);
    return camera;
}

unsigned long long GrabId(ICamera* camera) {
    IImage* image = nullptr;
    const int rc = camera->GrabImage(&image, 3000);
    EXPECT_EQ(rc, 0);
    if (image == nullptr) {
        return 0;
    }
    const unsigned long long id = image->GetImageFrameId();
    image->Release();
    return id;
}

Device AtRate(double rate) {
    Device device;
    device.frameRate = rate;
    return device;
}

}  // namespace

TEST(GrabStrategyTest, LatestImageSkipsFramesForASlowClient) {
    CAMERA_SCENARIO();
    Session session(Config(AtRate(100)));
    ICamera* camera = StartCamera(session, GRAB_STRATEGY_LATEST_IMAGE);
    unsigned long long previous = GrabId(camera);
    bool skipped = false;
    for (int i = 0; i < 5; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        const unsigned long long id = GrabId(camera);
        EXPECT_GT(id, previous);
        skipped = skipped || id > previous + 1;
        previous = id;
    }
    EXPECT_TRUE(skipped);
}

TEST(GrabStrategyTest, UpcomingImageIsNeverOlderThanTheCall) {
    CAMERA_SCENARIO();
    Session session(Config(AtRate(20)));
    ICamera* camera = StartCamera(session, GRAB_STRATEGY_UPCOMING_IMAGE);
    for (int i = 0; i < 3; ++i) {
        const unsigned long long before = GrabId(camera);
        // About six frames arrive meanwhile; the held one is dropped.
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_GE(GrabId(camera), before + 4);
    }
}

TEST(GrabStrategyTest, WaitingGrabsTimeOutOnTime) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    for (auto strategy : {GRAB_STRATEGY_LATEST_IMAGE, GRAB_STRATEGY_UPCOMING_IMAGE}) {
        SCOPED_TRACE(strategy);
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        SetFeature(camera, "TriggerMode", "On");  // no frame ever comes
        ASSERT_EQ(camera->StartGrab(strategy, GENTL_INFINITE), 0);
        IImage* image = nullptr;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(camera->GrabImage(&image, 250), -11);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(image, nullptr);
        EXPECT_GE(took, std::chrono::milliseconds(250));
        EXPECT_LT(took, std::chrono::milliseconds(350));
        EXPECT_EQ(camera->GrabImage(&image, 0), -11);  // one look, then give up
        camera->StopGrab();
        camera->Release();
    }
}

TEST(GrabStrategyTest, WaitingGrabsTakeEachFrameAsItArrives) {
    CAMERA_SCENARIO();
    Session session(Config(AtRate(30)));
    for (auto strategy : {GRAB_STRATEGY_LATEST_IMAGE, GRAB_STRATEGY_UPCOMING_IMAGE}) {
        SCOPED_TRACE(strategy);
        ICamera* camera = StartCamera(session, strategy);
        // A client that comes straight back waits for the next frame and gets
        // it; a client that only looked now and then would skip two or three.
        constexpr unsigned long long kGrabs = 20;
        const unsigned long long first = GrabId(camera);
        unsigned long long previous = first;
        for (unsigned long long i = 0; i < kGrabs; ++i) {
            const unsigned long long id = GrabId(camera);
            EXPECT_GT(id, previous);
            previous = id;
        }
        EXPECT_LE(previous - first - kGrabs, kGrabs / 2) << "frames skipped in " << kGrabs;
        camera->StopGrab();
        camera->Release();
    }
}

TEST(GrabStrategyTest, StopEndsWaitingClientsAndReleasesTheHeldImage) {
    CAMERA_SCENARIO();
    Session session(Config(AtRate(50)));
    for (auto strategy : {GRAB_STRATEGY_LATEST_IMAGE, GRAB_STRATEGY_UPCOMING_IMAGE}) {
        ICamera* camera = StartCamera(session, strategy);
        std::thread waiter([&] {
            IImage* image = nullptr;
            // Either a frame arrives first or the stop ends the wait.
            for (int rc = 0; rc == 0;) {
                rc = camera->GrabImage(&image, GENTL_INFINITE);
                if (image != nullptr) {
                    image->Release();
                    image = nullptr;
                }
                if (rc != 0) {
                    // -12 inside the stop, -1 when the call came after it
                    EXPECT_TRUE(rc == -12 || rc == -1) << rc;
                }
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        camera->StopGrab();
        waiter.join();
        EXPECT_EQ(camera_test::AnnouncedBuffers(camera), 0);
        camera->Release();
    }
}
