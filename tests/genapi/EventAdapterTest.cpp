// Device event data delivered to a node map: the event features read it and
// their callbacks fire.
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "TestPort.h"

using namespace GenApi;

namespace {

const char* const kEvents = R"XML(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="EventCam" VendorName="Lumo" StandardNameSpace="None"
  SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
  MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root"><pFeature>EventExposureEndTimestamp</pFeature></Category>
  <Port Name="EventExposureEndPort"><EventID>9001</EventID></Port>
  <Integer Name="EventExposureEndTimestamp"><pValue>ExposureEndTimestampReg</pValue></Integer>
  <IntReg Name="ExposureEndTimestampReg"><Address>0x0</Address><Length>8</Length>
    <AccessMode>RO</AccessMode><pPort>EventExposureEndPort</pPort><Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="EventExposureEndFrameID"><Address>0x8</Address><Length>4</Length>
    <AccessMode>RO</AccessMode><pPort>EventExposureEndPort</pPort><Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="Width"><Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Port Name="Device"/>
</RegisterDescription>
)XML";

std::vector<uint8_t> Message(uint64_t timestamp, uint32_t frame) {
    std::vector<uint8_t> data(12);
    std::memcpy(data.data(), &timestamp, 8);
    std::memcpy(data.data() + 8, &frame, 4);
    return data;
}

class EventAdapterTest : public ::testing::Test {
protected:
    void SetUp() override {
        map._LoadXMLFromString(kEvents);
        NodeList_t nodes;
        map._GetNodes(nodes);
        for (INode* node : nodes) {  // as the library's register port does
            if (node->GetPrincipalInterfaceType() == intfIPort) {
                map._Connect(&port, node->GetName());
            }
        }
    }
    int64_t Get(const char* name) { return CIntegerPtr(map._GetNode(name))->GetValue(); }

    CTestPort port;
    CNodeMapRef map;
};

TEST_F(EventAdapterTest, EventDataReachesTheFeaturesAndFiresTheirCallbacks) {
    EXPECT_THROW(Get("EventExposureEndTimestamp"), GenICam::AccessException);
    int fired = 0;
    Register(map._GetNode("EventExposureEndTimestamp"), [&](INode*) { ++fired; });
    int widthFired = 0;
    Register(map._GetNode("Width"), [&](INode*) { ++widthFired; });
    CEventAdapterGeneric adapter(map._Ptr());
    for (uint32_t frame : {1u, 2u}) {
        const auto data = Message(1000 * frame, frame);
        EXPECT_TRUE(adapter.DeliverMessage(data.data(), 12, "9001"));
        EXPECT_EQ(Get("EventExposureEndTimestamp"), 1000 * frame);
        EXPECT_EQ(Get("EventExposureEndFrameID"), frame);
        EXPECT_EQ(fired, static_cast<int>(frame));
    }
    EXPECT_EQ(widthFired, 0);
}

TEST_F(EventAdapterTest, UnknownOrMalformedEventsChangeNothing) {
    CEventAdapterGeneric adapter(map._Ptr());
    const auto data = Message(5, 6);
    EXPECT_TRUE(adapter.DeliverMessage(data.data(), 12, uint64_t{0x9001}));
    const auto other = Message(7, 8);
    EXPECT_FALSE(adapter.DeliverMessage(other.data(), 12, uint64_t{0x9002}));
    for (const char* id : {"", "90x1", "zz"}) {
        EXPECT_THROW(adapter.DeliverMessage(other.data(), 12, id),
                     GenICam::InvalidArgumentException)
            << id;
    }
    EXPECT_THROW(adapter.DeliverMessage(nullptr, 12, uint64_t{0x9001}),
                 GenICam::InvalidArgumentException);
    EXPECT_EQ(Get("EventExposureEndTimestamp"), 5);
    // A short event leaves the fields it lacks unreadable.
    EXPECT_TRUE(adapter.DeliverMessage(data.data(), 8, uint64_t{0x9001}));
    EXPECT_EQ(Get("EventExposureEndTimestamp"), 5);
    EXPECT_THROW(Get("EventExposureEndFrameID"), GenICam::OutOfRangeException);
    CEventAdapterGeneric detached;
    EXPECT_THROW(detached.DeliverMessage(data.data(), 12, uint64_t{0x9001}),
                 GenICam::LogicalErrorException);
}

// Events delivered on one thread while another reads the features: run under
// ThreadSanitizer.
TEST_F(EventAdapterTest, DeliveryRacesNoReader) {
    CEventAdapterGeneric adapter(map._Ptr());
    const auto first = Message(1, 1);
    adapter.DeliverMessage(first.data(), 12, uint64_t{0x9001});
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            const int64_t value = Get("EventExposureEndTimestamp");
            EXPECT_GE(value, 1);
        }
    });
    for (uint32_t i = 2; i < 300; ++i) {
        const auto data = Message(i, i);
        adapter.DeliverMessage(data.data(), 12, uint64_t{0x9001});
    }
    done = true;
    reader.join();
    EXPECT_EQ(Get("EventExposureEndTimestamp"), 299);
}

}  // namespace
