#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "CameraSession.h"
#include "Scene.h"
#include "camera/GevCamera.h"
#include "gentl/CameraInfo.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;

namespace {

constexpr std::uint64_t kPacketMinReg = 0x228;
constexpr std::uint64_t kPacketMaxReg = 0x22C;
constexpr std::uint64_t kPacketIncReg = 0x230;
constexpr std::uint64_t kStreamSetupReg = 0x24;

// A GigE Vision camera; `bigEndian` is the initial "pgrPixelBigEndian", or
// nullopt for a camera without the feature.
std::string GevConfig(std::optional<bool> bigEndian, const std::string& deviceKeys = "",
                      const std::string& more = "", const std::string& pixelFormat = "Mono8") {
    Device device;
    device.tlType = "GEV";
    device.pixelFormat = pixelFormat;
    device.extra = deviceKeys;
    std::string json = Config(device, more);
    const std::string feature = R"(, "pgrPixelBigEndian": false)";
    const auto at = json.find(feature);
    json.replace(at, feature.size(),
                 bigEndian
                     ? std::string(R"(, "pgrPixelBigEndian": )") + (*bigEndian ? "true" : "false")
                     : std::string());
    return json;
}

std::uint32_t ReadStreamRegister(ICamera* camera, std::uint64_t address) {
    auto* port = dynamic_cast<CCtiPort*>(camera->GetDSXml());
    std::uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_EQ(port->GetCti()->GCReadPort(port->GetPort(), address, &value, &size), 0);
    return value;
}

void WriteStreamRegister(ICamera* camera, std::uint64_t address, std::uint32_t value) {
    auto* port = dynamic_cast<CCtiPort*>(camera->GetDSXml());
    size_t size = sizeof value;
    EXPECT_EQ(port->GetCti()->GCWritePort(port->GetPort(), address, &value, &size), 0);
}

GenApi::INodeMap* StreamMap(ICamera* camera) {
    return camera->GetDSXml()->GetNodeMap();
}

bool BoolFeature(GenApi::INodeMap* map, const char* name) {
    GenApi::CBooleanPtr node = map->GetNode(name);
    return node->GetValue(true, true);
}

std::int64_t IntFeature(GenApi::INodeMap* map, const char* name) {
    GenApi::CIntegerPtr node = map->GetNode(name);
    return node->GetValue(true, true);
}

// Opens the registry's camera, which must be a CGevCamera.
CGevCamera* OpenGev(const Session& session) {
    auto* camera = dynamic_cast<CGevCamera*>(session.Camera());
    EXPECT_NE(camera, nullptr);
    if (camera != nullptr) {
        EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    }
    return camera;
}

// Reaches the byte-order answer that every grabbed image is given.
class GevProbe : public CGevCamera {
public:
    explicit GevProbe(ICameraInfo* info) : CGevCamera(dynamic_cast<CCameraInfo*>(info), nullptr) {}
    bool PixelBigEndian() { return IsPixelBigEndian(); }
};

// Grabs one software-triggered frame, so that it is taken after the start
// has set the byte order, and checks it against the scene's little-endian
// Mono16 pixels, raw and converted.
void CheckMono16Frame(ICamera* camera, const char* label) {
    GenApi::CCommandPtr trigger = camera_test::RemoteMap(camera)->GetNode("TriggerSoftware");
    trigger->Execute(true);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage(&image, 5000), 0) << label;
    ASSERT_EQ(image->GetPixelFormat(), 0x01100007u) << label;

    LumoSim::SceneParams params;
    params.sensorWidth = params.width = static_cast<uint32_t>(image->GetImageWidth());
    params.sensorHeight = params.height = static_cast<uint32_t>(image->GetImageHeight());
    params.pixelFormat = 0x01100007;
    params.bigEndian16 = false;
    const size_t frameSize = LumoSim::CScene::FrameSize(params);
    std::vector<std::uint8_t> scene(frameSize);
    LumoSim::CScene::Render(params, image->GetImageFrameId(), scene.data(), scene.size());
    const auto* raw =
        static_cast<const std::uint8_t*>(image->GetPayloadBuf()) + image->GetImageOffset();
    EXPECT_EQ(std::vector<std::uint8_t>(raw, raw + frameSize), scene) << label << ": raw frame";

    const auto* converted = static_cast<const std::uint8_t*>(image->GetImageData());
    ASSERT_NE(converted, nullptr) << label;
    size_t wrong = 0;
    for (size_t i = 0; i < frameSize / 2; ++i) {
        wrong += converted[i] != scene[2 * i + 1];  // the high byte of each sample
    }
    EXPECT_EQ(wrong, 0u) << label << ": converted pixels";
    image->Release();
}

}  // namespace

TEST(GevCameraTest, OpenWritesThePacketLimitsToTheStream) {
    CAMERA_SCENARIO();
    struct Case {
        const char* packetSize;
        std::uint32_t min, max, inc;  // as the stream registers hold them
    };
    const Case cases[] = {
        {R"({"min": 576, "max": 9000, "inc": 4, "value": 1500})", 576, 9000, 4},
        // Unbounded limits become 0; an increment of 1 becomes a 32-bit word.
        {R"({"min": -1, "max": -1, "inc": 1, "value": 1500})", 0, 0, 4},
        // Only 16 bits reach the stream.
        {R"({"min": 1000, "max": 70000, "inc": 8, "value": 1504})", 1000, 70000 & 0xFFFF, 8},
    };
    for (const auto& c : cases) {
        Session session(GevConfig(false, std::string(R"(, "packetSize": )") + c.packetSize));
        CGevCamera* camera = OpenGev(session);
        ASSERT_NE(camera, nullptr);
        EXPECT_EQ(ReadStreamRegister(camera, kPacketMinReg), c.min) << c.packetSize;
        EXPECT_EQ(ReadStreamRegister(camera, kPacketMaxReg), c.max) << c.packetSize;
        EXPECT_EQ(ReadStreamRegister(camera, kPacketIncReg), c.inc) << c.packetSize;
        EXPECT_EQ(ReadStreamRegister(camera, kStreamSetupReg), 0x430u) << c.packetSize;
        camera->Release();
    }
}

TEST(GevCameraTest, TuningSetsTheStreamFeaturesAgainOnEveryRun) {
    CAMERA_SCENARIO();
    Session session(GevConfig(false));
    CGevCamera* camera = OpenGev(session);
    ASSERT_NE(camera, nullptr);
    GenApi::INodeMap* stream = StreamMap(camera);
    EXPECT_TRUE(BoolFeature(stream, "EnablePacketResend"));
    EXPECT_TRUE(BoolFeature(stream, "EnableFilterDriver"));
    EXPECT_EQ(IntFeature(stream, "ImageTimeout"), 2000);

    GenApi::CBooleanPtr(stream->GetNode("EnablePacketResend"))->SetValue(false, true);
    GenApi::CBooleanPtr(stream->GetNode("EnableFilterDriver"))->SetValue(false, true);
    GenApi::CIntegerPtr(stream->GetNode("ImageTimeout"))->SetValue(500, true);
    for (auto reg : {kPacketMinReg, kPacketMaxReg, kPacketIncReg, kStreamSetupReg}) {
        WriteStreamRegister(camera, reg, 0);
    }
    camera->InitRegAction();
    EXPECT_TRUE(BoolFeature(stream, "EnablePacketResend"));
    EXPECT_TRUE(BoolFeature(stream, "EnableFilterDriver"));
    EXPECT_EQ(IntFeature(stream, "ImageTimeout"), 2000);
    EXPECT_EQ(ReadStreamRegister(camera, kPacketMaxReg), 9000u);
    EXPECT_EQ(ReadStreamRegister(camera, kStreamSetupReg), 0x430u);
    camera->Release();
}

TEST(GevCameraTest, MissingFeaturesSkipOnlyTheirOwnStep) {
    CAMERA_SCENARIO();
    {
        Session session(GevConfig(false, R"(, "omitStreamFeatures": ["EnablePacketResend"])"));
        CGevCamera* camera = OpenGev(session);
        ASSERT_NE(camera, nullptr);
        EXPECT_TRUE(BoolFeature(StreamMap(camera), "EnableFilterDriver"));
        EXPECT_EQ(IntFeature(StreamMap(camera), "ImageTimeout"), 2000);
        camera->Release();
    }
    {
        Session session(GevConfig(false, R"(, "omitRemoteFeatures": ["GevSCPSPacketSize"])"));
        CGevCamera* camera = OpenGev(session);
        ASSERT_NE(camera, nullptr);
        EXPECT_EQ(ReadStreamRegister(camera, kPacketMaxReg), 0u);
        EXPECT_EQ(ReadStreamRegister(camera, kStreamSetupReg), 0u);
        EXPECT_TRUE(BoolFeature(StreamMap(camera), "EnableFilterDriver"));
        EXPECT_EQ(IntFeature(StreamMap(camera), "ImageTimeout"), 2000);
        camera->Release();
    }
}

TEST(GevCameraTest, RefusedPacketResendEndsTheTuningButNotTheOpen) {
    CAMERA_SCENARIO();
    const std::string refuseResend =
        R"(, "faults": {"registers": [{"module": "stream", "address": 4224, "access": "write",
            "error": -1005}]})";
    Session session(GevConfig(false, "", refuseResend));
    CGevCamera* camera = OpenGev(session);
    ASSERT_NE(camera, nullptr);
    EXPECT_TRUE(camera->IsOpen());
    EXPECT_EQ(ReadStreamRegister(camera, kPacketMinReg), 576u);  // an earlier step of its own
    EXPECT_FALSE(BoolFeature(StreamMap(camera), "EnableFilterDriver"));
    EXPECT_EQ(IntFeature(StreamMap(camera), "ImageTimeout"), 1000);
    camera->Release();
}

TEST(GevCameraTest, Mono16PixelsAreLittleEndianWhateverTheCameraStartedWith) {
    CAMERA_SCENARIO();
    for (std::optional<bool> initial :
         {std::optional<bool>(true), std::optional<bool>(false), std::optional<bool>()}) {
        const char* label = !initial ? "no feature" : *initial ? "big-endian" : "little-endian";
        Session session(GevConfig(initial, "", "", "Mono16"));
        GevProbe camera(session.Info());
        ASSERT_EQ(camera.Open(DEVICE_OPEN_MODE_CONTROL), 0) << label;
        camera_test::SetFeature(&camera, "TriggerMode", "On");
        ASSERT_EQ(camera.StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0) << label;
        if (initial) {
            EXPECT_FALSE(BoolFeature(camera_test::RemoteMap(&camera), "pgrPixelBigEndian"))
                << label;
            EXPECT_FALSE(camera.PixelBigEndian()) << label;
        } else {
            EXPECT_TRUE(camera.PixelBigEndian()) << label;
        }
        for (int frame = 0; frame < 2; ++frame) {
            CheckMono16Frame(&camera, label);
        }
        camera.StopGrab();
    }
}

TEST(GevCameraTest, ByteOrderAnswerFollowsEachAcquisition) {
    CAMERA_SCENARIO();
    Session session(GevConfig(true));
    GevProbe camera(session.Info());
    ASSERT_EQ(camera.Open(DEVICE_OPEN_MODE_CONTROL), 0);
    GenApi::INodeMap* remote = camera_test::RemoteMap(&camera);

    ASSERT_EQ(camera.StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_TRUE(BoolFeature(remote, "pgrPixelBigEndian")) << "Mono8 leaves it alone";
    EXPECT_TRUE(camera.PixelBigEndian());
    camera.StopGrab();

    camera_test::SetFeature(&camera, "PixelFormat", "Mono16");
    ASSERT_EQ(camera.StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_FALSE(BoolFeature(remote, "pgrPixelBigEndian"));
    EXPECT_FALSE(camera.PixelBigEndian());
    camera.StopGrab();
    EXPECT_FALSE(camera.PixelBigEndian()) << "kept until the next start";

    // The answer comes from the feature itself while the acquisition uses it.
    GenApi::CBooleanPtr(remote->GetNode("pgrPixelBigEndian"))->SetValue(true, true);
    EXPECT_TRUE(camera.PixelBigEndian());

    camera_test::SetFeature(&camera, "PixelFormat", "Mono8");
    ASSERT_EQ(camera.StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    EXPECT_TRUE(camera.PixelBigEndian());
    camera.StopGrab();
}

TEST(GevCameraTest, UnreadableByteOrderStillDeliversAndStops) {
    CAMERA_SCENARIO();
    // Every read of "pgrPixelBigEndian" fails, as on a camera that went away.
    const std::string refuseRead =
        R"(, "faults": {"registers": [{"module": "remote", "address": 4192, "access": "read",
            "error": -1010}]})";
    Session session(GevConfig(true, "", refuseRead, "Mono16"));
    CGevCamera* camera = OpenGev(session);
    ASSERT_NE(camera, nullptr);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    IImage* image = nullptr;
    EXPECT_EQ(camera->GrabImage(&image, 5000), 0);
    ASSERT_NE(image, nullptr);
    image->Release();
    camera->StopGrab();  // returns: the failed read did not leave a grab counted
    EXPECT_FALSE(camera->IsGrabbing());
    EXPECT_EQ(camera_test::AnnouncedBuffers(camera), 0);
    camera->Release();
}
