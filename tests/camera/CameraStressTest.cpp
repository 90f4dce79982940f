#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <sstream>
#include <random>
#include <thread>
#include <vector>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;

// Built twice: the long run for `make stress`, a short one of a few seconds
// for every test run.
#ifndef LUMO_STRESS_CYCLES
#define LUMO_STRESS_CYCLES 1000
#define LUMO_STRESS_SUITE CameraStressTest
#endif

TEST(LUMO_STRESS_SUITE, ThreeThreadsStartGrabAndStopManyTimes) {
    CAMERA_SCENARIO();
    Device device;
    device.frameRate = 500;
    Session session(Config(device));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);

    std::atomic<int> cycles{0};
    std::atomic<int> images{0};
    std::atomic<int> unexpected{0};
    std::mutex codesLock;
    std::map<std::string, int> codes;  // what the unexpected results were
    auto note = [&](const char* call, int rc) {
        ++unexpected;
        std::lock_guard<std::mutex> guard(codesLock);
        ++codes[std::string(call) + " " + std::to_string(rc)];
    };
    auto worker = [&](unsigned seed) {
        std::mt19937 random(seed);
        while (cycles.fetch_add(1) < LUMO_STRESS_CYCLES) {
            const auto strategy = static_cast<GRAB_STRATEGY>(random() % 3);
            const int started = camera->StartGrab(strategy, GENTL_INFINITE);
            if (started != 0 && started != -1) {
                note("StartGrab", started);
            }
            for (int n = static_cast<int>(random() % 3); n >= 0; --n) {
                IImage* image = nullptr;
                const int rc = camera->GrabImage(&image, 50);
                if (image != nullptr) {
                    ++images;
                    image->Release();
                }
                // Another thread may stop or restart the acquisition at any time.
                if (rc != 0 && rc != -1 && rc != -2 && rc != -11 && rc != -12) {
                    note("GrabImage", rc);
                }
            }
            camera->StopGrab();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        threads.emplace_back(worker, seed);
    }
    for (auto& t : threads) {
        t.join();
    }
    std::ostringstream seen;
    for (const auto& [code, count] : codes) {
        seen << code << " x" << count << "; ";
    }
    EXPECT_EQ(unexpected, 0) << seen.str();
    EXPECT_GT(images, 0);
    EXPECT_FALSE(camera->IsGrabbing());
    EXPECT_EQ(camera_test::AnnouncedBuffers(camera), 0);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
    image->Release();
}
