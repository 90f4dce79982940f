#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CallLog.h"
#include "CameraSession.h"
#include "LumoResultCodes.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;
using lumo_test::CallLog;
namespace open_codes = VEXOGENICAM::result::open;

namespace {

CallLog Log() {
    return CallLog(lumo_test::ScenarioPath() / "calls.log");
}

Device Kind(const std::string& serial, const std::string& tlType, const std::string& extra = "") {
    Device device;
    device.serial = serial;
    device.tlType = tlType;
    device.extra = extra;
    return device;
}

const char* const kNoRemotePort = R"(, "remotePort": false)";

}  // namespace

// Every kind of camera asks the producer for the same access per open mode; an unknown mode
// means exclusive access.
TEST(CameraModesTest, OpenModesAskForTheirAccessFlag) {
    CAMERA_SCENARIO();
    CallLog log = Log();
    Session session(
        Config({Kind("S1", "U3V"), Kind("S2", "GEV"), Kind("S3", "CL", kNoRemotePort)}));
    const std::pair<DEVICE_OPEN_MODE, int> modes[] = {
        {DEVICE_OPEN_MODE_CONTROL, GenTL::DEVICE_ACCESS_CONTROL},
        {DEVICE_OPEN_MODE_EXCLUSIVE, GenTL::DEVICE_ACCESS_EXCLUSIVE},
        {DEVICE_OPEN_MODE_READONLY, GenTL::DEVICE_ACCESS_READONLY},
        {static_cast<DEVICE_OPEN_MODE>(7), GenTL::DEVICE_ACCESS_EXCLUSIVE},
    };
    for (const char* serial : {"S1", "S2", "S3"}) {
        ICamera* camera = session.Camera(serial);
        for (const auto& [mode, flag] : modes) {
            log.Clear();
            EXPECT_EQ(camera->Open(mode), result::kOk) << serial << " mode " << mode;
            EXPECT_EQ(log.Calls("IFOpenDevice"),
                      std::vector<std::string>{"IFOpenDevice " + std::to_string(flag)})
                << serial << " mode " << mode;
            camera->Close();
        }
    }
}

// A Camera Link camera is opened through the producer's first interface (its grabber), whatever
// interface discovery found it on; other cameras use their own interface.
TEST(CameraModesTest, CameraLinkOpensThroughTheFirstInterface) {
    CAMERA_SCENARIO();
    Session session(R"({"interfaces": [
        {"id": "IF0", "tlType": "CL", "devices": [
            {"id": "DEV_C0", "serial": "C0", "tlType": "CL", "remotePort": false}]},
        {"id": "IF1", "tlType": "CL", "devices": [
            {"id": "DEV_C1", "serial": "C1", "tlType": "CL", "remotePort": false},
            {"id": "DEV_U1", "serial": "U1", "tlType": "U3V"}]}]})");
    const std::pair<const char*, int> cases[] = {
        {"C0", result::kOk}, {"C1", open_codes::kDeviceNotOpened}, {"U1", result::kOk}};
    for (const auto& [serial, code] : cases) {
        ICamera* camera = session.Camera(serial);
        ASSERT_NE(camera, nullptr) << serial;
        EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), code) << serial;
        EXPECT_EQ(camera->IsOpen(), code == result::kOk) << serial;
        camera->Close();
    }
}

// "TLParamsLocked" is locked around an acquisition where the grabber has it, and skipped where
// it has not.
TEST(CameraModesTest, CameraLinkStartsWithoutTLParamsLocked) {
    CAMERA_SCENARIO();
    Session session(Config(Kind(
        "S1", "CL", std::string(kNoRemotePort) + R"(, "omitDeviceFeatures": ["TLParamsLocked"])")));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), result::kOk);
    ASSERT_EQ(camera->GetDEVXml()->GetNodeMap()->GetNode("TLParamsLocked"), nullptr);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), result::kOk);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 2000), result::kOk);
    image->Release();
    camera->StopGrab();
}

// The stream tuning of a GigE Vision camera follows only a successful open; a failed one reports
// the base code and writes no register.
TEST(CameraModesTest, FailedGigEOpenWritesNoRegister) {
    CAMERA_SCENARIO();
    CallLog log = Log();
    struct Case {
        const char* failing;
        int code;
        bool writes;
    };
    const Case cases[] = {
        {nullptr, result::kOk, true},
        {"DevGetPort", open_codes::kNoRemotePort, false},
        {"DevGetNumDataStreams", open_codes::kStreamCountFailed, false},
        {"DevOpenDataStream", open_codes::kStreamOpenFailed, false},
    };
    for (const auto& c : cases) {
        const std::string fault = c.failing
                                      ? std::string(R"(, "faults": {"calls": [{"function": ")") +
                                            c.failing + R"(", "error": -1010}]})"
                                      : std::string();
        Session session(Config(Kind("S1", "GEV"), fault));
        ICamera* camera = session.Camera();
        log.Clear();
        EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), c.code) << (c.failing ? c.failing : "");
        EXPECT_EQ(log.Calls("GCWritePort").empty(), !c.writes) << (c.failing ? c.failing : "");
    }
}

// A CoaXPress device without any "PayloadSize" gets buffers sized from its geometry and pixel
// format; other devices cannot start without it.
TEST(CameraModesTest, CoaXPressPayloadComesFromTheGeometry) {
    CAMERA_SCENARIO();
    struct Case {
        const char* tlType;
        const char* pixelFormat;
        int code;
        size_t bytesPerPixel;
    };
    const Case cases[] = {
        {"CXP", "Mono16", result::kOk, 2},
        {"CXP", "Mono8", result::kOk, 1},
        {"U3V", "Mono16", result::start_grab::kNoBuffers, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.tlType) + " " + c.pixelFormat);
        Device device = Kind("S1", c.tlType, R"(, "payloadSize": false)");
        device.pixelFormat = c.pixelFormat;
        Session session(Config(device));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), result::kOk);
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), c.code);
        if (c.code != result::kOk) {
            continue;
        }
        IImage* image = nullptr;
        ASSERT_EQ(camera->GrabImage(&image, 2000), result::kOk);
        const size_t expected = static_cast<size_t>(device.width) * device.height * c.bytesPerPixel;
        EXPECT_EQ(image->GetPayloadSize(), expected);
        EXPECT_EQ(image->GetImageHeight(), static_cast<size_t>(device.height));
        image->Release();
    }
}
