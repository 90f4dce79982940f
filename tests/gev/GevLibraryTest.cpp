// The library end to end on LumoGev.cti and the fake camera: discovery, the five node maps,
// the grab strategies, packet loss and a camera that vanishes.
// CTest runs it only through run-in-netns.sh (the CMakeLists.txt here): inside a private
// network namespace that holds just loopback, so discovery broadcasts reach nothing else.
#include <GenTL/GenTL.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "FakeCamera.h"
#include "GenApi/GenApi.h"
#include "LumoGenICam.h"
#include "ScenarioRun.h"

using namespace VEXOGENICAM;
using namespace lumo_gev;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* kSerial = "GEVLIB1";
constexpr int kIncompleteResult = -23;  // GrabImage of a buffer marked incomplete

// The parent puts the library and the producer into a scenario directory and runs the test
// again there; the child does the work.
#define GEV_LIBRARY_SCENARIO()           \
    LUMO_REQUIRE_LOOPBACK_ONLY();        \
    if (!lumo_test::InScenarioChild()) { \
        lumo_test::LibraryScenario dir;  \
        dir.AddLibrary();                \
        dir.Copy(LUMO_GEV_CTI);          \
        lumo_test::RunInChild(dir);      \
        return;                          \
    }

// Init and discovery around one fake camera; releases everything in order.
class Session {
public:
    explicit Session(int lostPerThousand = 0) : camera(kSerial, lostPerThousand) {
        Init();
        infos = Discovery(nullptr);
    }
    ~Session() {
        if (cam != nullptr)
            cam->Release();
        for (auto* i : infos)
            i->Release();
        UnInit();
    }
    ICamera* Open() {
        EXPECT_EQ(1u, infos.size());
        if (infos.empty())
            return nullptr;
        cam = CreateCamera(infos.front());
        EXPECT_EQ(0, cam->Open(DEVICE_OPEN_MODE_CONTROL));
        return cam;
    }

    FakeCamera camera;
    std::list<ICameraInfo*> infos;
    ICamera* cam = nullptr;
};

GenApi::INode* Node(IXml* xml, const char* name) {
    GenApi::INodeMap* map = xml != nullptr ? xml->GetNodeMap() : nullptr;
    return map != nullptr ? map->GetNode(name) : nullptr;
}

int64_t Integer(IXml* xml, const char* name) {
    GenApi::CIntegerPtr p = Node(xml, name);
    return p.IsValid() ? p->GetValue() : -1;
}

void SetInteger(IXml* xml, const char* name, int64_t value) {
    GenApi::CIntegerPtr p = Node(xml, name);
    ASSERT_TRUE(p.IsValid()) << name;
    p->SetValue(value);
}

// GVSP block IDs are 16 bits and skip 0.
uint64_t NextFrameId(uint64_t id) {
    return id >= 65535 ? 1 : id + 1;
}

// The fake camera draws a diagonal ramp that moves on by one every frame.
bool RampIntact(IImage* image) {
    const auto* p = static_cast<const uint8_t*>(image->GetPayloadBuf());
    const size_t w = image->GetImageWidth(), h = image->GetImageHeight();
    for (size_t y = 0; y < h; ++y) {
        for (size_t x = 0; x < w; ++x) {
            if (p[y * w + x] != (p[0] + x + y) % 255)
                return false;
        }
    }
    return true;
}

// "AA:BB:CC:DD:EE:FF" with upper-case hex digits.
bool IsMacText(const std::string& text) {
    if (text.size() != 17)
        return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool ok = i % 3 == 2 ? c == ':' : (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
        if (!ok)
            return false;
    }
    return true;
}

TEST(GevLibrary, DiscoveryFindsTheCameraWithItsSerialAndAddress) {
    GEV_LIBRARY_SCENARIO();
    Session s;
    ASSERT_EQ(1u, s.infos.size());
    ICameraInfo* info = s.infos.front();
    EXPECT_EQ(TL_GEV, info->GetTLType());
    EXPECT_STREQ(kSerial, info->GetSN());
    EXPECT_STREQ("Aravis", info->GetManufacture());
    EXPECT_STREQ("Fake", info->GetModel());
    ASSERT_NE(nullptr, info->GetExInfo(EX_INFO_IP));
    EXPECT_STREQ("127.0.0.1", info->GetExInfo(EX_INFO_IP));
    ASSERT_NE(nullptr, info->GetExInfo(EX_INFO_MAC));
    EXPECT_TRUE(IsMacText(info->GetExInfo(EX_INFO_MAC))) << info->GetExInfo(EX_INFO_MAC);
    EXPECT_STREQ("lo", info->GetExInfo(EX_INFO_NET_TEXT_5));
    EXPECT_STREQ("255.0.0.0", info->GetExInfo(EX_INFO_NET_ADDR_7));
    EXPECT_EQ(1000000000, info->GetTimestampFrequency());
    ICamera* bySerial = CreateCameraBySN(kSerial);
    ASSERT_NE(nullptr, bySerial);
    bySerial->Release();
}

TEST(GevLibrary, OpenBuildsAllFiveNodeMaps) {
    GEV_LIBRARY_SCENARIO();
    Session s;
    ICamera* cam = s.Open();
    ASSERT_NE(nullptr, cam);
    GenApi::CEnumerationPtr tlType = Node(cam->GetTLXml(), "TLType");
    ASSERT_TRUE(tlType.IsValid());
    EXPECT_EQ("GigEVision", tlType->ToString());
    GenApi::CStringPtr deviceId = Node(cam->GetIFXml(), "DeviceID");
    ASSERT_TRUE(deviceId.IsValid());
    EXPECT_EQ(std::string(s.infos.front()->GetID()), deviceId->GetValue().c_str());
    EXPECT_EQ(0x7F000001, Integer(cam->GetDEVXml(), "GevDeviceIPAddress"));
    EXPECT_EQ(512, Integer(cam->GetRMXml(), "Width"));
    EXPECT_EQ(512 * 512, Integer(cam->GetRMXml(), "PayloadSize"));
    // What the library's GigE Vision camera tunes after open reached the stream module.
    EXPECT_EQ(2000, Integer(cam->GetDSXml(), "ImageTimeout"));
    GenApi::CBooleanPtr resend = Node(cam->GetDSXml(), "EnablePacketResend");
    ASSERT_TRUE(resend.IsValid());
    EXPECT_TRUE(resend->GetValue());
    // A write through the remote node map reaches the camera's register.
    SetInteger(cam->GetRMXml(), "Width", 256);
    EXPECT_EQ(256 * 512, Integer(cam->GetRMXml(), "PayloadSize"));
}

class GevGrab : public ::testing::TestWithParam<GRAB_STRATEGY> {};

TEST_P(GevGrab, TwoHundredFramesArriveInOrderAndIntact) {
    GEV_LIBRARY_SCENARIO();
    Session s;
    ICamera* cam = s.Open();
    ASSERT_NE(nullptr, cam);
    SetInteger(cam->GetRMXml(), "AcquisitionFramePeriod", 5000);  // 200 frames per second
    ASSERT_EQ(0, cam->StartGrab(GetParam(), GENTL_INFINITE));
    uint64_t previous = 0;
    int skipped = 0;
    for (int i = 0; i < 200; ++i) {
        IImage* image = nullptr;
        ASSERT_EQ(0, cam->GrabImage(&image, 3000)) << "frame " << i;
        ASSERT_NE(nullptr, image);
        const uint64_t id = image->GetImageFrameId();
        if (previous != 0 && id != NextFrameId(previous))
            ++skipped;
        EXPECT_NE(previous, id);
        previous = id;
        EXPECT_TRUE(image->IsComplete());
        EXPECT_EQ(512u, image->GetImageWidth());
        EXPECT_EQ(0x01080001u, image->GetPixelFormat());
        EXPECT_TRUE(RampIntact(image)) << "frame " << id;
        image->Release();
    }
    cam->StopGrab();
    EXPECT_FALSE(cam->IsGrabbing());
    if (GetParam() == GRAB_STRATEGY_ONE_BY_ONE) {
        EXPECT_EQ(0, skipped);  // every frame, none dropped, in stream order
    }
}

INSTANTIATE_TEST_SUITE_P(Strategies, GevGrab,
                         ::testing::Values(GRAB_STRATEGY_ONE_BY_ONE, GRAB_STRATEGY_LATEST_IMAGE,
                                           GRAB_STRATEGY_UPCOMING_IMAGE));

TEST(GevLibrary, LostPacketsMarkFramesIncompleteAndAreCounted) {
    GEV_LIBRARY_SCENARIO();
    Session s(20);  // 2 % of the packets are lost
    ICamera* cam = s.Open();
    ASSERT_NE(nullptr, cam);
    // Small frames of a few packets each, so that complete and incomplete frames mix.
    SetInteger(cam->GetRMXml(), "Width", 64);
    SetInteger(cam->GetRMXml(), "Height", 64);
    SetInteger(cam->GetRMXml(), "AcquisitionFramePeriod", 5000);
    SetInteger(cam->GetDSXml(), "ImageTimeout", 100);
    ASSERT_EQ(0, cam->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE));
    GenApi::CBooleanPtr resendActive = Node(cam->GetDSXml(), "StreamPacketResendActive");
    ASSERT_TRUE(resendActive.IsValid());
    EXPECT_TRUE(resendActive->GetValue());  // the setting reached the running stream
    int incomplete = 0, complete = 0;
    for (int i = 0; i < 300; ++i) {
        IImage* image = nullptr;
        const int rc = cam->GrabImage(&image, 3000);
        ASSERT_NE(nullptr, image) << "frame " << i << ": " << rc;
        // An incomplete frame still comes out, with the library's "incomplete" result.
        EXPECT_EQ(rc == 0 ? 1 : kIncompleteResult, rc == 0 ? 1 : rc);
        EXPECT_EQ(rc == 0, image->IsComplete());
        if (image->IsComplete()) {
            ++complete;
            EXPECT_TRUE(RampIntact(image));
        } else {
            ++incomplete;
        }
        image->Release();
    }
    const int64_t counted = Integer(cam->GetDSXml(), "StreamIncompleteFrameCount");
    const int64_t missing = Integer(cam->GetDSXml(), "StreamMissingPacketCount");
    cam->StopGrab();
    EXPECT_GT(incomplete, 0);
    EXPECT_GT(complete, 0);
    EXPECT_GE(counted, incomplete);
    EXPECT_GE(missing, incomplete);
    std::printf(
        "packet loss 2%%: %d of %d frames incomplete, %lld counted by the stream, "
        "%lld packets missing\n",
        incomplete, incomplete + complete, static_cast<long long>(counted),
        static_cast<long long>(missing));
}

TEST(GevLibrary, VanishedCameraTimesOutAndTearsDown) {
    GEV_LIBRARY_SCENARIO();
    auto s = std::make_unique<Session>();
    ICamera* cam = s->Open();
    ASSERT_NE(nullptr, cam);
    ASSERT_EQ(0, cam->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE));
    IImage* image = nullptr;
    ASSERT_EQ(0, cam->GrabImage(&image, 3000));
    image->Release();
    s->camera.Kill();
    int rc = 0;
    const auto t0 = Clock::now();
    for (int i = 0; i < 20 && rc == 0; ++i) {
        image = nullptr;
        rc = cam->GrabImage(&image, 200);
        if (image != nullptr)
            image->Release();
    }
    EXPECT_NE(0, rc);
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(6));
    cam->StopGrab();
    cam->Close();
    EXPECT_FALSE(cam->IsOpen());
    s.reset();  // releases the camera and the records, UnInit
}

}  // namespace
