#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TestDescription.h"
#include "TestPort.h"

using namespace GenApi;

namespace {

// Connected the way the library's register port connects itself: to every
// port node of the map.
class FeatureAccessTest : public ::testing::Test {
protected:
    void SetUp() override {
        port.Poke32(0x00, 640);
        port.Poke32(0x04, 480);
        port.Poke32(0x1C, 17301505);
        map._LoadXMLFromString(kTestDescription);
        NodeList_t nodes;
        map._GetNodes(nodes);
        for (INode* node : nodes) {
            if (node->GetPrincipalInterfaceType() == intfIPort) {
                ASSERT_TRUE(map._Connect(&port, node->GetName()));
            }
        }
    }

    INode* Node(const char* name) { return map._GetNode(name); }

    CTestPort port;
    CNodeMapRef map;
};

template <class E, class F>
std::string DescriptionOf(F&& call) {
    try {
        call();
    } catch (const E& e) {
        return e.GetDescription();
    }
    ADD_FAILURE() << "expected exception not thrown";
    return {};
}

}  // namespace

TEST_F(FeatureAccessTest, PointersOfTheWrongInterfaceAreInvalidNotFatal) {
    CIntegerPtr width = Node("Width");
    ASSERT_TRUE(width.IsValid());
    EXPECT_FALSE(CFloatPtr(Node("Width")).IsValid());
    EXPECT_FALSE(CEnumerationPtr(Node("Width")));
    EXPECT_FALSE(CIntegerPtr(Node("Missing")).IsValid());
    CCommandPtr missing = Node("PixelFormat");
    EXPECT_THROW(missing->Execute(), GenICam::LogicalErrorException);
    // Registers expose both their value and their raw bytes.
    EXPECT_TRUE(CRegisterPtr(Node("WidthReg")).IsValid());
    EXPECT_FALSE(CRegisterPtr(Node("Width")).IsValid());
    CNodePtr asNode = width;
    EXPECT_EQ(asNode->GetName(), "Width");
    EXPECT_EQ(width->GetNode(), asNode.operator->());
}

TEST_F(FeatureAccessTest, IntegerValueRangeAndMetadata) {
    CIntegerPtr width = Node("Width");
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_EQ(width->GetMin(), 16);
    EXPECT_EQ(width->GetMax(), 4096);
    EXPECT_EQ(width->GetInc(), 8);
    width->SetValue(1024);
    EXPECT_EQ(port.Peek32(0x00), 1024u);
    *width = 2048;
    EXPECT_EQ((*width)(), 2048);
    width->FromString("0x100");
    EXPECT_EQ(width->ToString(), "256");
    EXPECT_THROW(width->FromString("12abc"), GenICam::InvalidArgumentException);

    const INode* node = Node("Width");
    EXPECT_EQ(node->GetToolTip(), "Image width");
    EXPECT_EQ(node->GetDescription(), "Width of the image");
    EXPECT_EQ(node->GetDisplayName(), "Image Width");
    EXPECT_TRUE(node->IsFeature());
    EXPECT_EQ(node->GetNodeMap(), map._Ptr());
}

TEST_F(FeatureAccessTest, VerifyChecksRangeAndIncrementNamingFeatureAndValue) {
    CIntegerPtr width = Node("Width");
    const std::string tooBig =
        DescriptionOf<GenICam::OutOfRangeException>([&] { width->SetValue(5000); });
    EXPECT_NE(tooBig.find("Width"), std::string::npos) << tooBig;
    EXPECT_NE(tooBig.find("5000"), std::string::npos) << tooBig;
    EXPECT_THROW(width->SetValue(8), GenICam::OutOfRangeException);
    EXPECT_THROW(width->SetValue(641), GenICam::OutOfRangeException);
    EXPECT_EQ(port.Peek32(0x00), 640u);

    // Without Verify the value goes to the device as GenApi does.
    width->SetValue(641, false);
    EXPECT_EQ(port.Peek32(0x00), 641u);
    EXPECT_EQ(width->GetValue(false, true), 641);
    EXPECT_THROW(width->GetValue(true, true), GenICam::OutOfRangeException);

    CFloatPtr rate = Node("AcquisitionFrameRate");
    EXPECT_THROW(rate->SetValue(500.0), GenICam::OutOfRangeException);
    rate->SetValue(25.0);
    EXPECT_DOUBLE_EQ(rate->GetValue(), 25.0);
}

TEST_F(FeatureAccessTest, AccessModeFollowsRegisterLockAndAvailability) {
    CIntegerPtr sensor = Node("SensorWidth");
    port.Poke32(0x24, 2448);
    EXPECT_TRUE(IsReadable(sensor));
    EXPECT_FALSE(IsWritable(sensor));
    EXPECT_EQ(sensor->GetValue(true), 2448);
    const std::string text = DescriptionOf<GenICam::AccessException>([&] { sensor->SetValue(1); });
    EXPECT_NE(text.find("SensorWidth"), std::string::npos) << text;

    CIntegerPtr width = Node("Width");
    EXPECT_EQ(width->GetAccessMode(), RW);
    CIntegerPtr(Node("TLParamsLocked"))->SetValue(1);
    EXPECT_EQ(width->GetAccessMode(), RO);
    EXPECT_THROW(width->SetValue(800), GenICam::AccessException);
    CIntegerPtr(Node("TLParamsLocked"))->SetValue(0);
    width->SetValue(800);

    CIntegerPtr optional = Node("OptionalFeature");
    EXPECT_FALSE(IsAvailable(optional));
    EXPECT_THROW(optional->GetValue(true), GenICam::AccessException);
    CIntegerPtr(Node("OptionEnabled"))->SetValue(1);
    EXPECT_TRUE(IsAvailable(optional));
    EXPECT_EQ(optional->GetValue(true), 5);
    EXPECT_FALSE(IsAvailable(CIntegerPtr(Node("Missing"))));
}

TEST_F(FeatureAccessTest, CacheIsBypassedByIgnoreCacheAndInvalidation) {
    CIntegerPtr width = Node("Width");
    EXPECT_EQ(width->GetValue(), 640);
    port.Poke32(0x00, 720);
    const int before = port.reads;
    EXPECT_EQ(width->GetValue(), 640);
    EXPECT_EQ(port.reads, before);
    EXPECT_EQ(width->GetValue(false, true), 720);
    EXPECT_GT(port.reads, before);

    port.Poke32(0x00, 800);
    EXPECT_EQ(width->GetValue(), 720);
    map._InvalidateNodes();
    EXPECT_EQ(width->GetValue(), 800);

    // A register declared NoCache is always read from the device.
    CIntegerPtr height = Node("Height");
    EXPECT_EQ(height->GetValue(), 480);
    port.Poke32(0x04, 500);
    EXPECT_EQ(height->GetValue(), 500);
}

TEST_F(FeatureAccessTest, PortFailureReachesTheCallerUnchanged) {
    CIntegerPtr unreachable = Node("Unreachable");
    try {
        unreachable->GetValue();
        FAIL() << "no exception";
    } catch (const GenICam::GenericException& e) {
        EXPECT_STREQ(e.GetDescription(), "Read address failed");
        EXPECT_STREQ(e.GetSourceFileName(), "CtiPort");
        EXPECT_EQ(e.GetSourceLine(), 48u);
        EXPECT_EQ(typeid(e), typeid(GenICam::GenericException));
        EXPECT_NE(std::string(e.what()).find("Read address failed"), std::string::npos);
    }
    try {
        unreachable->SetValue(1, false);
        FAIL() << "no exception";
    } catch (const GenICam::GenericException& e) {
        EXPECT_STREQ(e.GetDescription(), "Write address failed");
        EXPECT_EQ(e.GetSourceLine(), 62u);
    }
    // The map stays usable after a failure.
    EXPECT_EQ(CIntegerPtr(Node("Width"))->GetValue(), 640);
}

TEST(FeatureAccessUnconnected, AccessWithoutPortIsAnAccessError) {
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    EXPECT_THROW(CIntegerPtr(map._GetNode("Width"))->GetValue(), GenICam::AccessException);
}

TEST_F(FeatureAccessTest, ComputedIntegersFollowTheirSources) {
    port.Poke32(0x08, 0x00000A00);
    CIntegerPtr masked = Node("BinningField");
    EXPECT_EQ(masked->GetValue(), 0x0A);
    masked->SetValue(0x3C);
    EXPECT_EQ(port.Peek32(0x08), 0x00003C00u);

    EXPECT_EQ(CIntegerPtr(Node("WidthTimesTwo"))->GetValue(), 1280);
    CIntegerPtr half = Node("HalfWidth");
    EXPECT_EQ(half->GetValue(), 320);
    half->SetValue(512);
    EXPECT_EQ(port.Peek32(0x00), 1024u);
}

TEST_F(FeatureAccessTest, FloatsThroughRegistersAndFormulas) {
    const float gamma = 2.2f;
    port.PokeBytes(0x0C, &gamma, sizeof(gamma));
    CFloatPtr gammaPtr = Node("Gamma");
    EXPECT_NEAR(gammaPtr->GetValue(), 2.2, 1e-6);
    gammaPtr->SetValue(1.5);
    float stored = 0;
    const uint32_t bits = port.Peek32(0x0C);
    std::memcpy(&stored, &bits, sizeof(stored));
    EXPECT_FLOAT_EQ(stored, 1.5f);
    EXPECT_EQ(CRegisterPtr(Node("Gamma"))->GetLength(), 4);

    CFloatPtr exposure = Node("ExposureMs");
    exposure->SetValue(4.0);
    EXPECT_EQ(port.Peek32(0x10), 4000u);
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 4.0);
    EXPECT_DOUBLE_EQ(CFloatPtr(Node("FrameRateLimit"))->GetValue(), 250.0);
}

TEST_F(FeatureAccessTest, BooleanAndCommand) {
    CBooleanPtr reverse = Node("ReverseX");
    EXPECT_FALSE(reverse->GetValue());
    reverse->SetValue(true);
    EXPECT_EQ(port.Peek32(0x14), 1u);
    EXPECT_TRUE(reverse->GetValue(true, true));
    reverse->FromString("false");
    EXPECT_EQ(reverse->ToString(), "false");
    EXPECT_THROW(reverse->FromString("maybe"), GenICam::InvalidArgumentException);

    CCommandPtr start = Node("AcquisitionStart");
    EXPECT_TRUE(start->IsDone());
    start->Execute();
    EXPECT_EQ(port.Peek32(0x18), 1u);
    EXPECT_FALSE(start->IsDone());
    port.Poke32(0x18, 0);
    EXPECT_TRUE(start->IsDone());
}

TEST_F(FeatureAccessTest, EnumerationEntriesAndValues) {
    CEnumerationPtr format = Node("PixelFormat");
    EXPECT_EQ(format->GetIntValue(), 17301505);
    EXPECT_EQ(format->ToString(), "Mono8");
    EXPECT_EQ(format->GetCurrentEntry()->GetSymbolic(), "Mono8");

    IEnumEntry* mono16 = format->GetEntryByName("Mono16");
    ASSERT_NE(mono16, nullptr);
    EXPECT_EQ(mono16->GetValue(), 17825799);
    format->SetIntValue(mono16->GetValue());
    EXPECT_EQ(port.Peek32(0x1C), 17825799u);
    *format = "Mono8";
    EXPECT_EQ(port.Peek32(0x1C), 17301505u);

    EXPECT_EQ(format->GetEntryByName("Bayer"), nullptr);
    EXPECT_EQ(format->GetEntry(12345), nullptr);
    EXPECT_THROW(format->FromString("Bayer"), GenICam::InvalidArgumentException);
    EXPECT_THROW(format->SetIntValue(12345), GenICam::OutOfRangeException);
    EXPECT_THROW(format->FromString("RGB8"), GenICam::OutOfRangeException);

    StringList_t symbolics;
    format->GetSymbolics(symbolics);
    EXPECT_EQ(symbolics, (StringList_t{"Mono8", "Mono16"}));
    NodeList_t entries;
    format->GetEntries(entries);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_FALSE(IsAvailable(entries[2]));
    EXPECT_FALSE(entries[2]->IsFeature());
}

TEST_F(FeatureAccessTest, StringsAndRawRegisters) {
    port.PokeBytes(0x40, "TestCam-1", 10);
    CStringPtr model = Node("DeviceModelName");
    EXPECT_EQ(model->GetValue(), "TestCam-1");
    EXPECT_THROW(model->SetValue("x"), GenICam::AccessException);
    CStringPtr user = Node("DeviceUserID");
    user->SetValue("left");
    EXPECT_EQ(user->GetValue(false, true), "left");
    EXPECT_THROW(user->SetValue("a name far longer than sixteen"), GenICam::OutOfRangeException);

    CRegisterPtr lut = Node("LUTData");
    EXPECT_EQ(lut->GetLength(), 8);
    EXPECT_EQ(lut->GetAddress(), 0x60);
    const uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    lut->Set(bytes, sizeof(bytes));
    uint8_t back[8] = {};
    lut->Get(back, sizeof(back), false, true);
    EXPECT_EQ(std::memcmp(bytes, back, sizeof(bytes)), 0);
    EXPECT_EQ(lut->ToString(), "0x0102030405060708");
    EXPECT_THROW(lut->Get(nullptr, 8), GenICam::InvalidArgumentException);
}

TEST_F(FeatureAccessTest, CategoriesAndSelectors) {
    FeatureList_t features;
    CCategoryPtr(Node("Root"))->GetFeatures(features);
    ASSERT_EQ(features.size(), 4u);
    EXPECT_EQ(features[0]->GetNode()->GetName(), "Width");

    CEnumerationPtr selector = Node("GainSelector");
    EXPECT_TRUE(selector->GetNode()->IsSelector());
    FeatureList_t selected;
    selector->GetNode()->GetSelectedFeatures(selected);
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected[0]->GetNode()->GetName(), "Gain");

    CIntegerPtr gain = Node("Gain");
    gain->SetValue(7);
    *selector = "Red";
    gain->SetValue(9);
    EXPECT_EQ(port.Peek32(0x80), 7u);
    EXPECT_EQ(port.Peek32(0x84), 9u);
    *selector = "All";
    EXPECT_EQ(gain->GetValue(), 7);
}

TEST_F(FeatureAccessTest, PortNodesReadAndWriteThroughTheConnectedPort) {
    CPointer<IPort> device = Node("Device");
    ASSERT_TRUE(device.IsValid());
    const uint32_t value = 0x12345678;
    device->Write(&value, 0x30, sizeof(value));
    EXPECT_EQ(port.Peek32(0x30), value);
    uint32_t back = 0;
    device->Read(&back, 0x30, sizeof(back));
    EXPECT_EQ(back, value);
    EXPECT_FALSE(Node("Device")->IsFeature());
}

TEST(FeatureAccessPorts, EachPortNodeTalksThroughThePortConnectedToIt) {
    CTestPort device;
    CTestPort transport;
    device.Poke32(0x00, 640);
    transport.Poke32(0x00, 7);
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    ASSERT_TRUE(map._Connect(&device, "Device"));
    ASSERT_TRUE(map._Connect(&transport, "TLPort"));
    EXPECT_EQ(CIntegerPtr(map._GetNode("Width"))->GetValue(), 640);
    EXPECT_EQ(CIntegerPtr(map._GetNode("TLStatus"))->GetValue(), 7);
    CIntegerPtr(map._GetNode("Width"))->SetValue(1024);
    EXPECT_EQ(device.Peek32(0x00), 1024u);
    EXPECT_EQ(transport.Peek32(0x00), 7u);
}
