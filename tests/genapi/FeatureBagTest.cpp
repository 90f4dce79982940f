// Storing the streamable features of a map and loading them back: selector
// walks, order-dependent ranges, locks and the report of what failed.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "SettingsMap.h"

using namespace GenApi;

namespace {

class FeatureBagTest : public SettingsMapTest {
protected:
    INodeMap* Map() { return map._Ptr(); }
    void Set(const char* name, const char* value) {
        dynamic_cast<IValue*>(Node(name))->FromString(value);
    }
    std::string Get(const char* name) {
        return dynamic_cast<IValue*>(Node(name))->ToString().str();
    }
    void SetGains(int all, int red, int blue) {
        const int values[] = {all, red, blue};
        for (int i = 0; i < 3; ++i) {
            port.Poke32(0x20 + 4 * i, static_cast<uint32_t>(values[i]));
        }
        map._InvalidateNodes();
    }

    // A state that differs from the start state in every streamable feature.
    void Configure() {
        Set("Width", "600");
        Set("OffsetX", "400");
        Set("PixelFormat", "Mono16");
        Set("ReverseX", "1");
        Set("ExposureTime", "1234.5");
        SetGains(3, 17, 42);
        Set("GainSelector", "Red");
        Set("BlackLevel", "9");
    }
};

TEST_F(FeatureBagTest, StoresStreamableFeaturesWithSelectorWalks) {
    Configure();
    CFeatureBag bag;
    bag.StoreFromNodeMap(Map());
    std::string lines;
    for (const auto& [name, value] : bag.Entries()) {
        lines += name.str() + "=" + value.str() + " ";
    }
    // BlackLevel is not streamable, DeviceTemperature is read-only; the
    // selector ends on the value it had.
    EXPECT_EQ(lines,
              "OffsetX=400 Width=600 PixelFormat=Mono16 ReverseX=true GainSelector=All Gain=3 "
              "GainSelector=Red Gain=17 GainSelector=Blue Gain=42 GainSelector=Red "
              "ExposureTime=1234.5 ");
    EXPECT_EQ(Get("GainSelector"), "Red");
}

// OffsetX comes first in the file but fits only once Width shrank; the
// per-selector gains land on their own selector values.
TEST_F(FeatureBagTest, RoundTripRestoresEveryValueInDependencyOrder) {
    Configure();
    const gcstring text = StoreToString(Map());
    Set("GainSelector", "All");
    Set("OffsetX", "0");
    Set("Width", "1024");
    Set("PixelFormat", "Mono8");
    Set("ReverseX", "0");
    Set("ExposureTime", "10");
    SetGains(0, 0, 0);
    StringList_t errors;
    EXPECT_TRUE(LoadFromString(Map(), text, &errors));
    EXPECT_TRUE(errors.empty()) << (errors.empty() ? "" : errors.front().str());
    EXPECT_EQ(Get("Width"), "600");
    EXPECT_EQ(Get("OffsetX"), "400");
    EXPECT_EQ(Get("PixelFormat"), "Mono16");
    EXPECT_EQ(Get("ReverseX"), "true");
    EXPECT_DOUBLE_EQ(CFloatPtr(Node("ExposureTime"))->GetValue(), 1234.5);
    EXPECT_EQ(Get("GainSelector"), "Red");
    EXPECT_EQ(port.Peek32(0x20), 3u);
    EXPECT_EQ(port.Peek32(0x24), 17u);
    EXPECT_EQ(port.Peek32(0x28), 42u);
    EXPECT_EQ(StoreToString(Map()), text);
}

TEST_F(FeatureBagTest, UnreadableValuesAreLeftOutAndNamed) {
    port.Poke32(0x08, 0);  // PixelFormat register matches no entry
    CFeatureBag bag;
    StringList_t errors;
    bag.StoreFromNodeMap(Map(), 100, &errors);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_NE(errors[0].str().find("'PixelFormat' not stored"), std::string::npos) << errors[0];
    for (const auto& entry : bag.Entries()) {
        EXPECT_NE(entry.first, "PixelFormat");
    }
}

TEST_F(FeatureBagTest, ReportsWhatCouldNotBeSet) {
    const gcstring text =
        "# comment\n"
        "Width\t512\n"
        "NoSuchFeature\t1\n"
        "Gain\t99\n"
        "PixelFormat\tRGB8\n"
        "DeviceTemperature\t20\n"
        "ReverseX\t1\n";
    StringList_t errors;
    EXPECT_FALSE(LoadFromString(Map(), text, &errors));
    ASSERT_EQ(errors.size(), 4u);
    EXPECT_NE(errors[0].str().find("'NoSuchFeature' = '1': no such feature"), std::string::npos);
    EXPECT_NE(errors[1].str().find("'Gain' = '99'"), std::string::npos) << errors[1];
    EXPECT_NE(errors[2].str().find("'PixelFormat' = 'RGB8'"), std::string::npos) << errors[2];
    EXPECT_NE(errors[3].str().find("'DeviceTemperature' = '20': not writable"), std::string::npos);
    // The lines that could be set were set.
    EXPECT_EQ(Get("Width"), "512");
    EXPECT_EQ(Get("ReverseX"), "true");
}

TEST_F(FeatureBagTest, LockedFeaturesAreReportedNotForced) {
    const gcstring text = StoreToString(Map());
    Set("Width", "256");
    Node("TLParamsLocked");
    CIntegerPtr(Node("TLParamsLocked"))->SetValue(1);
    StringList_t errors;
    EXPECT_FALSE(LoadFromString(Map(), text, &errors));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_NE(errors[0].str().find("'Width' = '1024': not writable"), std::string::npos)
        << errors[0];
    EXPECT_EQ(Get("Width"), "256");
}

TEST_F(FeatureBagTest, MalformedTextIsRejectedNamingTheLine) {
    CFeatureBag bag;
    for (const char* text : {"Width 640\n", "\tvalue\n", "Width\t640\nbroken\n"}) {
        EXPECT_THROW(bag.FromString(text), GenICam::InvalidArgumentException) << text;
    }
    try {
        bag.FromString("Width\t640\nbroken\n");
    } catch (const GenICam::InvalidArgumentException& e) {
        EXPECT_NE(std::string(e.GetDescription()).find("line 2"), std::string::npos);
    }
    EXPECT_THROW(bag.StoreFromNodeMap(nullptr), GenICam::InvalidArgumentException);
}

TEST_F(FeatureBagTest, ValuesWithSeparatorsSurviveTheText) {
    CFeatureBag bag;
    bag.FromString("A\tone\\ttwo\\nthree\\\\\n");
    ASSERT_EQ(bag.Entries().size(), 1u);
    EXPECT_EQ(bag.Entries()[0].second, "one\ttwo\nthree\\");
    CFeatureBag again;
    again.FromString(bag.ToString());
    EXPECT_EQ(again.Entries(), bag.Entries());
}

TEST_F(FeatureBagTest, FilesRoundTripAndMissingFilesRaise) {
    Configure();
    char path[] = "/tmp/lumo-featurebag-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    StoreToFile(Map(), path);
    Set("OffsetX", "0");
    Set("Width", "1024");
    EXPECT_TRUE(LoadFromFile(Map(), path));
    EXPECT_EQ(Get("OffsetX"), "400");
    std::remove(path);
    EXPECT_THROW(LoadFromFile(Map(), path), GenICam::RuntimeException);
    EXPECT_THROW(StoreToFile(Map(), "/nonexistent-dir/x.txt"), GenICam::RuntimeException);
}

}  // namespace

namespace {

// Every value a description stores can be written back as stored, and a second
// map over the same registers stores the same text.
TEST(FeatureBagCorpusTest, EveryCorpusFileRoundTrips) {
    for (const char* file : {"Registers.xml", "Formulas.xml", "Features.xml", "Iidc.xml"}) {
        CTestPort port(0x20000, 0x20000);
        CNodeMapRef first;
        CNodeMapRef second;
        for (CNodeMapRef* map : {&first, &second}) {
            map->_LoadXMLFromString(lumo_test::ReadDescriptionFile(file).c_str());
            NodeList_t nodes;
            map->_GetNodes(nodes);
            for (INode* node : nodes) {
                if (node->GetPrincipalInterfaceType() == intfIPort) {
                    map->_Connect(&port, node->GetName());
                }
            }
        }
        CFeatureBag bag;
        StringList_t errors;
        bag.StoreFromNodeMap(first._Ptr(), 100, &errors);
        const gcstring text = bag.ToString();
        EXPECT_TRUE(LoadFromString(second._Ptr(), text, &errors))
            << file << ": " << (errors.empty() ? "" : errors.front().str());
        EXPECT_EQ(StoreToString(second._Ptr()), text) << file;
    }
}

}  // namespace
