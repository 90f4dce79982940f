#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "CameraSession.h"
#include "Scene.h"
#include "camera/CLCamera.h"
#include "camera/CLRemote.h"
#include "camera/GevCamera.h"

using namespace VEXOGENICAM;
using camera_test::AnnouncedBuffers;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr size_t kPadding = 0x100000;

// A frame grabber's camera: features in the device module, no remote port.
Device Grabber(const std::string& tlType = "CL", const std::string& pixelFormat = "Mono8",
               const std::string& deviceKeys = "") {
    Device device;
    device.tlType = tlType;
    device.pixelFormat = pixelFormat;
    device.width = kWidth;
    device.height = kHeight;
    device.extra = R"(, "remotePort": false)" + deviceKeys;
    return device;
}

GenApi::INodeMap* DeviceMap(ICamera* camera) {
    return camera->GetDEVXml()->GetNodeMap();
}

void SetDeviceFeature(ICamera* camera, const char* name, const char* value) {
    GenApi::CValuePtr node = DeviceMap(camera)->GetNode(name);
    ASSERT_TRUE(node.IsValid()) << name;
    node->FromString(value);
}

std::int64_t TLParamsLocked(ICamera* camera) {
    GenApi::CIntegerPtr node = DeviceMap(camera)->GetNode("TLParamsLocked");
    return node->GetValue(true, true);
}

std::string CallFault(const char* function, int n) {
    return std::string(R"(, "faults": {"calls": [{"function": ")") + function +
           R"(", "error": -1010, "mode": "nth", "n": )" + std::to_string(n) + "}]}";
}

// Grabs `frames` images and checks each against the scene, raw and converted.
void GrabAndCompare(ICamera* camera, unsigned long long code, size_t channels, int frames) {
    for (int n = 0; n < frames; ++n) {
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 5000), 0) << code;
        ASSERT_EQ(image->GetPixelFormat(), code);
        LumoSim::SceneParams params;
        params.sensorWidth = params.width = kWidth;
        params.sensorHeight = params.height = kHeight;
        params.pixelFormat = static_cast<uint32_t>(code);
        const size_t frameSize = LumoSim::CScene::FrameSize(params);
        std::vector<uint8_t> scene(frameSize);
        LumoSim::CScene::Render(params, image->GetImageFrameId(), scene.data(), scene.size());
        const auto* raw = static_cast<const uint8_t*>(image->GetPayloadBuf());
        EXPECT_EQ(std::memcmp(raw + image->GetImageOffset(), scene.data(), frameSize), 0) << code;

        const auto* converted = static_cast<const uint8_t*>(image->GetImageData());
        ASSERT_NE(converted, nullptr) << code;
        CImgTool reference(false);
        const auto* expected = reinterpret_cast<const uint8_t*>(reference.TransImage(
            reinterpret_cast<char*>(scene.data()), kWidth, kHeight, code, true, true));
        ASSERT_NE(expected, nullptr);
        EXPECT_EQ(
            std::memcmp(converted, expected, static_cast<size_t>(kWidth) * kHeight * channels), 0)
            << code;
        image->Release();
    }
}

}  // namespace

TEST(CLCameraTest, TransportLayerPicksTheCameraKind) {
    CAMERA_SCENARIO();
    Device gev;
    gev.serial = "S1";
    gev.tlType = "GEV";
    Device cl = Grabber("CL");
    cl.serial = "S2";
    Device clhs = Grabber("CLHS");
    clhs.serial = "S3";
    Device u3v;
    u3v.serial = "S4";
    Session session(Config({gev, cl, clhs, u3v}));
    EXPECT_NE(dynamic_cast<CGevCamera*>(session.Camera("S1")), nullptr);
    EXPECT_NE(dynamic_cast<CCLCamera*>(session.Camera("S2")), nullptr);
    EXPECT_NE(dynamic_cast<CCLCamera*>(session.Camera("S3")), nullptr);
    ICamera* plain = session.Camera("S4");
    EXPECT_EQ(dynamic_cast<CGevCamera*>(plain), nullptr);
    EXPECT_EQ(dynamic_cast<CCLCamera*>(plain), nullptr);
    EXPECT_EQ(session.Camera("S2"), session.Camera("S2")) << "one camera per device";
}

TEST(CLCameraTest, OpensTheGrabberWithoutCameraHead) {
    CAMERA_SCENARIO();
    Session session(Config(Grabber()));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_EXCLUSIVE), 0);
    EXPECT_TRUE(camera->IsOpen());
    ASSERT_NE(camera->GetDEVXml(), nullptr);
    EXPECT_NE(camera->GetDSXml(), nullptr);
    EXPECT_EQ(camera->GetRMXml(), nullptr);
    EXPECT_FALSE(camera->IsOnline()) << "no camera head to ask";

    // Configuring a camera head is not available: no remote stays behind.
    EXPECT_EQ(camera->SetCLParam("port", "/dev/ttyS0"), -1);
    EXPECT_EQ(camera->SetCLParam(nullptr, nullptr), -1);
    EXPECT_EQ(camera->GetRMXml(), nullptr);
    EXPECT_FALSE(camera->IsOnline());

    // Reopening closes the modules first; an exclusive open would fail otherwise.
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_EXCLUSIVE), 0);
    camera->Close();
    EXPECT_FALSE(camera->IsOpen());
    EXPECT_EQ(camera->GetDEVXml(), nullptr);
}

TEST(CLCameraTest, RemoteShellHasNoChannelYet) {
    CCLRemote remote;
    EXPECT_EQ(remote.SetParam("port", "x"), -1);
    EXPECT_EQ(remote.GetAccessMode(), GenApi::NA);
    EXPECT_EQ(remote.GetFileSuffix(), "xml");  // lower case, unlike the producer ports
    EXPECT_EQ(remote.GetNodeMap(), nullptr);
    std::uint32_t value = 0;
    EXPECT_NO_THROW(remote.Read(&value, 0, sizeof value));
    EXPECT_NO_THROW(remote.StartGrab(1));
}

TEST(CLCameraTest, BuffersAreSizedFromTheDeviceModule) {
    CAMERA_SCENARIO();
    struct Case {
        const char* tlType;
        const char* omitted;
        size_t bytesPerPixel;
    };
    // Without "PixelFormat" the grabber sizes Mono8 although the camera sends
    // Mono16: the padding still holds the frame.
    for (const Case& c : {Case{"CL", "", 2}, Case{"CLHS", R"("PixelFormat")", 1}}) {
        Session session(Config(Grabber(
            c.tlType, "Mono16", std::string(R"(, "omitDeviceFeatures": [)") + c.omitted + "]")));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0) << c.tlType;
        camera->SetAnnounceBufCount(4);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0) << c.tlType;
        EXPECT_EQ(AnnouncedBuffers(camera), 4) << c.tlType;
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 5000), 0) << c.tlType;
        EXPECT_EQ(image->GetPayloadSize(), kWidth * kHeight * c.bytesPerPixel + kPadding)
            << c.tlType;
        EXPECT_TRUE(image->IsComplete());
        image->Release();
        camera->Release();
    }
}

TEST(CLCameraTest, GrabbedFramesMatchTheScene) {
    CAMERA_SCENARIO();
    {
        Session session(Config(Grabber("CL", "Mono8")));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        GrabAndCompare(camera, 0x01080001, 1, 3);
        // The buffers go round: more frames than buffers.
        camera->StopGrab();
        camera->SetAnnounceBufCount(3);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        GrabAndCompare(camera, 0x01080001, 1, 7);
    }
    {
        Session session(Config(Grabber("CLHS", "BayerRG8")));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        GrabAndCompare(camera, 0x01080009, 3, 3);
    }
}

TEST(CLCameraTest, FailedStartsLeaveNothingAnnounced) {
    CAMERA_SCENARIO();
    {
        Session session(Config(Grabber("CL", "Mono8", R"(, "omitDeviceFeatures": ["Height"])")));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), -6);
        EXPECT_EQ(AnnouncedBuffers(camera), 0);
        EXPECT_FALSE(camera->IsGrabbing());
    }
    struct Case {
        const char* function;
        int n;
        int status;
    };
    for (const Case& c : {Case{"DSAnnounceBuffer", 3, -6}, Case{"GCRegisterEvent", 1, -7},
                          Case{"DSStartAcquisition", 1, -8}}) {
        Session session(Config(Grabber(), CallFault(c.function, c.n)));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0) << c.function;
        EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), c.status)
            << c.function;
        EXPECT_EQ(AnnouncedBuffers(camera), 0) << c.function;
        EXPECT_FALSE(camera->IsGrabbing());
        EXPECT_EQ(TLParamsLocked(camera), 0) << c.function;
        // The fault hit one call only: the next start works with every buffer.
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0) << c.function;
        EXPECT_EQ(AnnouncedBuffers(camera), 8) << c.function;
        IImage* image = nullptr;
        EXPECT_EQ(camera->GrabImage(&image, 5000), 0) << c.function;
        if (image != nullptr) {
            image->Release();
        }
    }
}

TEST(CLCameraTest, StopAndCloseReleaseTheBuffers) {
    CAMERA_SCENARIO();
    Session session(Config(Grabber()));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_EQ(TLParamsLocked(camera), 1);
    IImage* held = nullptr;
    ASSERT_EQ(camera->GrabImage(&held, 5000), 0);
    camera->StopGrab();
    EXPECT_FALSE(camera->IsGrabbing());
    EXPECT_EQ(AnnouncedBuffers(camera), 1);  // the held image's buffer
    EXPECT_EQ(TLParamsLocked(camera), 0);
    held->Release();  // after the stop: revoked and freed, not queued again
    EXPECT_EQ(AnnouncedBuffers(camera), 0);

    // A stop ends a grab that waits for a frame which never comes.
    SetDeviceFeature(camera, "TriggerMode", "On");
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    auto waiting = std::async(std::launch::async, [camera] {
        IImage* image = nullptr;
        return camera->GrabImage(&image, 20000);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    camera->StopGrab();
    ASSERT_EQ(waiting.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(waiting.get(), -12);
    SetDeviceFeature(camera, "TriggerMode", "Off");

    // Close while grabbing, then release while grabbing: both stop first.
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_LATEST_IMAGE, GENTL_INFINITE), 0);
    camera->Close();
    EXPECT_FALSE(camera->IsOpen());
    EXPECT_FALSE(camera->IsGrabbing());
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    ASSERT_EQ(camera->GrabImage(&held, 5000), 0);
    held->Release();
    camera->Release();
    // The grabber is free again once the released camera closed it.
    ICamera* again = session.Camera();
    EXPECT_EQ(again->Open(DEVICE_OPEN_MODE_EXCLUSIVE), 0);
}

TEST(CLCameraTest, RefusedRevokeKeepsTheMemoryUntilTheProducerGivesItBack) {
    CAMERA_SCENARIO();
    // The first stream stop fails: the stream keeps its buffers and may still
    // fill them, so their memory must stay until a later stop lets them go.
    Session session(Config(Grabber(), CallFault("DSStopAcquisition", 1)));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    for (int cycle = 0; cycle < 3; ++cycle) {
        SCOPED_TRACE(cycle);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        EXPECT_EQ(AnnouncedBuffers(camera), 8);
        GrabAndCompare(camera, 0x01080001, 1, 3);
        camera->StopGrab();
        EXPECT_EQ(AnnouncedBuffers(camera), 0);
    }
    camera->Close();
}
