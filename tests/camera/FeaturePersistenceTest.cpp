// Saving the simulated camera's settings and loading them back through the
// remote node map, including the lock the stream holds while grabbing.
#include <gtest/gtest.h>

#include <string>

#include "CameraSession.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::OpenCamera;
using camera_test::RemoteMap;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

std::string Get(ICamera* camera, const char* name) {
    GenApi::CValuePtr node = RemoteMap(camera)->GetNode(name);
    return node.IsValid() ? node->ToString().str() : "<missing>";
}

}  // namespace

TEST(FeaturePersistenceTest, SettingsRoundTripThroughText) {
    CAMERA_SCENARIO();
    Device device;
    device.width = 64;
    device.height = 48;
    Session session(Config(device));
    ICamera* camera = OpenCamera(session);
    SetFeature(camera, "Width", "48");
    SetFeature(camera, "OffsetX", "16");
    SetFeature(camera, "PixelFormat", "Mono16");
    SetFeature(camera, "ChunkModeActive", "1");
    const GenApi::gcstring saved = GenApi::StoreToString(RemoteMap(camera));
    EXPECT_NE(saved.str().find("\nOffsetX\t16\n"), std::string::npos) << saved;
    EXPECT_EQ(saved.str().find("TLParamsLocked"), std::string::npos);

    // Width comes first in the text but 48 only fits once OffsetX moved back.
    SetFeature(camera, "Width", "16");
    SetFeature(camera, "OffsetX", "40");
    SetFeature(camera, "Height", "16");
    SetFeature(camera, "OffsetY", "32");
    SetFeature(camera, "PixelFormat", "Mono8");
    SetFeature(camera, "ChunkModeActive", "0");
    GenApi::StringList_t errors;
    EXPECT_TRUE(GenApi::LoadFromString(RemoteMap(camera), saved, &errors))
        << (errors.empty() ? "" : errors.front().str());
    for (const auto& [name, value] : {std::pair<const char*, const char*>{"Width", "48"},
                                      {"OffsetX", "16"},
                                      {"Height", "48"},
                                      {"OffsetY", "0"},
                                      {"PixelFormat", "Mono16"},
                                      {"ChunkModeActive", "true"}}) {
        EXPECT_EQ(Get(camera, name), value) << name;
    }
    EXPECT_EQ(GenApi::StoreToString(RemoteMap(camera)), saved);
    camera->Release();
}

TEST(FeaturePersistenceTest, LockedGeometryIsReportedWhileGrabbing) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    ICamera* camera = OpenCamera(session);
    SetFeature(camera, "Width", "32");
    const GenApi::gcstring saved = GenApi::StoreToString(RemoteMap(camera));
    SetFeature(camera, "Width", "64");
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    GenApi::StringList_t errors;
    EXPECT_FALSE(GenApi::LoadFromString(RemoteMap(camera), saved, &errors));
    bool widthReported = false;
    for (const GenApi::gcstring& error : errors) {
        widthReported = widthReported || error.str().find("'Width' = '32'") != std::string::npos;
    }
    EXPECT_TRUE(widthReported);
    EXPECT_EQ(Get(camera, "Width"), "64");
    camera->StopGrab();
    EXPECT_TRUE(GenApi::LoadFromString(RemoteMap(camera), saved, &errors))
        << (errors.empty() ? "" : errors.front().str());
    EXPECT_EQ(Get(camera, "Width"), "32");
    camera->Release();
}
