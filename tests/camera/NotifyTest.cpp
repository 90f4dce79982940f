#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

class Recorder : public INotify {
public:
    struct Event {
        NOTIFY_SRC source;
        NOTIFY_TYPE type;
        size_t size;
    };

    void OnNotify(NOTIFY_SRC source, NOTIFY_TYPE type, const void* data, size_t size) override {
        std::lock_guard<std::mutex> guard(m_lock);
        EXPECT_NE(data, nullptr);
        m_events.push_back({source, type, size});
        m_arrived.notify_all();
    }

    bool WaitFor(size_t count, std::chrono::milliseconds limit = std::chrono::milliseconds(3000)) {
        std::unique_lock<std::mutex> guard(m_lock);
        return m_arrived.wait_for(guard, limit, [&] { return m_events.size() >= count; });
    }

    std::vector<Event> Events() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_events;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_arrived;
    std::vector<Event> m_events;
};

const char* kWidthEvents =
    R"(, "events": {"onFeatureWrite": [{"feature": "Width", "type": "change", "value": "1"}]})";

}  // namespace

TEST(NotifyTest, RegistrationRulesAndCodes) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = session.Camera();
    Recorder recorder;
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DATA_STREAM, NOTIFY_TYPE_NEW_BUFFER, &recorder),
              -10);
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DATA_STREAM, NOTIFY_TYPE_NEW_BUFFER, nullptr), -10);
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR, &recorder), -2);
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    EXPECT_EQ(camera->RegisterNotify(static_cast<NOTIFY_SRC>(4), NOTIFY_TYPE_ERROR, &recorder), -1);
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR, nullptr), -1);
    for (auto src : {NOTIFY_SRC_DEVICE, NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_SRC_DATA_STREAM}) {
        EXPECT_EQ(camera->RegisterNotify(src, NOTIFY_TYPE_ERROR, &recorder), 0) << src;
        EXPECT_EQ(camera->RegisterNotify(src, NOTIFY_TYPE_ERROR, &recorder), -1) << src;
    }
    // An unregistration that worked answers -1 too; the pair is free again.
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR, nullptr), -1);
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR, &recorder), 0);
    // The stream's new-buffer event stays with acquisition while grabbing.
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
    image->Release();
    camera->Close();  // ends every registration
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_ERROR, &recorder), 0);
}

TEST(NotifyTest, ProducerRefusalIsReported) {
    CAMERA_SCENARIO();
    Session session(Config(
        Device{},
        R"(, "faults": {"calls": [{"function": "GCRegisterEvent", "error": -1001, "mode": "always"}]})"));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    Recorder recorder;
    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE, &recorder), -4);
    EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), -7);
    EXPECT_EQ(camera_test::AnnouncedBuffers(camera), 0);
}

TEST(NotifyTest, EventsReachTheClientUntilTheRegistrationEnds) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}, kWidthEvents));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    Recorder device;
    Recorder remote;
    ASSERT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE, &device), 0);
    ASSERT_EQ(camera->RegisterNotify(NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE, &remote),
              0);
    SetFeature(camera, "Width", "32");
    SetFeature(camera, "Width", "48");
    ASSERT_TRUE(device.WaitFor(2));
    ASSERT_TRUE(remote.WaitFor(2));
    for (const auto& e : device.Events()) {
        EXPECT_EQ(e.source, NOTIFY_SRC_DEVICE);
        EXPECT_EQ(e.type, NOTIFY_TYPE_FEATURE_CHANGE);
        EXPECT_GT(e.size, 0u);
    }
    EXPECT_EQ(remote.Events().front().source, NOTIFY_SRC_REMOTE_DEVICE);

    EXPECT_EQ(camera->RegisterNotify(NOTIFY_SRC_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE, nullptr), -1);
    const size_t deviceSeen = device.Events().size();
    SetFeature(camera, "Width", "40");
    ASSERT_TRUE(remote.WaitFor(3));
    EXPECT_EQ(device.Events().size(), deviceSeen);

    camera->Close();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    const size_t remoteSeen = remote.Events().size();
    SetFeature(camera, "Width", "56");
    EXPECT_FALSE(remote.WaitFor(remoteSeen + 1, std::chrono::milliseconds(300)));
}
