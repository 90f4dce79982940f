// Descriptions that would make the engine recurse without end or allocate
// what a device claims: refused or bounded, each with an exception that says
// which nodes and which value.
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "TestPort.h"
#include "ZipBuilder.h"

using namespace GenApi;

namespace {

std::string Description(const std::string& body) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Hostile" VendorName="Lumo" StandardNameSpace="None"
  SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
  MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Port Name="Device"/>
)" + body + "</RegisterDescription>\n";
}

std::string LoadError(const std::string& xml) {
    CNodeMapRef map;
    try {
        map._LoadXMLFromString(xml.c_str());
    } catch (const GenICam::RuntimeException& e) {
        return e.GetDescription();
    }
    return "";
}

struct CycleCase {
    const char* what;
    const char* body;
    std::vector<const char*> cycle;  // empty: the description is legitimate
};

const CycleCase kCycles[] = {
    {"float through a formula",
     R"(<Float Name="Gain"><pValue>GainFormula</pValue></Float>
        <SwissKnife Name="GainFormula"><pVariable Name="G">Gain</pVariable>
          <Formula>G*2</Formula></SwissKnife>)",
     {"Gain", "GainFormula"}},
    {"link written with a character reference",
     R"(<Float Name="Gain"><pValue>GainFormul&#97;</pValue></Float>
        <SwissKnife Name="GainFormula"><pVariable Name="G">Gain</pVariable>
          <Formula>G*2</Formula></SwissKnife>)",
     {"Gain", "GainFormula"}},
    {"struct entry addressed by itself",
     R"(<StructReg Comment="S"><Address>0</Address><pAddress>Bit0</pAddress><Length>4</Length>
          <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess>
          <StructEntry Name="Bit0"><Bit>0</Bit></StructEntry>
          <StructEntry Name="Bit1"><Bit>1</Bit></StructEntry></StructReg>)",
     {"Bit0"}},
    {"maximum from its own value",
     R"(<Integer Name="Width"><Value>8</Value><pMax>Width</pMax></Integer>)",
     {}},
    {"register address through an index",
     R"(<IntReg Name="Reg"><Address>0</Address><pIndex Offset="4">Sel</pIndex><Length>4</Length>
          <AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>
          <Endianess>LittleEndian</Endianess></IntReg>
        <IntSwissKnife Name="Sel"><pVariable Name="R">Reg</pVariable><Formula>R</Formula>
          </IntSwissKnife>)",
     {"Reg", "Sel"}},
    {"availability through its own value",
     R"(<Integer Name="A"><Value>1</Value><pIsAvailable>B</pIsAvailable></Integer>
        <Integer Name="B"><pValue>A</pValue></Integer>)",
     {}},
    {"entry available by its enumeration's value",
     R"(<Enumeration Name="Mode"><EnumEntry Name="On"><Value>1</Value>
          <pIsAvailable>Mode</pIsAvailable></EnumEntry><Value>1</Value></Enumeration>)",
     {}},
    {"maximum through another's value, as width and offset do",
     R"(<Integer Name="W"><Value>8</Value><pMax>WMax</pMax></Integer>
        <IntSwissKnife Name="WMax"><pVariable Name="X">X</pVariable><Formula>16-X</Formula>
          </IntSwissKnife>
        <Integer Name="X"><Value>0</Value><pMax>XMax</pMax></Integer>
        <IntSwissKnife Name="XMax"><pVariable Name="W">W</pVariable><Formula>16-W</Formula>
          </IntSwissKnife>)",
     {}},
    {"selector loop is legitimate",
     R"(<Integer Name="Sel"><Value>0</Value><pSelected>Val</pSelected></Integer>
        <Integer Name="Val"><Value>3</Value><pSelected>Sel</pSelected></Integer>)",
     {}},
    {"invalidator loop is legitimate",
     R"(<IntReg Name="X"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
          <pPort>Device</pPort><pInvalidator>Y</pInvalidator><Sign>Unsigned</Sign>
          <Endianess>LittleEndian</Endianess></IntReg>
        <IntReg Name="Y"><Address>4</Address><Length>4</Length><AccessMode>RW</AccessMode>
          <pPort>Device</pPort><pInvalidator>X</pInvalidator><Sign>Unsigned</Sign>
          <Endianess>LittleEndian</Endianess></IntReg>)",
     {}},
};

TEST(HostileDescriptionTest, DependencyCyclesAreRefusedAtLoadNamingTheirNodes) {
    for (const CycleCase& test : kCycles) {
        SCOPED_TRACE(test.what);
        const std::string error = LoadError(Description(test.body));
        if (test.cycle.empty()) {
            EXPECT_EQ(error, "");
            continue;
        }
        EXPECT_NE(error.find("cycle"), std::string::npos) << error;
        for (const char* node : test.cycle) {
            EXPECT_NE(error.find(node), std::string::npos) << error;
        }
    }
}

// Lengths read from the device: a block, a string and an integer register
// whose length is the content of LengthReg.
const char* const kComputedLengths = R"(
  <IntReg Name="LengthReg"><Address>0x0</Address><Length>8</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Register Name="Block"><Address>0x100</Address><pLength>LengthReg</pLength>
    <AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
  <StringReg Name="Label"><Address>0x100</Address><pLength>LengthReg</pLength>
    <AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
  <IntReg Name="Counter"><Address>0x100</Address><pLength>LengthReg</pLength>
    <AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>
    <Endianess>LittleEndian</Endianess></IntReg>
)";

TEST(HostileDescriptionTest, LengthsFromRegistersAreBoundedNamingNodeAndValue) {
    const std::string xml = Description(kComputedLengths);
    struct {
        uint64_t length;
        const char* text;
    } const lengths[] = {{~uint64_t{0}, "18446744073709551615"},
                         {uint64_t{1} << 32, "4294967296"},
                         {64 * 1024 + 1, "65537"}};
    for (const auto& length : lengths) {
        SCOPED_TRACE(length.text);
        CTestPort port(0x800);
        std::vector<uint8_t> ones(0x800, 0xFF);
        port.PokeBytes(0, ones.data(), ones.size());
        port.PokeBytes(0, &length.length, sizeof(length.length));
        CNodeMapRef map;
        map._LoadXMLFromString(xml.c_str());
        map._Connect(&port, "Device");
        CRegisterPtr block = map._GetNode("Block");
        CStringPtr label = map._GetNode("Label");
        CIntegerPtr counter = map._GetNode("Counter");
        uint8_t buffer[16];
        const auto expectBounded = [&](const char* node, auto&& call) {
            try {
                call();
                ADD_FAILURE() << node << " was read";
            } catch (const GenICam::OutOfRangeException& e) {
                const std::string what = e.GetDescription();
                EXPECT_NE(what.find(node), std::string::npos) << what;
                EXPECT_NE(what.find(length.text), std::string::npos) << what;
            }
        };
        expectBounded("Block", [&] { block->GetLength(); });
        expectBounded("Block", [&] { block->ToString(); });
        expectBounded("Block", [&] { block->Get(buffer, sizeof(buffer)); });
        expectBounded("Label", [&] { label->GetValue(); });
        expectBounded("Label", [&] { label->GetMaxLength(); });
        expectBounded("Counter", [&] { counter->GetValue(); });
    }
}

TEST(HostileDescriptionTest, LengthsWithinTheBoundAreRead) {
    CTestPort port(0x800);
    std::vector<uint8_t> ones(0x800, 0xFF);
    port.PokeBytes(0, ones.data(), ones.size());
    const uint64_t length = 4;
    port.PokeBytes(0, &length, sizeof(length));
    CNodeMapRef map;
    map._LoadXMLFromString(Description(kComputedLengths).c_str());
    map._Connect(&port, "Device");
    CRegisterPtr block = map._GetNode("Block");
    EXPECT_EQ(block->GetLength(), 4);
    EXPECT_EQ(block->ToString(), "0xffffffff");
    CIntegerPtr counter = map._GetNode("Counter");
    EXPECT_EQ(counter->GetValue(), 0xFFFFFFFF);
    // Not hex: refused as a value, not as a crash of the parser.
    EXPECT_THROW(block->FromString("0xzz00ff00"), GenICam::InvalidArgumentException);
}

// The engine's ZIP reader follows offsets and sizes as the archive states
// them: each record that points outside the data is refused first.
TEST(HostileDescriptionTest, ZipRecordsOutsideTheDataAreRefused) {
    CZipBuilder builder;
    builder.Add("cam.xml", Description(""));
    const std::string good = builder.Build();
    const size_t endRecord = good.size() - 22;
    const size_t central = good.find(std::string("PK\x01\x02", 4));
    ASSERT_NE(central, std::string::npos);
    struct {
        const char* what;
        size_t at;
    } const fields[] = {
        {"directory offset", endRecord + 16}, {"directory size", endRecord + 12},
        {"entry count", endRecord + 10},      {"packed size", central + 20},
        {"unpacked size", central + 24},      {"local header offset", central + 42}};
    for (const auto& field : fields) {
        SCOPED_TRACE(field.what);
        std::string bad = good;
        std::memset(&bad[field.at], 0x7F, field.at == endRecord + 10 ? 2 : 4);
        CNodeMapRef map;
        EXPECT_THROW(map._LoadXMLFromZIPData(bad.data(), bad.size()), GenICam::RuntimeException);
    }
    CNodeMapRef map;
    EXPECT_NO_THROW(map._LoadXMLFromZIPData(good.data(), good.size()));
}

// A port node without a name inside a feature: the feature still answers.
TEST(HostileDescriptionTest, UnnamedPortInsideAFeatureIsHarmless) {
    CNodeMapRef map;
    map._LoadXMLFromString(
        Description(R"(<Integer Name="Width"><Value>641</Value><Port Comment="x"/></Integer>)")
            .c_str());
    CTestPort port;
    map._Connect(&port, "Device");
    CIntegerPtr width = map._GetNode("Width");
    EXPECT_EQ(width->GetAccessMode(), RW);
    EXPECT_EQ(width->GetValue(), 641);
}

}  // namespace
