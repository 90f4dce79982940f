#include <algorithm>
#include <thread>

#include "CameraRegisters.h"
#include "SimFixture.h"

namespace {

class ProducerFaults : public SimFixture {};

TEST_F(ProducerFaults, CallFaultsByCount) {
    OpenFirstDevice(R"({"faults": {"calls": [
        {"function": "DevGetNumDataStreams", "error": -1010, "mode": "nth", "n": 2},
        {"function": "DSGetBufferID", "error": -1001, "mode": "after", "n": 1},
        {"function": "IFGetParentTL", "error": -1005}]}})");
    uint32_t n = 0;
    EXPECT_EQ(p->DevGetNumDataStreams(hDev, &n), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DevGetNumDataStreams(hDev, &n), GC_ERR_IO);
    EXPECT_EQ(p->DevGetNumDataStreams(hDev, &n), GC_ERR_SUCCESS);
    EXPECT_NE(LastError().find("DevGetNumDataStreams"), std::string::npos);
    TL_HANDLE parent = nullptr;
    EXPECT_EQ(p->IFGetParentTL(hIF, &parent), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(p->IFGetParentTL(hIF, &parent), GC_ERR_ACCESS_DENIED);
    OpenStream();
    BUFFER_HANDLE b = nullptr;
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, 64, nullptr, &b), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSGetBufferID(hDS, 0, &b), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSGetBufferID(hDS, 0, &b), GC_ERR_ERROR);
}

TEST_F(ProducerFaults, RegisterFaultsAndDescriptionFailures) {
    OpenFirstDevice(R"({"systemXml": {"padding": "nulInside"},
        "interfaces": [{"devices": [{"streamXml": {"readFails": true},
        "remoteXml": {"zipped": true, "padding": "ff"},
        "deviceXml": {"url": "file:///tmp/x.xml?SchemaVersion=1.1.0"}}]}],
        "faults": {"registers": [{"module": "stream", "address": 4224, "access": "write", "error": -1005}]}})");
    OpenStream();
    EXPECT_EQ(WriteU32(hDS, 0x1080, 0), GC_ERR_ACCESS_DENIED);  // EnablePacketResend
    EXPECT_EQ(WriteU32(hDS, 0x1084, 1), GC_ERR_SUCCESS);
    char url[256];
    size_t size = sizeof url;
    ASSERT_EQ(p->GCGetPortURL(hDS, url, &size), GC_ERR_SUCCESS);
    uint8_t head[4];
    size = sizeof head;
    EXPECT_EQ(p->GCReadPort(hDS, 0x100000, head, &size), GC_ERR_IO);
    INFO_DATATYPE type = 0;
    size = sizeof url;
    ASSERT_EQ(p->GCGetPortURLInfo(hDev, 0, URL_INFO_URL, &type, url, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(url, "file:///tmp/x.xml?SchemaVersion=1.1.0");
    int32_t scheme = -1;
    size = sizeof scheme;
    ASSERT_EQ(p->GCGetPortURLInfo(hDev, 0, URL_INFO_SCHEME, &type, &scheme, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(scheme, URL_SCHEME_FILE);
    // The zipped remote file starts with a ZIP signature and is followed by 0xFF padding.
    uint64_t addr = 0, length = 0;
    size = sizeof addr;
    ASSERT_EQ(p->GCGetPortURLInfo(hRemote, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &addr, &size),
              GC_ERR_SUCCESS);
    size = sizeof length;
    ASSERT_EQ(p->GCGetPortURLInfo(hRemote, 0, URL_INFO_FILE_SIZE, &type, &length, &size),
              GC_ERR_SUCCESS);
    std::vector<uint8_t> file(length + 8);
    size = file.size();
    ASSERT_EQ(p->GCReadPort(hRemote, addr, file.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(file[0], 'P');
    EXPECT_EQ(file[1], 'K');
    EXPECT_EQ(file[length], 0xFF);
    size = sizeof url;
    ASSERT_EQ(p->GCGetPortURL(hRemote, url, &size), GC_ERR_SUCCESS);
    EXPECT_NE(std::string(url).find(".zip;100000;"), std::string::npos) << url;
    // Padding inside the declared length: the system file read as declared ends in NULs.
    size = sizeof length;
    ASSERT_EQ(p->GCGetPortURLInfo(hTL, 0, URL_INFO_FILE_SIZE, &type, &length, &size),
              GC_ERR_SUCCESS);
    file.assign(length, 1);
    size = file.size();
    ASSERT_EQ(p->GCReadPort(hTL, 0x100000, file.data(), &size), GC_ERR_SUCCESS);
    const size_t end = file.size() - 64;
    EXPECT_EQ(file[end - 1], '\n');
    EXPECT_EQ(std::count(file.begin() + end, file.end(), 0), 64);
}

TEST_F(ProducerFaults, BufferLimitIncompleteFramesAndDrop) {
    OpenFirstDevice(
        R"({"interfaces": [{"devices": [{"frameRate": 0, "sensorWidth": 32, "sensorHeight": 8}]}],
        "faults": {"maxAllocBuffers": 2, "incompleteEvery": 2, "dropDeviceAfterFrames": 4,
                   "chunkOverrun": true},
        "events": {"errorOnIncomplete": true}})");
    OpenStream();
    const size_t payload = ReadU32(hRemote, LumoSim::CamReg::kPayloadSize);
    BUFFER_HANDLE b[3] = {};
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, payload, nullptr, &b[0]), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSAllocAndAnnounceBuffer(hDS, payload, nullptr, &b[1]), GC_ERR_SUCCESS);
    EXPECT_EQ(p->DSAllocAndAnnounceBuffer(hDS, payload, nullptr, &b[2]), GC_ERR_OUT_OF_MEMORY);
    EVENT_HANDLE ev = nullptr, err = nullptr;
    ASSERT_EQ(p->GCRegisterEvent(hDS, EVENT_NEW_BUFFER, &ev), GC_ERR_SUCCESS);
    ASSERT_EQ(p->GCRegisterEvent(hDS, EVENT_ERROR, &err), GC_ERR_SUCCESS);
    for (auto h : {b[0], b[1]})
        ASSERT_EQ(p->DSQueueBuffer(hDS, h), GC_ERR_SUCCESS);
    ASSERT_EQ(p->DSStartAcquisition(hDS, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
    ASSERT_EQ(WriteU32(hRemote, LumoSim::CamReg::kAcqStart, 1), GC_ERR_SUCCESS);
    for (uint64_t frame = 1; frame <= 4; ++frame) {
        BUFFER_HANDLE got = NextBuffer(ev);
        ASSERT_NE(got, nullptr) << frame;
        EXPECT_EQ(BufferInfo<bool8_t>(got, BUFFER_INFO_IS_INCOMPLETE), frame % 2 == 0);
        if (frame % 2 == 0) {
            EXPECT_EQ(BufferInfo<size_t>(got, BUFFER_INFO_DELIVERED_IMAGEHEIGHT), 4u);
            uint8_t data[1024];
            size_t size = sizeof data;
            EXPECT_EQ(p->EventGetData(err, data, &size, 1000), GC_ERR_SUCCESS);
        }
        if (frame < 3) {
            ASSERT_EQ(p->DSQueueBuffer(hDS, got), GC_ERR_SUCCESS);
        }
    }
    // Unplugged after four frames: calls on the device fail, closing still works.
    GC_ERROR rc = 0;
    for (int i = 0; i < 50 && rc != GC_ERR_IO; ++i) {
        rc = WriteU32(hRemote, LumoSim::CamReg::kWidth, 16);
        if (rc != GC_ERR_IO)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(rc, GC_ERR_IO);
    EXPECT_EQ(p->DSQueueBuffer(hDS, b[0]), GC_ERR_IO);
    ASSERT_EQ(p->IFUpdateDeviceList(hIF, nullptr, 100), GC_ERR_SUCCESS);
    uint32_t n = 9;
    ASSERT_EQ(p->IFGetNumDevices(hIF, &n), GC_ERR_SUCCESS);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(p->DevClose(hDev), GC_ERR_SUCCESS);
}

}  // namespace
