// Chunk features of the simulated camera's remote map reading the values of
// the grabbed image they are attached to.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "CameraSession.h"
#include "ImageChunks.h"
#include "camera/GenImage.h"

using namespace VEXOGENICAM;
using camera_test::Config;
using camera_test::Device;
using camera_test::RemoteMap;
using camera_test::Session;
using camera_test::SetFeature;

namespace {

int64_t ChunkInt(ICamera* camera, const char* name) {
    return GenApi::CIntegerPtr(RemoteMap(camera)->GetNode(name))->GetValue();
}

// One BUFFER_INFO answer of the producer for the image's buffer; false when it fails.
bool BufferInfo(ICamera* camera, IImage* image, int cmd, void* value, size_t size) {
    auto* port = dynamic_cast<CCtiPort*>(camera->GetDSXml());
    auto* genImage = dynamic_cast<CGenImage*>(image);
    int type = 0;
    return port != nullptr && genImage != nullptr &&
           port->GetCti()->DSGetBufferInfo(port->GetPort(), genImage->GetBufferHandle(), cmd, &type,
                                           value, &size) == 0;
}

std::string BufferTLType(ICamera* camera, IImage* image) {
    char text[64] = {};
    return BufferInfo(camera, image, GenTL::BUFFER_INFO_TLTYPE, text, sizeof text - 1) ? text : "";
}

uint64_t ChunkLayoutId(ICamera* camera, IImage* image) {
    uint64_t id = 0;
    return BufferInfo(camera, image, GenTL::BUFFER_INFO_CHUNKLAYOUTID, &id, sizeof id) ? id : 0;
}

std::unique_ptr<GenApi::CChunkAdapter> TrailerAdapter(const std::string& layout,
                                                      GenApi::INodeMap* map) {
    if (layout == "GEV") {
        return std::make_unique<GenApi::CChunkAdapterGEV>(map);
    }
    return std::make_unique<GenApi::CChunkAdapterU3V>(map);
}

}  // namespace

TEST(ChunkAdapterCameraTest, ChunkFeaturesFollowTheAttachedImage) {
    CAMERA_SCENARIO();
    Device device;
    device.width = 32;
    device.height = 8;
    Session session(Config(device));
    ICamera* camera = session.Camera();
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
    SetFeature(camera, "ChunkModeActive", "1");
    for (const char* chunk : {"FrameID", "Width", "PixelFormat"}) {
        SetFeature(camera, "ChunkSelector", chunk);
        SetFeature(camera, "ChunkEnable", "1");
    }
    // Before any image the chunk features have nothing to read.
    EXPECT_THROW(ChunkInt(camera, "ChunkFrameID"), GenICam::AccessException);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
    {  // adapters go before the camera that owns their node map
        GenApi::CChunkAdapterGeneric generic(RemoteMap(camera));
        IImage* first = nullptr;
        IImage* second = nullptr;
        ASSERT_EQ(camera->GrabImage(&first, 2000), 0);
        ASSERT_EQ(camera->GrabImage(&second, 2000), 0);
        for (IImage* image : {first, second, first}) {
            AttachImageChunks(image, generic);
            EXPECT_EQ(ChunkInt(camera, "ChunkFrameID"),
                      static_cast<int64_t>(image->GetImageFrameId()));
            EXPECT_EQ(ChunkInt(camera, "ChunkWidth"), 32);
            EXPECT_EQ(ChunkInt(camera, "ChunkPixelFormat"), 0x01080001);
        }
        EXPECT_NE(first->GetImageFrameId(), second->GetImageFrameId());
        // Not enabled: the image carries no height chunk.
        AttachImageChunks(second, generic);
        EXPECT_THROW(ChunkInt(camera, "ChunkHeight"), GenICam::AccessException);
        generic.DetachBuffer();
        first->Release();
        second->Release();
    }
    camera->Release();
}

// The producer writes its chunk trailers in the layout of the device's transport
// layer, or in the one its configuration names; the buffer says which, and the
// adapter of that layout finds every chunk of every image.
TEST(ChunkAdapterCameraTest, EachTrailerLayoutCarriesEveryImagesValues) {
    CAMERA_SCENARIO();
    struct Case {
        const char* tlType;
        const char* extra;
        const char* layout;
    };
    const Case cases[] = {
        {"GEV", "", "GEV"},
        {"U3V", "", "U3V"},
        {"GEV", R"(, "chunkLayout": "U3V")", "U3V"},
        {"U3V", R"(, "chunkLayout": "GEV")", "GEV"},
    };
    std::map<std::string, uint64_t> layoutIds;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.tlType) + c.extra);
        Device device;
        device.tlType = c.tlType;
        device.width = 24;
        device.height = 6;
        device.extra = c.extra;
        Session session(Config(device));
        ICamera* camera = session.Camera();
        ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), 0);
        SetFeature(camera, "ChunkModeActive", "1");
        for (const char* chunk : {"FrameID", "Timestamp", "Width", "Height"}) {
            SetFeature(camera, "ChunkSelector", chunk);
            SetFeature(camera, "ChunkEnable", "1");
        }
        ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), 0);
        {
            auto adapter = TrailerAdapter(c.layout, RemoteMap(camera));
            auto other =
                TrailerAdapter(c.layout == std::string("GEV") ? "U3V" : "GEV", RemoteMap(camera));
            for (int frame = 0; frame < 3; ++frame) {
                IImage* image = nullptr;
                ASSERT_EQ(camera->GrabImage(&image, 2000), 0);
                EXPECT_EQ(BufferTLType(camera, image), c.layout);
                const uint64_t layoutId = ChunkLayoutId(camera, image);
                EXPECT_NE(layoutId, 0u);
                layoutIds.emplace(c.layout, layoutId);
                EXPECT_EQ(layoutIds.at(c.layout), layoutId);
                auto* payload = static_cast<uint8_t*>(image->GetPayloadBuf());
                const auto size = static_cast<int64_t>(image->GetPayloadSize());
                EXPECT_FALSE(other->CheckBufferLayout(payload, size));
                ASSERT_TRUE(adapter->CheckBufferLayout(payload, size));
                adapter->AttachBuffer(payload, size);
                EXPECT_EQ(ChunkInt(camera, "ChunkFrameID"),
                          static_cast<int64_t>(image->GetImageFrameId()));
                EXPECT_EQ(ChunkInt(camera, "ChunkTimestamp"),
                          static_cast<int64_t>(image->GetTimeStamp()));
                EXPECT_EQ(ChunkInt(camera, "ChunkWidth"), 24);
                EXPECT_EQ(ChunkInt(camera, "ChunkHeight"), 6);
                adapter->DetachBuffer();
                image->Release();
            }
        }
        camera->Release();
    }
    EXPECT_NE(layoutIds["GEV"], layoutIds["U3V"]);
}
