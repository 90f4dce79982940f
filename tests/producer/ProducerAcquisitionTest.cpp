#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "CameraRegisters.h"
#include "Scene.h"
#include "SimFixture.h"

namespace {

using LumoSim::CamReg::kAcqStart;
using LumoSim::CamReg::kPayloadSize;

class ProducerAcquisition : public SimFixture {
protected:
    // Opens the first device and its stream, announces `n` producer buffers and queues them.
    void Prepare(const std::string& json, int n) {
        OpenFirstDevice(json);
        OpenStream();
        const size_t payload = ReadU32(hRemote, kPayloadSize);
        for (int i = 0; i < n; ++i) {
            BUFFER_HANDLE b = nullptr;
            ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, payload,
                                                  reinterpret_cast<void*>(uintptr_t(i + 1)), &b),
                      GC_ERR_SUCCESS);
            ASSERT_EQ(p->DSQueueBuffer(hDS, b), GC_ERR_SUCCESS);
            bufs.push_back(b);
        }
        ASSERT_EQ(p->GCRegisterEvent(hDS, EVENT_NEW_BUFFER, &ev), GC_ERR_SUCCESS);
    }

    void Start(uint64_t count = GENTL_INFINITE) {
        ASSERT_EQ(p->DSStartAcquisition(hDS, ACQ_START_FLAGS_DEFAULT, count), GC_ERR_SUCCESS);
        ASSERT_EQ(WriteU32(hRemote, kAcqStart, 1), GC_ERR_SUCCESS);
    }

    std::vector<BUFFER_HANDLE> bufs;
    EVENT_HANDLE ev = nullptr;
};

constexpr const char* kFast = R"({"interfaces": [{"devices": [{"frameRate": 0, "sensorWidth": 64,
    "sensorHeight": 48, "pixelFormats": "all", "pixelFormat": "Mono8"}]}]})";

TEST_F(ProducerAcquisition, FramesCarryTheSceneAndMetadata) {
    Prepare(kFast, 2);
    Start(3);
    uint64_t lastId = 0;
    for (int i = 0; i < 3; ++i) {
        BUFFER_HANDLE b = NextBuffer(ev);
        ASSERT_NE(b, nullptr);
        const auto id = BufferInfo<uint64_t>(b, BUFFER_INFO_FRAMEID);
        EXPECT_EQ(id, lastId + 1);
        lastId = id;
        EXPECT_EQ(BufferInfo<size_t>(b, BUFFER_INFO_WIDTH), 64u);
        EXPECT_EQ(BufferInfo<uint64_t>(b, BUFFER_INFO_PIXELFORMAT), 0x01080001u);
        EXPECT_FALSE(BufferInfo<bool8_t>(b, BUFFER_INFO_IS_INCOMPLETE));
        EXPECT_EQ(BufferInfo<size_t>(b, BUFFER_INFO_SIZE_FILLED), 64u * 48u);
        LumoSim::SceneParams sp{64, 48, 0, 0, 64, 48, 0x01080001, false};
        std::vector<uint8_t> want(64 * 48);
        LumoSim::CScene::Render(sp, id, want.data(), want.size());
        auto* base = BufferInfo<uint8_t*>(b, BUFFER_INFO_BASE);
        EXPECT_EQ(std::memcmp(base, want.data(), want.size()), 0) << "frame " << id;
        EXPECT_EQ(BufferInfo<void*>(b, BUFFER_INFO_USER_PTR),
                  reinterpret_cast<void*>(uintptr_t(b == bufs[0] ? 1 : 2)));
        ASSERT_EQ(p->DSQueueBuffer(hDS, b), GC_ERR_SUCCESS);
    }
    // The count is reached: nothing more arrives, but the stream still needs its stop.
    GC_ERROR rc = 0;
    EXPECT_EQ(NextBuffer(ev, 100, &rc), nullptr);
    EXPECT_EQ(rc, GC_ERR_TIMEOUT);
    EXPECT_EQ(StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED), 3u);
    EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_RESOURCE_IN_USE);
}

TEST_F(ProducerAcquisition, FeaturesChangePayloadAndFrames) {
    Prepare(kFast, 0);
    EXPECT_EQ(ReadU32(hRemote, kPayloadSize), 64u * 48u);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kWidth, 32), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kPixelFormat, 0x02180014),
              GC_ERR_SUCCESS);  // RGB8
    EXPECT_EQ(ReadU32(hRemote, kPayloadSize), 32u * 48u * 3u);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kWidth, 65), GC_ERR_INVALID_VALUE);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kPixelFormat, 0x12345678), GC_ERR_INVALID_VALUE);
    // Chunks add their trailers to the payload.
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kChunkModeActive, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kChunkEnable, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(ReadU32(hRemote, kPayloadSize), 32u * 48u * 3u + 8u + 16u);
    // TLParamsLocked freezes the geometry until it is cleared.
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kTLParamsLocked, 1), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kHeight, 10), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kPixelFormat, 0x01080001), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kTLParamsLocked, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kHeight, 10), GC_ERR_SUCCESS);

    BUFFER_HANDLE b = nullptr;
    const size_t payload = ReadU32(hRemote, kPayloadSize);
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, payload, nullptr, &b), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSQueueBuffer(hDS, b), GC_ERR_SUCCESS);
    Start(1);
    ASSERT_EQ(NextBuffer(ev), b);
    EXPECT_TRUE(BufferInfo<bool8_t>(b, BUFFER_INFO_CONTAINS_CHUNKDATA));
    size_t n = 0;
    ASSERT_EQ(p->DSGetBufferChunkData(hDS, b, nullptr, &n), GC_ERR_SUCCESS);
    ASSERT_EQ(n, 1u);
    SINGLE_CHUNK_DATA c{};
    ASSERT_EQ(p->DSGetBufferChunkData(hDS, b, &c, &n), GC_ERR_SUCCESS);
    EXPECT_EQ(c.ChunkID, LumoSim::CamReg::kChunkIdBase);
    uint64_t frameId = 0;
    std::memcpy(&frameId, BufferInfo<uint8_t*>(b, BUFFER_INFO_BASE) + c.ChunkOffset, 8);
    EXPECT_EQ(frameId, BufferInfo<uint64_t>(b, BUFFER_INFO_FRAMEID));
    EXPECT_EQ(BufferInfo<size_t>(b, BUFFER_INFO_HEIGHT), 10u);
    EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(ProducerAcquisition, QueueRulesRevokeAndFlushModes) {
    Prepare(kFast, 3);
    EXPECT_EQ(p->DSQueueBuffer(hDS, bufs[0]), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(p->DSRevokeBuffer(hDS, bufs[0], nullptr, nullptr), GC_ERR_BUSY);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 3u);
    // Input to output: delivered without new data.
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
    BUFFER_HANDLE b = NextBuffer(ev, 0);
    ASSERT_NE(b, nullptr);
    EXPECT_FALSE(BufferInfo<bool8_t>(b, BUFFER_INFO_NEW_DATA));
    EXPECT_FALSE(BufferInfo<bool8_t>(b, BUFFER_INFO_IS_QUEUED));
    // Output discard drops the two remaining entries and their events.
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
    GC_ERROR rc = 0;
    EXPECT_EQ(NextBuffer(ev, 0, &rc), nullptr);
    EXPECT_EQ(rc, GC_ERR_TIMEOUT);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 3u);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 0u);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 3u);
    EXPECT_EQ(p->DSFlushQueue(hDS, 77), GC_ERR_NOT_IMPLEMENTED);
    // While grabbing nothing can be revoked or announced.
    Start();
    EXPECT_EQ(p->DSStartAcquisition(hDS, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
              GC_ERR_RESOURCE_IN_USE);
    BUFFER_HANDLE extra = nullptr;
    EXPECT_EQ(p->DSAllocAndAnnounceBuffer(hDS, 16, nullptr, &extra), GC_ERR_BUSY);
    ASSERT_NE(NextBuffer(ev), nullptr);
    EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    for (BUFFER_HANDLE h : bufs) {
        void* mem = reinterpret_cast<void*>(1);
        void* priv = nullptr;
        EXPECT_EQ(p->DSRevokeBuffer(hDS, h, &mem, &priv), GC_ERR_SUCCESS);
        EXPECT_EQ(mem, nullptr);  // producer memory is not handed back
    }
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_ANNOUNCED), 0u);
    EXPECT_EQ(p->DSStartAcquisition(hDS, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_INVALID_BUFFER);
}

TEST_F(ProducerAcquisition, UserBuffersEventsKillAndFlush) {
    OpenFirstDevice(kFast);
    OpenStream();
    std::vector<uint8_t> mem(64 * 48);
    BUFFER_HANDLE b = nullptr;
    ASSERT_EQ(p->DSAnnounceBuffer(hDS, mem.data(), mem.size(), nullptr, &b), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSAnnounceBuffer(hDS, mem.data(), mem.size(), nullptr, &b),
              GC_ERR_RESOURCE_IN_USE);
    ASSERT_EQ(p->GCRegisterEvent(hDS, EVENT_NEW_BUFFER, &ev), GC_ERR_SUCCESS);
    EVENT_HANDLE again = nullptr;
    EXPECT_EQ(p->GCRegisterEvent(hDS, EVENT_NEW_BUFFER, &again), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(p->GCRegisterEvent(hDev, EVENT_NEW_BUFFER, &again), GC_ERR_NOT_IMPLEMENTED);
    // EventKill wakes a waiter, and a kill without waiter aborts the next wait.
    std::atomic<GC_ERROR> waited{0};
    std::thread waiter([&] {
        GC_ERROR rc = 0;
        NextBuffer(ev, GENTL_INFINITE, &rc);
        waited = rc;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_EQ(p->EventKill(ev), GC_ERR_SUCCESS);
    waiter.join();
    EXPECT_EQ(waited.load(), GC_ERR_ABORT);
    ASSERT_EQ(p->EventKill(ev), GC_ERR_SUCCESS);
    GC_ERROR rc = 0;
    EXPECT_EQ(NextBuffer(ev, 1000, &rc), nullptr);
    EXPECT_EQ(rc, GC_ERR_ABORT);

    ASSERT_EQ(p->DSQueueBuffer(hDS, b), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    size_t queued = 0;
    INFO_DATATYPE type = 0;
    size_t size = sizeof queued;
    ASSERT_EQ(p->EventGetInfo(ev, EVENT_NUM_IN_QUEUE, &type, &queued, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(queued, 1u);
    ASSERT_EQ(p->EventFlush(ev), GC_ERR_SUCCESS);
    EXPECT_FALSE(BufferInfo<bool8_t>(b, BUFFER_INFO_IS_QUEUED));
    EVENT_NEW_BUFFER_DATA d{};
    size = 3;
    ASSERT_EQ(p->DSQueueBuffer(hDS, b), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    EXPECT_EQ(p->EventGetData(ev, &d, &size, 0), GC_ERR_BUFFER_TOO_SMALL);
    size = sizeof d;
    ASSERT_EQ(p->EventGetData(ev, &d, &size, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(d.BufferHandle, b);
    void* handle = nullptr;
    size = sizeof handle;
    ASSERT_EQ(p->EventGetDataInfo(ev, &d, sizeof d, EVENT_DATA_ID, &type, &handle, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(handle, b);
    // Unregistering aborts, and the handle is gone afterwards.
    ASSERT_EQ(p->GCUnregisterEvent(hDS, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
    EXPECT_EQ(p->EventKill(ev), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(p->GCUnregisterEvent(hDS, EVENT_NEW_BUFFER), GC_ERR_NOT_INITIALIZED);
    void* back = nullptr;
    ASSERT_EQ(p->DSRevokeBuffer(hDS, b, &back, nullptr), GC_ERR_SUCCESS);
    EXPECT_EQ(back, mem.data());
}

TEST_F(ProducerAcquisition, GigEVisionSettingsAndPixelByteOrder) {
    Prepare(R"({"interfaces": [{"devices": [{"frameRate": 0, "sensorWidth": 16, "sensorHeight": 4,
        "pixelFormats": ["Mono16", "Mono8"], "pixelFormat": "Mono16", "pgrPixelBigEndian": true,
        "packetSize": {"min": -1, "max": 8000, "inc": 8, "value": 1500}}]}],
        "events": {"remoteDeviceEvery": 2}})",
            2);
    // Packet size: no lower bound, upper bound enforced.
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kPacketSize, 9000), GC_ERR_INVALID_VALUE);
    EXPECT_EQ(WriteU32(hRemote, LumoSim::CamReg::kPacketSize, 8), GC_ERR_SUCCESS);
    EVENT_HANDLE remoteEv = nullptr;
    ASSERT_EQ(p->GCRegisterEvent(hDev, EVENT_REMOTE_DEVICE, &remoteEv), GC_ERR_SUCCESS);
    Start(2);
    for (int i = 0; i < 2; ++i) {
        BUFFER_HANDLE b = NextBuffer(ev);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(BufferInfo<int32_t>(b, BUFFER_INFO_PIXEL_ENDIANNESS), PIXELENDIANNESS_BIG);
        const uint8_t* px = BufferInfo<uint8_t*>(b, BUFFER_INFO_BASE);
        LumoSim::SceneParams sp{16, 4, 0, 0, 16, 4, 0x01100007, true};
        uint8_t want[2];
        LumoSim::CScene::Render(sp, BufferInfo<uint64_t>(b, BUFFER_INFO_FRAMEID), want, 2);
        EXPECT_EQ(px[0], want[0]);
        EXPECT_EQ(px[1], want[1]);
    }
    uint8_t data[1024];
    size_t size = sizeof data;
    ASSERT_EQ(p->EventGetData(remoteEv, data, &size, 2000), GC_ERR_SUCCESS);
    uint64_t numId = 0;
    INFO_DATATYPE type = 0;
    size_t idSize = sizeof numId;
    ASSERT_EQ(p->EventGetDataInfo(remoteEv, data, size, EVENT_DATA_NUMID, &type, &numId, &idSize),
              GC_ERR_SUCCESS);
    EXPECT_EQ(numId, 0x9001u);
    EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

// A consumer grabs on one thread while another stops and restarts the stream.
TEST_F(ProducerAcquisition, GrabWhileAnotherThreadStops) {
    Prepare(kFast, 4);
    for (int round = 0; round < 5; ++round) {
        Start();
        std::atomic<bool> done{false};
        std::thread grabber([&] {
            while (!done) {
                GC_ERROR rc = 0;
                BUFFER_HANDLE b = NextBuffer(ev, 50, &rc);
                if (b)
                    p->DSQueueBuffer(hDS, b);
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(p->DSStopAcquisition(hDS, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
        p->EventKill(ev);
        done = true;
        grabber.join();
        ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
        ASSERT_EQ(p->DSFlushQueue(hDS, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
        // Reset a kill that nobody consumed.
        ASSERT_EQ(p->GCUnregisterEvent(hDS, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
        ASSERT_EQ(p->GCRegisterEvent(hDS, EVENT_NEW_BUFFER, &ev), GC_ERR_SUCCESS);
    }
    EXPECT_GT(StreamInfo<uint64_t>(STREAM_INFO_NUM_STARTED), 0u);
    // Closing the device while acquisition runs releases everything.
    Start();
    EXPECT_EQ(p->DevClose(hDev), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSClose(hDS), GC_ERR_INVALID_HANDLE);
}

}  // namespace
