// Device events end to end: once the application switches a notification on,
// the simulated camera raises ExposureEnd for its frames, and the camera puts
// each event's data into the remote map, where node callbacks see it.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::RemoteMap;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

// What the callbacks of EventExposureEndTimestamp read: frame ID -> timestamp.
class ExposureEndLog : public INotify {
public:
    void OnNotify(NOTIFY_SRC, NOTIFY_TYPE, const void*, size_t) override {}
    void Seen(int64_t frameId, int64_t timestamp) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_seen[frameId] = timestamp;
        m_changed.notify_all();
    }
    bool WaitForFrame(int64_t frameId) {
        std::unique_lock<std::mutex> guard(m_lock);
        return m_changed.wait_for(guard, std::chrono::seconds(3),
                                  [&] { return m_seen.count(frameId) != 0; });
    }
    std::map<int64_t, int64_t> Seen() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_seen;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::map<int64_t, int64_t> m_seen;
};

int64_t IntFeature(GenApi::INodeMap* map, const char* name) {
    return GenApi::CIntegerPtr(map->GetNode(name))->GetValue();
}

}  // namespace

TEST(DeviceEventTest, ExposureEndCallbacksReadEachEventsData) {
    CAMERA_SCENARIO();
    struct Case {
        NOTIFY_SRC source;
        int every;  // events.exposureEndEvery
    };
    for (const Case& c : {Case{NOTIFY_SRC_DEVICE, 1}, Case{NOTIFY_SRC_REMOTE_DEVICE, 1},
                          Case{NOTIFY_SRC_DEVICE, 2}}) {
        SCOPED_TRACE("source " + std::to_string(c.source) + ", every " + std::to_string(c.every));
        Device device;
        device.width = 16;
        device.height = 4;
        Session session(
            Config(device, R"(, "events": {"exposureEndEvery": )" + std::to_string(c.every) + "}"));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        GenApi::INodeMap* map = RemoteMap(camera);
        EXPECT_EQ(IntFeature(map, "EventExposureEnd"), 0x9010);
        ExposureEndLog log;
        // The callback reads another feature of the same map.
        const auto handle =
            GenApi::Register(map->GetNode("EventExposureEndTimestamp"), [&](GenApi::INode*) {
                log.Seen(IntFeature(map, "EventExposureEndFrameID"),
                         IntFeature(map, "EventExposureEndTimestamp"));
            });
        ASSERT_EQ(camera->RegisterNotify(c.source, NOTIFY_TYPE_REMOTE_DEVICE, &log), 0);
        SetFeature(camera, "EventSelector", "ExposureEnd");
        SetFeature(camera, "EventNotification", "On");
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        std::map<int64_t, int64_t> images;  // frame ID -> timestamp
        for (int i = 0; i < 6; ++i) {
            IImage* image = nullptr;
            ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
            images[static_cast<int64_t>(image->GetImageFrameId())] =
                static_cast<int64_t>(image->GetTimeStamp());
            image->Release();
        }
        ASSERT_TRUE(log.WaitForFrame(images.rbegin()->first / c.every * c.every));
        const std::map<int64_t, int64_t> seen = log.Seen();
        for (const auto& [frameId, timestamp] : images) {
            if (frameId % c.every == 0) {
                ASSERT_EQ(seen.count(frameId), 1u) << frameId;
                EXPECT_EQ(seen.at(frameId), timestamp) << frameId;
            } else {
                EXPECT_EQ(seen.count(frameId), 0u) << frameId;
            }
        }
        camera->StopGrab();
        EXPECT_TRUE(GenApi::Deregister(handle));  // while the map still holds it
        camera->Release();
    }
}
