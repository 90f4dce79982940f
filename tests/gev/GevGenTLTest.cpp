// LumoGev.cti through the raw GenTL API, module by module, against the fake camera.
// CTest runs it only through run-in-netns.sh (the CMakeLists.txt here): inside a private
// network namespace that holds just loopback, so discovery broadcasts reach nothing else.
#include <GenTL/GenTL.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "GevSession.h"

using namespace GenTL;
using namespace lumo_gev;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* kSerial = "GEV0001";

class GevGenTL : public ::testing::Test {
protected:
    void SetUp() override {
        LUMO_REQUIRE_LOOPBACK_ONLY();
        camera = std::make_unique<FakeCamera>(kSerial);
        ASSERT_TRUE(camera->Running()) << "the fake camera did not start";
        s = std::make_unique<GevSession>();
        ASSERT_NO_FATAL_FAILURE(s->Open());
    }

    // Announces user and producer buffers, queues them, registers the event, starts.
    void StartStreaming(size_t userBuffers, size_t producerBuffers) {
        ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice());
        ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kFramePeriodUs, 10000));  // 100 fps
        ASSERT_NO_FATAL_FAILURE(s->OpenStream());
        size_t payload = 0;
        INFO_DATATYPE type = 0;
        size_t size = sizeof payload;
        ASSERT_EQ(GC_ERR_SUCCESS,
                  s->gentl.DSGetInfo(s->ds, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size));
        ASSERT_EQ(512u * 512u, payload);
        memory.assign(userBuffers, std::vector<uint8_t>(payload));
        for (size_t i = 0; i < userBuffers + producerBuffers; ++i) {
            BUFFER_HANDLE b = nullptr;
            void* user = reinterpret_cast<void*>(0x1000 + i);
            ASSERT_EQ(GC_ERR_SUCCESS,
                      i < userBuffers
                          ? s->gentl.DSAnnounceBuffer(s->ds, memory[i].data(), payload, user, &b)
                          : s->gentl.DSAllocAndAnnounceBuffer(s->ds, payload, user, &b));
            ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSQueueBuffer(s->ds, b));
            buffers.push_back(b);
        }
        ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCRegisterEvent(s->ds, EVENT_NEW_BUFFER, &event));
        ASSERT_EQ(GC_ERR_SUCCESS,
                  s->gentl.DSStartAcquisition(s->ds, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
        ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kAcquisitionCommand, 1));
    }
    GC_ERROR Next(EVENT_NEW_BUFFER_DATA& data, uint64_t timeoutMs = 3000) {
        size_t size = sizeof data;
        return s->gentl.EventGetData(event, &data, &size, timeoutMs);
    }

    std::unique_ptr<FakeCamera> camera;
    std::unique_ptr<GevSession> s;
    std::vector<std::vector<uint8_t>> memory;
    std::vector<BUFFER_HANDLE> buffers;
    EVENT_HANDLE event = nullptr;
};

TEST_F(GevGenTL, BadHandlesAndStatesAnswerTheirGenTLCodes) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice());
    ASSERT_NO_FATAL_FAILURE(s->OpenStream());
    void* bogus = reinterpret_cast<void*>(0x1234);
    TL_HANDLE tl2 = nullptr;
    EVENT_HANDLE ev2 = nullptr;
    uint32_t n = 0;
    char text[8];
    size_t size = sizeof text;
    INFO_DATATYPE type = 0;
    const struct {
        const char* what;
        GC_ERROR got, want;
    } cases[] = {
        {"second GCInitLib", s->gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE},
        {"second TLOpen", s->gentl.TLOpen(&tl2), GC_ERR_RESOURCE_IN_USE},
        {"interface handle as system", s->gentl.TLGetNumInterfaces(s->itf, &n),
         GC_ERR_INVALID_HANDLE},
        {"unknown interface handle", s->gentl.IFGetNumDevices(bogus, &n), GC_ERR_INVALID_HANDLE},
        {"stream handle as device", s->gentl.DevGetNumDataStreams(s->ds, &n),
         GC_ERR_INVALID_HANDLE},
        {"remote port as device", s->gentl.DevClose(s->remote), GC_ERR_INVALID_HANDLE},
        {"device handle as stream", s->gentl.DSStartAcquisition(s->dev, 0, 1),
         GC_ERR_INVALID_HANDLE},
        {"unknown port", s->gentl.GCReadPort(bogus, 0, text, &size), GC_ERR_INVALID_HANDLE},
        {"null count", s->gentl.IFGetNumDevices(s->itf, nullptr), GC_ERR_INVALID_PARAMETER},
        {"interface index", s->gentl.TLGetInterfaceID(s->tl, 1, text, &size), GC_ERR_INVALID_INDEX},
        {"device index", s->gentl.IFGetDeviceID(s->itf, 1, text, &size), GC_ERR_INVALID_INDEX},
        {"unknown device ID", s->gentl.IFOpenDevice(s->itf, "nope", DEVICE_ACCESS_CONTROL, &s->dev),
         GC_ERR_INVALID_ID},
        {"device opened twice", s->OpenDevice(), GC_ERR_RESOURCE_IN_USE},
        {"string too long for buffer", s->gentl.TLGetInfo(s->tl, TL_INFO_MODEL, &type, text, &size),
         GC_ERR_BUFFER_TOO_SMALL},
        {"unknown info command", s->gentl.TLGetInfo(s->tl, 777, &type, text, &size),
         GC_ERR_NOT_IMPLEMENTED},
        {"start without buffers", s->gentl.DSStartAcquisition(s->ds, 0, GENTL_INFINITE),
         GC_ERR_INVALID_BUFFER},
        {"stop while stopped", s->gentl.DSStopAcquisition(s->ds, 0), GC_ERR_RESOURCE_IN_USE},
        {"unknown flush mode", s->gentl.DSFlushQueue(s->ds, 99), GC_ERR_NOT_IMPLEMENTED},
        {"event on the device", s->gentl.GCRegisterEvent(s->dev, EVENT_NEW_BUFFER, &ev2),
         GC_ERR_NOT_IMPLEMENTED},
        {"unregister unregistered", s->gentl.GCUnregisterEvent(s->ds, EVENT_NEW_BUFFER),
         GC_ERR_NOT_INITIALIZED},
        {"write to the description file", s->WriteLe(s->ds, 0x10000, 0, 4), GC_ERR_ACCESS_DENIED},
        {"read-only stream register", s->WriteLe(s->ds, 0x1000, 1, 4), GC_ERR_ACCESS_DENIED},
        {"no register there", s->WriteLe(s->ds, 0x500, 1, 4), GC_ERR_INVALID_ADDRESS},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.want, c.got) << c.what;

    // The last error of this thread names the call and the reason.
    EXPECT_EQ(GC_ERR_INVALID_HANDLE, s->gentl.DSGetBufferID(bogus, 0, &bogus));
    EXPECT_NE(std::string::npos, s->LastError().find("DSGetBufferID")) << s->LastError();
    EXPECT_NE(std::string::npos, s->LastError().find("data stream")) << s->LastError();
    // Size query, then the value.
    size = 0;
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.TLGetInfo(s->tl, TL_INFO_TLTYPE, &type, nullptr, &size));
    std::string tlType(size, '\0');
    ASSERT_EQ(GC_ERR_SUCCESS,
              s->gentl.TLGetInfo(s->tl, TL_INFO_TLTYPE, &type, tlType.data(), &size));
    EXPECT_STREQ("GEV", tlType.c_str());
    EXPECT_EQ(INFO_DATATYPE_STRING, type);
}

TEST_F(GevGenTL, DeviceInformationCarriesTheGigEVisionValues) {
    EXPECT_EQ("Aravis", s->DeviceInfoText(DEVICE_INFO_VENDOR));
    EXPECT_EQ("Fake", s->DeviceInfoText(DEVICE_INFO_MODEL));
    EXPECT_EQ(kSerial, s->DeviceInfoText(DEVICE_INFO_SERIAL_NUMBER));
    EXPECT_EQ("GEV", s->DeviceInfoText(DEVICE_INFO_TLTYPE));
    const std::vector<uint8_t> loopback = {127, 0, 0, 1};
    EXPECT_EQ(std::vector<uint8_t>(6, 0), s->DeviceInfoBytes(1100));  // the fake's MAC
    EXPECT_EQ(loopback, s->DeviceInfoBytes(1101));                    // camera IP
    EXPECT_EQ("lo", s->DeviceInfoText(1104));                         // host interface
    EXPECT_EQ(loopback, s->DeviceInfoBytes(1105));                    // host address
    EXPECT_EQ((std::vector<uint8_t>{255, 0, 0, 0}), s->DeviceInfoBytes(1106));
    auto status = [&] {
        int32_t v = 0;
        std::memcpy(&v, s->DeviceInfoBytes(DEVICE_INFO_ACCESS_STATUS).data(), 4);
        return v;
    };
    EXPECT_EQ(DEVICE_ACCESS_STATUS_READWRITE, status());
    uint64_t frequency = 0;
    std::memcpy(&frequency, s->DeviceInfoBytes(DEVICE_INFO_TIMESTAMP_FREQUENCY).data(), 8);
    EXPECT_EQ(1000000000u, frequency);
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice(DEVICE_ACCESS_READONLY));
    EXPECT_EQ(DEVICE_ACCESS_STATUS_OPEN_READONLY, status());
}

TEST_F(GevGenTL, RemotePortReachesTheCameraRegistersAtAnyAlignment) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice());
    // The camera's own description file, from its bootstrap registers.
    char url[256] = {};
    size_t size = sizeof url;
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCGetPortURL(s->remote, url, &size));
    const std::string text(url);
    ASSERT_EQ(0u, text.find("Local:arv-fake-camera.xml;")) << text;
    const uint64_t address = std::strtoull(text.c_str() + text.find(';') + 1, nullptr, 16);
    std::vector<char> head(64);
    size = head.size();
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCReadPort(s->remote, address, head.data(), &size));
    EXPECT_EQ(0, std::string(head.data(), 5).compare("<?xml"));
    // An unaligned, odd-sized read equals the same bytes of an aligned read.
    char odd[7] = {};
    size = sizeof odd;
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCReadPort(s->remote, address + 3, odd, &size));
    EXPECT_EQ(std::string(head.data() + 3, 7), std::string(odd, 7));
    // A two-byte write into the low half of Width keeps the high half.
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kWidthRegister, 0x00000200));
    const uint8_t low[2] = {0x01, 0x00};
    size = 2;
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCWritePort(s->remote, kWidthRegister + 2, low, &size));
    uint32_t width = 0;
    ASSERT_EQ(GC_ERR_SUCCESS, s->ReadBe32(s->remote, kWidthRegister, width));
    EXPECT_EQ(0x100u, width);
}

TEST_F(GevGenTL, ReadOnlyOpenReadsButNeverWrites) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice(DEVICE_ACCESS_READONLY));
    uint32_t width = 0;
    EXPECT_EQ(GC_ERR_SUCCESS, s->ReadBe32(s->remote, kWidthRegister, width));
    EXPECT_EQ(512u, width);
    EXPECT_EQ(GC_ERR_ACCESS_DENIED, s->WriteBe32(s->remote, kWidthRegister, 256));
    char id[128] = {};
    size_t size = sizeof id;
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DevGetDataStreamID(s->dev, 0, id, &size));
    EXPECT_EQ(GC_ERR_ACCESS_DENIED, s->gentl.DevOpenDataStream(s->dev, id, &s->ds));
}

// Run as a second process by SecondProcessIsRefusedControl below.
TEST(GevSecondProcess, OpensTheControlledCamera) {
    if (std::getenv("LUMO_GEV_SECOND_PROCESS") == nullptr)
        GTEST_SKIP() << "runs only as the second process of SecondProcessIsRefusedControl";
    LUMO_REQUIRE_LOOPBACK_ONLY();
    GevSession other;
    ASSERT_NO_FATAL_FAILURE(other.Open());
    int32_t status = 0;
    std::memcpy(&status, other.DeviceInfoBytes(DEVICE_INFO_ACCESS_STATUS).data(), 4);
    EXPECT_EQ(DEVICE_ACCESS_STATUS_BUSY, status);
    EXPECT_EQ(GC_ERR_ACCESS_DENIED, other.OpenDevice(DEVICE_ACCESS_CONTROL));
    ASSERT_EQ(GC_ERR_SUCCESS, other.OpenDevice(DEVICE_ACCESS_READONLY));
    uint32_t width = 0;
    EXPECT_EQ(GC_ERR_SUCCESS, other.ReadBe32(other.remote, kWidthRegister, width));
    EXPECT_EQ(320u, width);  // what the first process wrote
}

TEST_F(GevGenTL, SecondProcessIsRefusedControl) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice(DEVICE_ACCESS_EXCLUSIVE));
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kWidthRegister, 320));
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = "LUMO_GEV_SECOND_PROCESS=1 '" + self +
                                "' --gtest_filter=GevSecondProcess.OpensTheControlledCamera";
    EXPECT_EQ(0, std::system(command.c_str()));
    // Our control survived the other process.
    EXPECT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kWidthRegister, 512));
}

TEST_F(GevGenTL, StreamRegistersBoundThePacketSizeAtTheNextStart) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice());
    ASSERT_NO_FATAL_FAILURE(s->OpenStream());
    // What a consumer for GigE Vision producers writes after open: 16-bit values, 2 bytes each.
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteLe(s->ds, 0x228, 576, 2));
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteLe(s->ds, 0x22C, 1000, 2));
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteLe(s->ds, 0x230, 8, 2));
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteLe(s->ds, 0x24, 0x430, 4));
    uint32_t v = 0;
    EXPECT_EQ(GC_ERR_SUCCESS, s->ReadLe32(s->ds, 0x22C, v));
    EXPECT_EQ(1000u, v);
    EXPECT_EQ(GC_ERR_SUCCESS, s->ReadLe32(s->ds, 0x24, v));
    EXPECT_EQ(0x430u, v);
    std::vector<uint8_t> mem(512 * 512);
    BUFFER_HANDLE b = nullptr;
    ASSERT_EQ(GC_ERR_SUCCESS,
              s->gentl.DSAnnounceBuffer(s->ds, mem.data(), mem.size(), nullptr, &b));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSStartAcquisition(s->ds, 0, GENTL_INFINITE));
    uint32_t packet = 0;
    ASSERT_EQ(GC_ERR_SUCCESS, s->ReadBe32(s->remote, kPacketSizeRegister, packet));
    packet &= 0xFFFF;
    EXPECT_LE(packet, 1000u);
    EXPECT_GE(packet, 576u);
    EXPECT_EQ(0u, packet % 8);
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSStopAcquisition(s->ds, 0));
}

TEST_F(GevGenTL, StreamDeliversFramesInOrderIntoBothBufferKinds) {
    ASSERT_NO_FATAL_FAILURE(StartStreaming(3, 3));
    uint64_t lastId = 0;
    std::vector<bool> seen(buffers.size());
    for (int i = 0; i < 30; ++i) {
        EVENT_NEW_BUFFER_DATA data{};
        ASSERT_EQ(GC_ERR_SUCCESS, Next(data)) << s->LastError();
        const size_t index = reinterpret_cast<uintptr_t>(data.pUserPointer) - 0x1000;
        ASSERT_LT(index, buffers.size());
        EXPECT_EQ(buffers[index], data.BufferHandle);
        seen[index] = true;
        const auto id = s->BufferInfo<uint64_t>(data.BufferHandle, BUFFER_INFO_FRAMEID);
        EXPECT_GT(id, lastId);
        lastId = id;
        EXPECT_EQ(512u, s->BufferInfo<size_t>(data.BufferHandle, BUFFER_INFO_WIDTH));
        EXPECT_EQ(512u, s->BufferInfo<size_t>(data.BufferHandle, BUFFER_INFO_HEIGHT));
        EXPECT_EQ(0x01080001u, s->BufferInfo<uint64_t>(data.BufferHandle, BUFFER_INFO_PIXELFORMAT));
        EXPECT_EQ(512u * 512u, s->BufferInfo<size_t>(data.BufferHandle, BUFFER_INFO_SIZE_FILLED));
        EXPECT_FALSE(s->BufferInfo<bool8_t>(data.BufferHandle, BUFFER_INFO_IS_INCOMPLETE));
        EXPECT_EQ(GC_ERR_BUSY, s->gentl.DSRevokeBuffer(s->ds, buffers[(index + 1) % buffers.size()],
                                                       nullptr, nullptr));
        ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSQueueBuffer(s->ds, data.BufferHandle));
    }
    EXPECT_EQ(std::vector<bool>(buffers.size(), true), seen);
    // User buffers are the caller's memory, with no copy.
    void* base = nullptr;
    INFO_DATATYPE type = 0;
    size_t size = sizeof base;
    ASSERT_EQ(GC_ERR_SUCCESS,
              s->gentl.DSGetBufferInfo(s->ds, buffers[0], BUFFER_INFO_BASE, &type, &base, &size));
    EXPECT_EQ(memory[0].data(), base);
    uint64_t delivered = 0;
    size = sizeof delivered;
    ASSERT_EQ(GC_ERR_SUCCESS,
              s->gentl.DSGetInfo(s->ds, STREAM_INFO_NUM_DELIVERED, &type, &delivered, &size));
    EXPECT_GE(delivered, 30u);

    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kAcquisitionCommand, 0));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSStopAcquisition(s->ds, ACQ_STOP_FLAGS_DEFAULT));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_ALL_DISCARD));
    for (size_t i = 0; i < buffers.size(); ++i) {
        void* mem = nullptr;
        void* user = nullptr;
        ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSRevokeBuffer(s->ds, buffers[i], &mem, &user));
        EXPECT_EQ(i < memory.size() ? memory[i].data() : nullptr, mem);
        EXPECT_EQ(reinterpret_cast<void*>(0x1000 + i), user);
    }
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.GCUnregisterEvent(s->ds, EVENT_NEW_BUFFER));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSClose(s->ds));
}

TEST_F(GevGenTL, WaitsEndByTimeoutKillOrFlush) {
    ASSERT_EQ(GC_ERR_SUCCESS, s->OpenDevice());
    ASSERT_NO_FATAL_FAILURE(s->OpenStream());
    std::vector<uint8_t> mem(2 * 512 * 512);
    BUFFER_HANDLE b[2] = {};
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSAnnounceBuffer(s->ds, mem.data() + i * 512 * 512,
                                                            512 * 512, nullptr, &b[i]));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.GCRegisterEvent(s->ds, EVENT_NEW_BUFFER, &event));
    EVENT_NEW_BUFFER_DATA data{};
    EXPECT_EQ(GC_ERR_TIMEOUT, Next(data, 50));
    // A kill ends exactly one wait, also one that is already waiting.
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        s->gentl.EventKill(event);
    });
    EXPECT_EQ(GC_ERR_ABORT, Next(data, GENTL_INFINITE));
    killer.join();
    EXPECT_EQ(GC_ERR_TIMEOUT, Next(data, 20));
    // Flushing the input pool to the output delivers buffers without new data.
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSQueueBuffer(s->ds, b[0]));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSQueueBuffer(s->ds, b[1]));
    EXPECT_EQ(GC_ERR_RESOURCE_IN_USE, s->gentl.DSQueueBuffer(s->ds, b[1]));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_INPUT_TO_OUTPUT));
    size_t queued = 0;
    INFO_DATATYPE type = 0;
    size_t size = sizeof queued;
    ASSERT_EQ(GC_ERR_SUCCESS,
              s->gentl.EventGetInfo(event, EVENT_NUM_IN_QUEUE, &type, &queued, &size));
    EXPECT_EQ(2u, queued);
    ASSERT_EQ(GC_ERR_SUCCESS, Next(data, 0));
    EXPECT_FALSE(s->BufferInfo<bool8_t>(data.BufferHandle, BUFFER_INFO_NEW_DATA));
    // EventFlush drops what is left; the buffer becomes unqueued and can be revoked.
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.EventFlush(event));
    EXPECT_EQ(GC_ERR_TIMEOUT, Next(data, 0));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSRevokeBuffer(s->ds, b[0], nullptr, nullptr));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSRevokeBuffer(s->ds, b[1], nullptr, nullptr));
}

TEST_F(GevGenTL, FlushModesMoveBuffersBetweenPoolsAlsoWhileStreaming) {
    ASSERT_NO_FATAL_FAILURE(StartStreaming(0, 3));
    auto count = [&](STREAM_INFO_CMD cmd) {
        size_t n = 0;
        INFO_DATATYPE type = 0;
        size_t size = sizeof n;
        EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSGetInfo(s->ds, cmd, &type, &n, &size));
        return n;
    };
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(GC_ERR_SUCCESS, Next(data));
    // Buffers that Aravis is filling come back too: every buffer ends unqueued.
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_ALL_DISCARD));
    EXPECT_EQ(0u, count(STREAM_INFO_NUM_QUEUED));
    EXPECT_EQ(0u, count(STREAM_INFO_NUM_AWAIT_DELIVERY));
    EXPECT_EQ(GC_ERR_TIMEOUT, Next(data, 100));
    // Put back, the acquisition goes on.
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_UNQUEUED_TO_INPUT));
    ASSERT_EQ(GC_ERR_SUCCESS, Next(data));
    ASSERT_EQ(GC_ERR_SUCCESS, s->WriteBe32(s->remote, kAcquisitionCommand, 0));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSStopAcquisition(s->ds, ACQ_STOP_FLAGS_DEFAULT));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_ALL_TO_INPUT));
    EXPECT_EQ(3u, count(STREAM_INFO_NUM_QUEUED));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_INPUT_TO_OUTPUT));
    EXPECT_EQ(0u, count(STREAM_INFO_NUM_QUEUED));
    EXPECT_EQ(3u, count(STREAM_INFO_NUM_AWAIT_DELIVERY));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSFlushQueue(s->ds, ACQ_QUEUE_OUTPUT_DISCARD));
    EXPECT_EQ(0u, count(STREAM_INFO_NUM_AWAIT_DELIVERY));
    for (BUFFER_HANDLE b : buffers)
        EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSRevokeBuffer(s->ds, b, nullptr, nullptr));
}

TEST_F(GevGenTL, VanishedCameraEndsWaitsAndClosesCleanly) {
    ASSERT_NO_FATAL_FAILURE(StartStreaming(0, 4));
    EVENT_NEW_BUFFER_DATA data{};
    ASSERT_EQ(GC_ERR_SUCCESS, Next(data));
    ASSERT_EQ(GC_ERR_SUCCESS, s->gentl.DSQueueBuffer(s->ds, data.BufferHandle));
    camera->Kill();
    // Drain what was on its way; then the wait ends by its time-out.
    GC_ERROR rc = GC_ERR_SUCCESS;
    auto t0 = Clock::now();
    for (int i = 0; i < 10 && rc == GC_ERR_SUCCESS; ++i)
        rc = Next(data, 300);
    EXPECT_EQ(GC_ERR_TIMEOUT, rc);
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(5));
    uint32_t width = 0;
    t0 = Clock::now();
    EXPECT_EQ(GC_ERR_IO, s->ReadBe32(s->remote, kWidthRegister, width));
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(10));
    EXPECT_NE(std::string::npos, s->LastError().find("GCReadPort")) << s->LastError();
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSStopAcquisition(s->ds, ACQ_STOP_FLAGS_KILL));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DSClose(s->ds));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.DevClose(s->dev));
    EXPECT_EQ(GC_ERR_SUCCESS, s->gentl.TLClose(s->tl));
}

}  // namespace
