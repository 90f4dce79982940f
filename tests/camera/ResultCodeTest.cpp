#include <gtest/gtest.h>

#include <string>

#include "CameraSession.h"
#include "LumoResultCodes.h"
#include "camera/Camera.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::Session;
using camera_test::SetFeature;
namespace grab = VEXOGENICAM::result::grab_image;

namespace {

std::string Faults(const std::string& faults) {
    return R"(, "faults": {)" + faults + "}";
}

ICamera* StartedCamera(const Session& session) {
    ICamera* camera = session.Camera();
    EXPECT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), result::kOk);
    EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), result::kOk);
    return camera;
}

}  // namespace

// Each failure of the wait for a filled buffer has its own code; the caller gets no image.
TEST(ResultCodeTest, WaitFailuresMapToTheirCodes) {
    CAMERA_SCENARIO();
    const std::pair<int, int> cases[] = {
        {GenTL::GC_ERR_RESOURCE_EXHAUSTED, grab::kResourcesExhausted},
        {GenTL::GC_ERR_PARSING_CHUNK_DATA, grab::kChunkParsingFailed},
        {GenTL::GC_ERR_BUFFER_TOO_SMALL, grab::kBufferTooSmall},
        {GenTL::GC_ERR_TIMEOUT, grab::kTimeout},
        {GenTL::GC_ERR_ABORT, grab::kAborted},
        {GenTL::GC_ERR_INVALID_HANDLE, grab::kWaitFailed},
        {GenTL::GC_ERR_ERROR, grab::kWaitFailed},
    };
    for (const auto& [error, code] : cases) {
        Session session(Config(Device{}, Faults(R"("calls": [{"function": "EventGetData",
            "error": )" + std::to_string(error) +
                                                "}]")));
        ICamera* camera = StartedCamera(session);
        IImage* image = reinterpret_cast<IImage*>(&session);  // must be cleared
        EXPECT_EQ(camera->GrabImage(&image, 1000), code) << error;
        EXPECT_EQ(image, nullptr) << error;
    }
}

// An image that does not fit its buffer is handed out with a code; a buffer with chunk data has
// its image at the start, whatever offset the producer reports.
TEST(ResultCodeTest, ImageMetadataCodesAndTheChunkImageOffset) {
    CAMERA_SCENARIO();
    struct Case {
        const char* bufferInfo;
        bool chunks;
        int code;
        size_t imageOffset;
    };
    const Case cases[] = {
        {R"({"18": 64})", false, grab::kImageLargerThanBuffer, 64},
        {R"({"18": 64})", true, result::kOk, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.bufferInfo) + (c.chunks ? " with chunks" : ""));
        Session session(Config(Device{}, Faults(std::string(R"("bufferInfo": )") + c.bufferInfo)));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), result::kOk);
        if (c.chunks) {
            SetFeature(camera, "ChunkModeActive", "1");
            SetFeature(camera, "ChunkSelector", "FrameID");
            SetFeature(camera, "ChunkEnable", "1");
        }
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), result::kOk);
        IImage* image = nullptr;
        EXPECT_EQ(camera->GrabImage(&image, 2000), c.code);
        ASSERT_NE(image, nullptr) << "the image is handed out with its code";
        EXPECT_EQ(image->GetImageOffset(), c.imageOffset);
        EXPECT_EQ(image->GetChunks().empty(), !c.chunks);
        image->Release();
    }
}

// The engine's own grab tells a stopped acquisition from a missing output.
TEST(ResultCodeTest, EngineGrabAfterStopSaysNotGrabbing) {
    CAMERA_SCENARIO();
    Session session(Config(Device{}));
    auto* camera = dynamic_cast<CCamera*>(StartedCamera(session));
    ASSERT_NE(camera, nullptr);
    IImage* image = nullptr;
    ASSERT_EQ(camera->GrabImage2(&image, 2000), result::kOk);
    image->Release();
    EXPECT_EQ(camera->GrabImage2(nullptr, 10), grab::kNotGrabbing);
    camera->StopGrab();
    image = reinterpret_cast<IImage*>(camera);  // must be cleared
    EXPECT_EQ(camera->GrabImage2(&image, 10), grab::kStoppedMeanwhile);
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(camera->GrabImage(&image, 10), grab::kNotGrabbing) << "no worker after the stop";
}
