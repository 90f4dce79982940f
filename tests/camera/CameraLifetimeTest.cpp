// Cameras, ports and images used from several threads the way an application
// does: registry against destruction, shared description ports, callbacks
// against teardown, close against start, images that outlive their
// acquisition, and destruction while a worker runs.
#include <gtest/gtest.h>

#include <time.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CameraSession.h"
#include "Scene.h"

using namespace VEXOGENICAM;
using camera_test::AnnouncedBuffers;
using camera_test::Config;
using camera_test::Device;
using camera_test::RemoteMap;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

using namespace std::chrono_literals;

std::string Faults(const std::string& body) {
    return R"(, "faults": {)" + body + "}";
}

// A teardown that does not finish is a deadlock: report it and end the child
// at once, since its threads can never be joined.
template <typename F>
void MustFinish(F&& action, const char* what) {
    auto done = std::async(std::launch::async, std::forward<F>(action));
    if (done.wait_for(10s) != std::future_status::ready) {
        std::fprintf(stderr, "deadlock: %s did not return\n", what);
        std::fflush(stderr);
        std::_Exit(3);
    }
    done.get();
}

// True when the raw pixels of `image` are exactly the scene's frame.
bool ShowsScene(IImage* image, const Device& device) {
    LumoSim::SceneParams params;
    params.sensorWidth = params.width = static_cast<uint32_t>(device.width);
    params.sensorHeight = params.height = static_cast<uint32_t>(device.height);
    params.pixelFormat = static_cast<uint32_t>(image->GetPixelFormat());
    std::vector<uint8_t> scene(LumoSim::CScene::FrameSize(params));
    LumoSim::CScene::Render(params, image->GetImageFrameId(), scene.data(), scene.size());
    const auto* raw = static_cast<const uint8_t*>(image->GetPayloadBuf());
    return raw != nullptr &&
           std::memcmp(raw + image->GetImageOffset(), scene.data(), scene.size()) == 0;
}

double ProcessCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Calls into its camera from the delivery thread, once, after giving the
// teardown on the test thread time to begin.
class ReentrantNotify : public INotify {
public:
    ReentrantNotify(ICamera* camera, std::function<void(ICamera*)> call)
        : m_camera(camera), m_call(std::move(call)) {}

    void OnNotify(NOTIFY_SRC, NOTIFY_TYPE, const void*, size_t) override {
        if (entered.exchange(true)) {
            return;
        }
        std::this_thread::sleep_for(150ms);
        m_call(m_camera);
        finished = true;
    }

    std::atomic<bool> entered{false};
    std::atomic<bool> finished{false};

private:
    ICamera* m_camera;
    std::function<void(ICamera*)> m_call;
};

}  // namespace

TEST(CameraLifetimeTest, RegistryNeverHandsOutACameraBeingDestroyed) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}, Faults(R"("delays": {"DevClose": 800})")));
    ICamera* dying = session.Camera();
    ASSERT_EQ(dying->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    std::thread releasing([dying] { dying->Release(); });
    std::this_thread::sleep_for(200ms);  // inside the slow close
    ICamera* fresh = session.Camera();
    releasing.join();
    ASSERT_NE(fresh, nullptr);
    EXPECT_NE(fresh, dying);
    EXPECT_FALSE(fresh->IsOpen());
    EXPECT_EQ(fresh->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    EXPECT_EQ(session.Camera(), fresh) << "one camera per device again";
    fresh->Release();
}

TEST(CameraLifetimeTest, SharedPortLoadsItsDescriptionOnceForAllThreads) {
    CAMERA_SCENARIO();
    // A slow URL query keeps the first loader busy while the second asks.
    Session session(Config(Device{}, Faults(R"("delays": {"GCGetPortURL": 30})")));
    ICamera* camera = session.Camera();
    auto* system = dynamic_cast<CCtiPort*>(camera->GetTLXml());
    ASSERT_NE(system, nullptr);
    for (int round = 0; round < 10; ++round) {
        CCtiPort fresh(system->GetCti(), system->GetPort());
        std::atomic<int> ready{0};
        GenApi::INodeMap* seen[2] = {};
        auto ask = [&](int i) {
            ++ready;
            while (ready < 2) {
            }
            seen[i] = fresh.GetNodeMap();
        };
        std::thread first(ask, 0);
        std::thread second(ask, 1);
        first.join();
        second.join();
        ASSERT_NE(seen[0], nullptr) << round;
        EXPECT_EQ(seen[0], seen[1]) << round;
        EXPECT_EQ(fresh.GetFileSuffix(), system->GetFileSuffix());
    }
}

TEST(CameraLifetimeTest, CallbackMayCallTheCameraDuringItsTeardown) {
    CAMERA_SCENARIO();
    const char* events =
        R"(, "events": {"onFeatureWrite": [{"feature": "Width", "type": "change", "value": "1"}]})";
    Session session(Config(Device{}, events));
    ICamera* camera = session.Camera();
    const std::vector<std::pair<const char*, std::function<void(ICamera*)>>> calls = {
        {"IsOpen", [](ICamera* c) { c->IsOpen(); }},
        {"feature read",
         [](ICamera* c) {
             GenApi::INodeMap* map = RemoteMap(c);
             GenApi::CIntegerPtr width = map != nullptr ? map->GetNode("Width") : nullptr;
             if (width.IsValid()) {
                 EXPECT_EQ(width->GetValue(true, true), 32);
             }
         }},
        {"GrabImage",
         [](ICamera* c) {
             IImage* image = nullptr;
             c->GrabImage(&image, 0);
             if (image != nullptr) {
                 image->Release();
             }
         }},
    };
    for (const auto& [name, call] : calls) {
        for (const bool viaClose : {true, false}) {
            SCOPED_TRACE(std::string(name) + (viaClose ? " during Close" : " during unregister"));
            ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
            ReentrantNotify notify(camera, call);
            ASSERT_EQ(camera->RegisterNotify(NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE,
                                             &notify),
                      0);
            SetFeature(camera, "Width", "32");
            for (int i = 0; i < 300 && !notify.entered; ++i) {
                std::this_thread::sleep_for(10ms);
            }
            ASSERT_TRUE(notify.entered);
            MustFinish(
                [&] {
                    if (viaClose) {
                        camera->Close();
                    } else {
                        camera->RegisterNotify(NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE,
                                               nullptr);
                    }
                },
                viaClose ? "Close" : "RegisterNotify(nullptr)");
            EXPECT_TRUE(notify.finished);
            camera->Close();
        }
    }
}

TEST(CameraLifetimeTest, StartGrabDuringCloseLeavesAClosedIdleCamera) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = session.Camera();
    int grabbingAfterClose = 0;
    for (int round = 0; round < 300; ++round) {
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, GENTL_INFINITE), 0);
        std::atomic<bool> closed{false};
        std::atomic<bool> ready{false};
        // Restarts as soon as the stop inside Close lets it.
        std::thread starter([&] {
            ready = true;
            while (!closed) {
                const int rc = camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, GENTL_INFINITE);
                if (rc == 0) {
                    break;
                }
                ASSERT_TRUE(rc == -1 || rc == -2) << rc;
            }
        });
        while (!ready) {
        }
        camera->Close();
        closed = true;
        starter.join();
        ASSERT_FALSE(camera->IsOpen()) << round;
        if (camera->IsGrabbing()) {
            ++grabbingAfterClose;
            camera->StopGrab();
        }
    }
    EXPECT_EQ(grabbingAfterClose, 0) << "closed cameras left grabbing";
}

TEST(CameraLifetimeTest, LatestImageWorkerBacksOffWhenEveryWaitFails) {
    CAMERA_SCENARIO();
    // Any error that comes back at once: a producer fault, and a time-out
    // reported without waiting.
    for (const int error : {-1001, -1011}) {
        SCOPED_TRACE(error);
        Session session(
            Config(Device{}, Faults(R"("calls": [{"function": "EventGetData", "error": )" +
                                    std::to_string(error) + R"(, "mode": "always"}])")));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, GENTL_INFINITE), 0);
        const double before = ProcessCpuSeconds();
        IImage* image = nullptr;
        EXPECT_EQ(camera->GrabImage(&image, 600), -11);
        const double used = ProcessCpuSeconds() - before;
        camera->StopGrab();
        // A spinning worker burns the whole wait on one core.
        EXPECT_LT(used, 0.15) << "CPU seconds used while waiting 0.6 s";
    }
}

TEST(CameraLifetimeTest, HeldImagesKeepTheirPixelsAcrossStopAndClose) {
    CAMERA_SCENARIO();
    Device producerBuffers;
    Device ownBuffers;
    ownBuffers.serial = "S2";
    ownBuffers.tlType = "CL";
    ownBuffers.extra = R"(, "remotePort": false)";
    for (const Device& device : {producerBuffers, ownBuffers}) {
        SCOPED_TRACE(device.tlType);
        Session session(Config(device));
        ICamera* camera = session.Camera(device.serial);
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        IImage* stopped = nullptr;
        ASSERT_EQ(camera->GrabImage(&stopped, 2000), 0);
        camera->StopGrab();
        EXPECT_TRUE(ShowsScene(stopped, device));
        EXPECT_NE(stopped->GetImageData(), nullptr);
        stopped->Release();
        EXPECT_EQ(AnnouncedBuffers(camera), 0);

        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        IImage* closed = nullptr;
        ASSERT_EQ(camera->GrabImage(&closed, 2000), 0);
        camera->Close();
        EXPECT_FALSE(camera->IsOpen());
        EXPECT_EQ(camera->GetRMXml(), nullptr);
        EXPECT_EQ(camera->GetDSXml(), nullptr);
        EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), -2) << "still closing underneath";
        EXPECT_TRUE(ShowsScene(closed, device));
        closed->Release();  // completes the close
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        EXPECT_EQ(AnnouncedBuffers(camera), 0);
    }
}

TEST(CameraLifetimeTest, UnInitDetachesImagesStillHeld) {
    CAMERA_SCENARIO();
    IImage* held = nullptr;
    {
        Session session(Config(Device{}));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        SetFeature(camera, "ChunkModeActive", "1");
        SetFeature(camera, "ChunkSelector", "FrameID");
        SetFeature(camera, "ChunkEnable", "1");
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        ASSERT_EQ(camera->GrabImage(&held, 2000), 0);
        ASSERT_NE(held->GetImageData(), nullptr);
        ASSERT_FALSE(held->GetChunks().empty());
    }  // UnInit with the image still held
    EXPECT_EQ(held->GetImageFrameId(), 1u);
    EXPECT_EQ(held->GetImageWidth(), 64u);
    EXPECT_EQ(held->GetPayloadBuf(), nullptr);
    EXPECT_EQ(held->GetImageData(), nullptr);
    for (IChunk* chunk : held->GetChunks()) {
        EXPECT_EQ(chunk->GetData(), nullptr);
    }
    held->Release();
}

TEST(CameraLifetimeTest, ReleasingAGigECameraWhileItsWorkerGrabs) {
    CAMERA_SCENARIO();
    Device device;
    device.tlType = "GEV";
    device.pixelFormat = "Mono16";
    Session session(Config(device));
    for (int round = 0; round < 5; ++round) {
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, GENTL_INFINITE), 0);
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
        image->Release();
        std::this_thread::sleep_for(20ms);  // the worker takes frame after frame
        camera->Release();
    }
}
