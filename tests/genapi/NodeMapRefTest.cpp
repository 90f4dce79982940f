#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestDescription.h"
#include "TestPort.h"
#include "ZipBuilder.h"

using namespace GenApi;

namespace {

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

TEST(NodeMapRefTest, LoadsPlainXmlAndListsEveryNodeWithItsInterface) {
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    EXPECT_EQ(map._GetDeviceName(), "Device");

    NodeList_t nodes;
    map._GetNodes(nodes);
    EXPECT_EQ(nodes.size(), map->GetNumNodes());
    int ports = 0;
    for (INode* node : nodes) {
        ports += node->GetPrincipalInterfaceType() == intfIPort;
        EXPECT_EQ(map._GetNode(node->GetName()), node) << node->GetName();
    }
    EXPECT_EQ(ports, 2);

    auto type = [&](const char* name) { return map._GetNode(name)->GetPrincipalInterfaceType(); };
    EXPECT_EQ(type("Width"), intfIInteger);
    EXPECT_EQ(type("WidthReg"), intfIInteger);
    EXPECT_EQ(type("BinningField"), intfIInteger);
    EXPECT_EQ(type("WidthTimesTwo"), intfIInteger);
    EXPECT_EQ(type("HalfWidth"), intfIInteger);
    EXPECT_EQ(type("Gamma"), intfIFloat);
    EXPECT_EQ(type("ExposureMs"), intfIFloat);
    EXPECT_EQ(type("FrameRateLimit"), intfIFloat);
    EXPECT_EQ(type("ReverseX"), intfIBoolean);
    EXPECT_EQ(type("AcquisitionStart"), intfICommand);
    EXPECT_EQ(type("PixelFormat"), intfIEnumeration);
    EXPECT_EQ(type("EnumEntry_PixelFormat_Mono8"), intfIEnumEntry);
    EXPECT_EQ(type("DeviceModelName"), intfIString);
    EXPECT_EQ(type("LUTData"), intfIRegister);
    EXPECT_EQ(type("Root"), intfICategory);
    EXPECT_EQ(map._GetNode("NoSuchNode"), nullptr);
    EXPECT_EQ(map._GetNode("Width")->GetName(true), "Device::Width");
}

TEST(NodeMapRefTest, SecondLoadOnTheSameHolderIsRefused) {
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    EXPECT_EQ(
        DescriptionOf<GenICam::RuntimeException>([&] { map._LoadXMLFromString(kTestDescription); }),
        "Node map already created");
    const std::string zip = [] {
        CZipBuilder builder;
        builder.Add("cam.xml", kTestDescription);
        return builder.Build();
    }();
    EXPECT_THROW(map._LoadXMLFromZIPData(zip.data(), zip.size()), GenICam::RuntimeException);
    EXPECT_NE(map._GetNode("Width"), nullptr);
}

TEST(NodeMapRefTest, BrokenDescriptionsRaiseWithTheParserReason) {
    CNodeMapRef map;
    const std::string truncated = std::string(kTestDescription).substr(0, 400);
    const std::string reason =
        DescriptionOf<GenICam::GenericException>([&] { map._LoadXMLFromString(truncated); });
    EXPECT_NE(reason.find("Cannot create node map"), std::string::npos) << reason;
    EXPECT_NE(reason.find("line"), std::string::npos) << reason;

    EXPECT_THROW(map._LoadXMLFromString(""), GenICam::GenericException);
    EXPECT_THROW(map._LoadXMLFromString("<Other/>"), GenICam::GenericException);
    // Failed loads leave the holder empty and reusable.
    EXPECT_EQ(map._Ptr(), nullptr);
    EXPECT_THROW(map._GetNode("Width"), GenICam::AccessException);
    map._LoadXMLFromString(kTestDescription);
    EXPECT_NE(map._GetNode("Width"), nullptr);
}

TEST(NodeMapRefTest, ZipDataWithOneXmlAmongOtherEntriesLoads) {
    CZipBuilder builder;
    builder.Add("docs/", "");
    builder.Add("docs/readme.txt", "not a description");
    builder.Add("docs/Camera.XML", kTestDescription);
    const std::string zip = builder.Build();

    CNodeMapRef map;
    map._LoadXMLFromZIPData(zip.data(), zip.size());
    EXPECT_NE(CIntegerPtr(map._GetNode("Width")), nullptr);
}

// Archives made on macOS carry a resource-fork folder and AppleDouble files
// whose names end in ".xml" as well.
TEST(NodeMapRefTest, ZipDataFromMacOsLoadsItsOneRealDescription) {
    const std::string appleDouble("\x00\x05\x16\x07\x00\x02\x00\x00Mac OS X", 16);
    const std::vector<std::vector<std::string>> layouts = {
        {"cam.xml", "__MACOSX/._cam.xml"},
        {"._cam.xml", "cam.xml"},
        {"desc/", "desc/cam.xml", "desc/._cam.xml", "__MACOSX/desc/._cam.xml", "__MACOSX/"},
    };
    for (const auto& layout : layouts) {
        CZipBuilder builder;
        for (const std::string& name : layout) {
            const bool real = name.find("._") == std::string::npos && name.back() != '/';
            builder.Add(name, real ? kTestDescription : name.back() == '/' ? "" : appleDouble);
        }
        const std::string zip = builder.Build();
        CNodeMapRef map;
        map._LoadXMLFromZIPData(zip.data(), zip.size());
        EXPECT_NE(CIntegerPtr(map._GetNode("Width")), nullptr) << layout.back();
    }
}

TEST(NodeMapRefTest, ZipDataWithoutExactlyOneRealXmlIsAParseErrorNamingThem) {
    CZipBuilder none;
    none.Add("readme.txt", "hello");
    none.Add("__MACOSX/._cam.xml", "fork");
    CZipBuilder two;
    two.Add("a.xml", kTestDescription);
    two.Add("sub/b.XML", kTestDescription);
    two.Add("__MACOSX/._a.xml", "fork");
    const std::string garbage(300, '\x5a');
    const std::pair<std::string, std::string> cases[] = {
        {none.Build(), "the ZIP data holds no XML file"},
        {two.Build(), "the ZIP data holds 2 XML files, not one: 'a.xml', 'sub/b.XML'"},
        {garbage, "the ZIP data cannot be read"},
    };
    for (const auto& [data, reason] : cases) {
        CNodeMapRef map;
        const std::string error = DescriptionOf<GenICam::RuntimeException>(
            [&] { map._LoadXMLFromZIPData(data.data(), data.size()); });
        EXPECT_NE(error.find(reason), std::string::npos) << error;
        EXPECT_EQ(map._Ptr(), nullptr);
    }
    CNodeMapRef map;
    EXPECT_THROW(map._LoadXMLFromZIPData(nullptr, 0), GenICam::GenericException);
}

TEST(NodeMapRefTest, CopiesShareTheMapAndDestroyReleasesOnlyTheHolder) {
    CTestPort port;
    port.Poke32(0x00, 640);
    CNodeMapRef first;
    first._LoadXMLFromString(kTestDescription);
    CNodeMapRef second(first);
    EXPECT_EQ(first._Ptr(), second._Ptr());
    first._Destroy();
    EXPECT_EQ(first._Ptr(), nullptr);
    ASSERT_TRUE(second._Connect(&port, "Device"));
    EXPECT_EQ(CIntegerPtr(second._GetNode("Width"))->GetValue(), 640);
}

TEST(NodeMapRefTest, ConnectsByPortNodeNameOnly) {
    CTestPort port;
    CNodeMapRef map;
    map._LoadXMLFromString(kTestDescription);
    EXPECT_TRUE(map._Connect(&port, "Device"));
    EXPECT_TRUE(map._Connect(&port, "TLPort"));
    EXPECT_TRUE(map._Connect(&port));
    EXPECT_FALSE(map._Connect(&port, "Width"));
    EXPECT_FALSE(map._Connect(&port, "Missing"));
    EXPECT_FALSE(map._Connect(nullptr, "Device"));
}
