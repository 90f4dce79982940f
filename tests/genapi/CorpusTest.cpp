// The corpus under descriptions/ loaded through the layer: every named node
// with its interface, values and writes through an in-memory port, the error
// text of bad values, and what happens to node kinds the engine lacks.
#include <GenApi/GenApi.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "LargeDescription.h"
#include "TestPort.h"
#include "ZipBuilder.h"

using namespace GenApi;
using lumo_test::ReadDescriptionFile;

namespace {

const std::map<std::string, EInterfaceType> kInterfaceOfTag = {{"Category", intfICategory},
                                                               {"Integer", intfIInteger},
                                                               {"IntReg", intfIInteger},
                                                               {"MaskedIntReg", intfIInteger},
                                                               {"StructEntry", intfIInteger},
                                                               {"IntSwissKnife", intfIInteger},
                                                               {"IntConverter", intfIInteger},
                                                               {"Float", intfIFloat},
                                                               {"FloatReg", intfIFloat},
                                                               {"SwissKnife", intfIFloat},
                                                               {"Converter", intfIFloat},
                                                               {"String", intfIString},
                                                               {"StringReg", intfIString},
                                                               {"Register", intfIRegister},
                                                               {"Boolean", intfIBoolean},
                                                               {"Command", intfICommand},
                                                               {"Enumeration", intfIEnumeration},
                                                               {"EnumEntry", intfIEnumEntry},
                                                               {"Port", intfIPort}};

// IEEE 1394 node kinds the engine does not build.
const std::set<std::string> kUnsupportedTags = {"ConfRom",        "TextDesc",     "IntKey",
                                                "AdvFeatureLock", "SmartFeature", "DcamLock"};

const char* const kCorpusFiles[] = {"Registers.xml", "Formulas.xml", "Features.xml", "Iidc.xml"};

struct NamedNode {
    std::string name;
    std::string tag;
};

std::string Attribute(xmlNodePtr element, const char* name) {
    xmlChar* value = xmlGetProp(element, reinterpret_cast<const xmlChar*>(name));
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

void CollectNamed(xmlNodePtr parent, std::vector<NamedNode>& out) {
    for (xmlNodePtr child = parent->children; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) {
            continue;
        }
        const std::string tag = reinterpret_cast<const char*>(child->name);
        const std::string name = Attribute(child, "Name");
        if (!name.empty() && tag == "EnumEntry") {
            out.push_back({"EnumEntry_" + Attribute(parent, "Name") + "_" + name, tag});
        } else if (!name.empty() && (kInterfaceOfTag.count(tag) || kUnsupportedTags.count(tag))) {
            out.push_back({name, tag});
        }
        CollectNamed(child, out);
    }
}

// What the description names, read with a parser of its own.
std::vector<NamedNode> NamedNodesOf(const std::string& xml) {
    xmlDocPtr doc =
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, XML_PARSE_NONET);
    std::vector<NamedNode> out;
    if (doc) {
        CollectNamed(xmlDocGetRootElement(doc), out);
        xmlFreeDoc(doc);
    }
    return out;
}

// Collects the layer's own log lines for the lifetime of the object.
class LogCapture {
public:
    LogCapture()
        : m_id(g_log_set_handler("LumoGenApi", G_LOG_LEVEL_MASK, &LogCapture::Keep, &m_lines)) {}
    ~LogCapture() { g_log_remove_handler("LumoGenApi", m_id); }
    std::string Text() const {
        std::string all;
        for (const auto& line : m_lines) {
            all += line + "\n";
        }
        return all;
    }

private:
    static void Keep(const gchar*, GLogLevelFlags, const gchar* message, gpointer lines) {
        static_cast<std::vector<std::string>*>(lines)->push_back(message);
    }
    std::vector<std::string> m_lines;
    guint m_id;
};

// Register contents the value and write tables start from.
const std::map<std::string, std::map<int64_t, std::string>> kMemory = {
    {"Registers.xml",
     {{0x00, "FE"},
      {0x02, "FF38"},
      {0x04, "78563412"},
      {0x08, "FBFFFFFFFFFFFFFF"},
      {0x10, "00000100"},
      {0x14, "08F00000"},
      {0x18, "0000002A"},
      {0x20, "0000C03F"},
      {0x28, "C002000000000000"},
      {0x30, "4C756D6F43616D00"},
      {0x40, "0102030405060708"},
      {0x50, "0B80FF03"},
      {0x54, "8A000001"},
      {0x64, "07000000"},
      {0x68, "09000000"},
      {0x80, "4142"}}},
    {"Formulas.xml", {{0x00, "AC020000"}, {0x04, "01000000"}}},
    {"Features.xml",
     {{0x00, "01000000"},
      {0x08, "0000C842"},
      {0x0C, "01000000"},
      {0x14, "01000000"},
      {0x20, "10000000"},
      {0x24, "28000000"}}},
    {"Iidc.xml", {{0x800, "00000080"}, {0x500, "80000000"}}},
};

// A map over one corpus file, connected to a memory port filled as the table says.
class LoadedMap {
public:
    explicit LoadedMap(const std::string& file) : port(0x20000, 0x20000) {
        const auto memory = kMemory.find(file);
        if (memory != kMemory.end()) {
            for (const auto& [address, hex] : memory->second) {
                port.PokeBytes(address, Bytes(hex).data(), hex.size() / 2);
            }
        }
        map._LoadXMLFromString(ReadDescriptionFile(file).c_str());
        NodeList_t nodes;
        map._GetNodes(nodes);
        for (INode* node : nodes) {
            if (node->GetPrincipalInterfaceType() == intfIPort) {
                map._Connect(&port, node->GetName());
            }
        }
    }
    static std::vector<uint8_t> Bytes(const std::string& hex) {
        std::vector<uint8_t> bytes;
        for (size_t i = 0; i + 1 < hex.size(); i += 2) {
            bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
        }
        return bytes;
    }
    std::string Hex(int64_t address, size_t length) {
        std::vector<uint8_t> bytes(length);
        port.Read(bytes.data(), address, static_cast<int64_t>(length));
        std::string hex;
        char digits[3];
        for (uint8_t byte : bytes) {
            std::snprintf(digits, sizeof digits, "%02X", byte);
            hex += digits;
        }
        return hex;
    }
    CValuePtr Value(const char* name) { return map._GetNode(name); }

    CTestPort port;
    CNodeMapRef map;
};

template <class F>
std::string ErrorOf(F&& call) {
    try {
        call();
    } catch (const GenICam::GenericException& e) {
        return e.GetDescription();
    }
    return "no exception";
}

}  // namespace

TEST(CorpusTest, EveryNamedNodeIsANodeOfItsInterface) {
    std::vector<std::pair<std::string, std::string>> texts;
    for (const char* file : kCorpusFiles) {
        texts.emplace_back(file, ReadDescriptionFile(file));
    }
    texts.emplace_back("large", lumo_test::LargeDescription());
    for (const auto& [label, text] : texts) {
        SCOPED_TRACE(label);
        CNodeMapRef map;
        map._LoadXMLFromString(text.c_str());
        std::set<std::string> expected;
        for (const NamedNode& named : NamedNodesOf(text)) {
            INode* node = map._GetNode(named.name.c_str());
            if (kUnsupportedTags.count(named.tag)) {
                EXPECT_EQ(node, nullptr) << named.name;
                continue;
            }
            expected.insert(named.name);
            ASSERT_NE(node, nullptr) << named.tag << " " << named.name;
            EXPECT_EQ(node->GetPrincipalInterfaceType(), kInterfaceOfTag.at(named.tag))
                << named.tag << " " << named.name;
            EXPECT_EQ(node->GetName(), named.name.c_str());
        }
        NodeList_t nodes;
        map._GetNodes(nodes);
        EXPECT_EQ(nodes.size(), expected.size());
        EXPECT_EQ(map->GetNumNodes(), expected.size());
    }
}

// Each corpus file zipped the way macOS archives it, in a folder.
TEST(CorpusTest, ZippedFormsWithMacOsExtrasLoadTheSameNodes) {
    for (const char* file : kCorpusFiles) {
        SCOPED_TRACE(file);
        const std::string text = ReadDescriptionFile(file);
        CZipBuilder builder;
        builder.Add("corpus/", "");
        builder.Add("corpus/" + std::string(file), text);
        builder.Add("__MACOSX/corpus/._" + std::string(file), "AppleDouble fork");
        const std::string zip = builder.Build();
        CNodeMapRef zipped;
        zipped._LoadXMLFromZIPData(zip.data(), zip.size());
        CNodeMapRef plain;
        plain._LoadXMLFromString(text.c_str());
        NodeList_t nodes;
        plain._GetNodes(nodes);
        EXPECT_EQ(zipped->GetNumNodes(), nodes.size());
        for (INode* node : nodes) {
            EXPECT_NE(zipped._GetNode(node->GetName()), nullptr) << node->GetName();
        }
    }
}

TEST(CorpusTest, LargeDescriptionIsAtLeastOneMegabyte) {
    EXPECT_GE(lumo_test::LargeDescription().size(), size_t{1} << 20);
}

struct ValueCase {
    const char* file;
    const char* node;
    EAccessMode access;
    const char* value;  // ToString()
};

const ValueCase kValues[] = {
    {"Registers.xml", "U8", RO, "254"},
    {"Registers.xml", "S16BE", RW, "-200"},
    {"Registers.xml", "U32LE", RW, "305419896"},
    {"Registers.xml", "S64LE", RW, "-5"},
    {"Registers.xml", "U32BE", RW, "256"},
    {"Registers.xml", "BitField", RW, "1"},
    {"Registers.xml", "SignedField", RW, "-16"},
    {"Registers.xml", "BigEndianField", RW, "42"},
    {"Registers.xml", "F32LE", RW, "1.5"},
    {"Registers.xml", "F64BE", RW, "-2.25"},
    {"Registers.xml", "Model", RO, "LumoCam"},
    {"Registers.xml", "UserName", RW, "AB"},
    {"Registers.xml", "Blob", RW, "0x0102030405060708"},
    {"Registers.xml", "Enable", RW, "1"},
    {"Registers.xml", "Mode", RW, "5"},
    {"Registers.xml", "Trim", RW, "-128"},
    {"Registers.xml", "Busy", RO, "1"},
    {"Registers.xml", "Extra", NA, "1"},
    {"Registers.xml", "Guarded", RO, "1"},
    {"Registers.xml", "Sequence", RW, "3"},
    {"Registers.xml", "HighByte", RW, "138"},
    {"Registers.xml", "LowBit", RW, "1"},
    {"Registers.xml", "BlockBase", RO, "100"},
    {"Registers.xml", "InlineBase", RO, "104"},
    {"Registers.xml", "AtComputedAddress", RW, "7"},
    {"Registers.xml", "AtInlineAddress", RW, "9"},
    {"Registers.xml", "GroupedInteger", RW, "9"},
    {"Registers.xml", "GroupedFloat", RW, "2.5"},
    {"Formulas.xml", "Add", RO, "10"},
    {"Formulas.xml", "Subtract", RO, "4"},
    {"Formulas.xml", "Multiply", RO, "21"},
    {"Formulas.xml", "Divide", RO, "2.33333"},
    {"Formulas.xml", "Remainder", RO, "1"},
    {"Formulas.xml", "Power", RO, "2187"},
    {"Formulas.xml", "BitAnd", RO, "3"},
    {"Formulas.xml", "BitOr", RO, "7"},
    {"Formulas.xml", "BitXor", RO, "4"},
    {"Formulas.xml", "BitNot", RO, "-8"},
    {"Formulas.xml", "ShiftLeft", RO, "56"},
    {"Formulas.xml", "ShiftRight", RO, "3"},
    {"Formulas.xml", "Equal", RO, "1"},
    {"Formulas.xml", "NotEqual", RO, "1"},
    {"Formulas.xml", "Less", RO, "1"},
    {"Formulas.xml", "Greater", RO, "0"},
    {"Formulas.xml", "LessEqual", RO, "1"},
    {"Formulas.xml", "GreaterEqual", RO, "0"},
    {"Formulas.xml", "LogicalAnd", RO, "0"},
    {"Formulas.xml", "LogicalOr", RO, "1"},
    {"Formulas.xml", "Conditional", RO, "0.5"},
    {"Formulas.xml", "Parentheses", RO, "20"},
    {"Formulas.xml", "Negation", RO, "-6"},
    {"Formulas.xml", "Sin", RO, "1"},
    {"Formulas.xml", "Cos", RO, "1"},
    {"Formulas.xml", "Tan", RO, "1"},
    {"Formulas.xml", "Asin", RO, "1.5708"},
    {"Formulas.xml", "Acos", RO, "0"},
    {"Formulas.xml", "Atan", RO, "0.785398"},
    {"Formulas.xml", "Abs", RO, "2.7"},
    {"Formulas.xml", "Exp", RO, "2.71828"},
    {"Formulas.xml", "Ln", RO, "1"},
    {"Formulas.xml", "Lg", RO, "3"},
    {"Formulas.xml", "Sqrt", RO, "4"},
    {"Formulas.xml", "Trunc", RO, "-2"},
    {"Formulas.xml", "Floor", RO, "-3"},
    {"Formulas.xml", "Ceil", RO, "-2"},
    {"Formulas.xml", "Round", RO, "3"},
    {"Formulas.xml", "RoundTo", RO, "2.57"},
    {"Formulas.xml", "Sgn", RO, "-1"},
    {"Formulas.xml", "Neg", RO, "-0.5"},
    {"Formulas.xml", "HexLiteral", RO, "31"},
    {"Formulas.xml", "Exponent", RO, "1500"},
    {"Formulas.xml", "IntAdd", RO, "10"},
    {"Formulas.xml", "IntDivide", RO, "2"},
    {"Formulas.xml", "IntShift", RO, "128"},
    {"Formulas.xml", "IntConditional", RO, "2"},
    {"Formulas.xml", "IntSgn", RO, "-1"},
    {"Formulas.xml", "IntNeg", RO, "-7"},
    {"Formulas.xml", "WithConstantAndExpression", RO, "24"},
    {"Formulas.xml", "IntWithConstant", RO, "97"},
    {"Formulas.xml", "Temperature", RW, "28.4"},
    {"Formulas.xml", "Binning", RW, "2"},
    {"Features.xml", "TriggerMode", RW, "On"},
    {"Features.xml", "TriggerEnabled", RO, "1"},
    {"Features.xml", "TriggerDelay", RW, "100"},
    {"Features.xml", "TriggerInvert", RW, "true"},
    {"Features.xml", "GainSelector", RW, "DigitalAll"},
    {"Features.xml", "Gain", RW, "40"},
    {"Features.xml", "ReadOnlyConstant", RO, "12"},
    {"Features.xml", "DeviceFamily", RW, "Lumo test family"},
    {"Iidc.xml", "Brightness", RW, "128"},
    {"Iidc.xml", "BrightnessPresent", RO, "1"},
};

TEST(CorpusTest, ValuesAndAccessModesThroughAMemoryPort) {
    std::map<std::string, std::unique_ptr<LoadedMap>> maps;
    for (const ValueCase& c : kValues) {
        SCOPED_TRACE(std::string(c.file) + " " + c.node);
        auto& loaded = maps[c.file];
        if (!loaded) {
            loaded = std::make_unique<LoadedMap>(c.file);
        }
        CValuePtr value = loaded->Value(c.node);
        ASSERT_TRUE(value.IsValid());
        EXPECT_EQ(value->GetNode()->GetAccessMode(), c.access);
        EXPECT_EQ(value->ToString(), c.value);
    }
}

// Access modes of nodes without a value to show.
TEST(CorpusTest, AccessModesOfCommandsEntriesAndPorts) {
    LoadedMap features("Features.xml");
    const std::pair<const char*, EAccessMode> cases[] = {
        {"TriggerSoftware", WO},
        {"EnumEntry_TriggerMode_On", RO},
        {"EnumEntry_TriggerMode_Software", NA},
        {"EnumEntry_TriggerMode_Hardware", NI},
        {"NotImplementedHere", NI},
        {"ChunkPort", RO},
        {"Trigger", RO},
    };
    for (const auto& [name, access] : cases) {
        EXPECT_EQ(features.map._GetNode(name)->GetAccessMode(), access) << name;
    }
}

// Entry names join the enumeration's name and the entry's with underscores,
// which the names themselves may contain too.
TEST(CorpusTest, EntriesAreFoundBeforeTheirEnumerationIsAskedFor) {
    const std::string text = ReadDescriptionFile("Features.xml");
    const std::pair<const char*, int64_t> cases[] = {
        {"EnumEntry_Line_Source_Timer_Out", 5},
        {"EnumEntry_Line_Source_Line_1", 0},
        {"EnumEntry_Line_Sink", 1},
        {"EnumEntry_TriggerMode_Hardware", 3},
    };
    for (const auto& [name, value] : cases) {
        CNodeMapRef map;  // nothing asked for yet
        map._LoadXMLFromString(text.c_str());
        CEnumEntryPtr entry = map._GetNode(name);
        ASSERT_TRUE(entry.IsValid()) << name;
        EXPECT_EQ(entry->GetValue(), value) << name;
        EXPECT_EQ(entry->GetNode()->GetName(), name);
    }
    CNodeMapRef map;
    map._LoadXMLFromString(text.c_str());
    for (const char* missing : {"EnumEntry_Line_Source_Line_2", "EnumEntry_Line", "EnumEntry_",
                                "EnumEntry_Nothing_Here", "EnumEntry_Gain_0"}) {
        EXPECT_EQ(map._GetNode(missing), nullptr) << missing;
    }
}

void CollectLeaves(ICategory* category, const std::string& path, std::set<std::string>& out) {
    FeatureList_t features;
    category->GetFeatures(features);
    for (IValue* feature : features) {
        const std::string name = feature->GetNode()->GetName().c_str();
        if (auto* sub = dynamic_cast<ICategory*>(feature)) {
            CollectLeaves(sub, path + name + "/", out);
        } else {
            out.insert(path + name);
        }
    }
}

TEST(CorpusTest, CategoriesNestSeveralLevelsDeep) {
    CNodeMapRef map;
    map._LoadXMLFromString(ReadDescriptionFile("Features.xml").c_str());
    std::set<std::string> leaves;
    CollectLeaves(CCategoryPtr(map._GetNode("Root")).operator->(), "", leaves);
    const std::set<std::string> expected = {
        "Acquisition/TriggerMode",
        "Acquisition/Trigger/TriggerSoftware",
        "Acquisition/Trigger/TriggerAdvanced/TriggerDelay",
        "Acquisition/Trigger/TriggerAdvanced/TriggerInvert",
        "Analog/GainSelector",
        "Analog/Gain",
    };
    EXPECT_EQ(leaves, expected);
}

struct WriteCase {
    const char* file;
    const char* node;
    const char* input;  // FromString()
    int64_t address;
    const char* bytes;  // the register afterwards
};

const WriteCase kWrites[] = {
    {"Registers.xml", "S16BE", "-2", 0x02, "FFFE"},
    {"Registers.xml", "U32LE", "0x01020304", 0x04, "04030201"},
    {"Registers.xml", "S64LE", "-2", 0x08, "FEFFFFFFFFFFFFFF"},
    {"Registers.xml", "U32BE", "0x01020304", 0x10, "01020304"},
    {"Registers.xml", "BitField", "0", 0x14, "00F00000"},
    {"Registers.xml", "SignedField", "-3", 0x14, "08FD0000"},
    {"Registers.xml", "BigEndianField", "0x55", 0x18, "00000055"},
    {"Registers.xml", "F32LE", "-1", 0x20, "000080BF"},
    {"Registers.xml", "F64BE", "0.5", 0x28, "3FE0000000000000"},
    {"Registers.xml", "UserName", "Hi", 0x80, "486900"},
    {"Registers.xml", "Mode", "6", 0x50, "0D80FF03"},
    {"Registers.xml", "Trim", "5", 0x50, "0B05FF03"},
    {"Registers.xml", "Sequence", "0x7F", 0x50, "0B80FF7F"},
    {"Registers.xml", "HighByte", "0x12", 0x54, "12000001"},
    {"Registers.xml", "LowBit", "0", 0x54, "8A000000"},
    {"Registers.xml", "AtComputedAddress", "0x0A0B", 0x64, "0B0A0000"},
    {"Registers.xml", "AtInlineAddress", "1", 0x68, "01000000"},
    {"Formulas.xml", "Temperature", "25.5", 0x00, "8F020000"},
    {"Formulas.xml", "Binning", "4", 0x04, "03000000"},
    {"Features.xml", "TriggerMode", "Off", 0x00, "00000000"},
    {"Features.xml", "TriggerDelay", "12.5", 0x08, "00004841"},
    {"Features.xml", "TriggerInvert", "false", 0x0C, "00000000"},
    {"Features.xml", "GainSelector", "Tap2", 0x14, "02000000"},
    {"Features.xml", "Gain", "8", 0x24, "08000000"},
    {"Iidc.xml", "Brightness", "0x0102", 0x800, "00000102"},
};

TEST(CorpusTest, WritesReachTheRightRegisterBytes) {
    for (const WriteCase& c : kWrites) {
        SCOPED_TRACE(std::string(c.file) + " " + c.node);
        LoadedMap loaded(c.file);
        CValuePtr value = loaded.Value(c.node);
        ASSERT_TRUE(value.IsValid());
        value->FromString(c.input);
        EXPECT_EQ(loaded.Hex(c.address, std::strlen(c.bytes) / 2), c.bytes);
    }
}

struct BadValueCase {
    const char* file;
    const char* node;
    const char* input;
    const char* message;
};

const BadValueCase kBadValues[] = {
    {"Features.xml", "Gain", "484", "Feature 'Gain': value 484 must be <= maximum 480"},
    {"Features.xml", "Gain", "-4", "Feature 'Gain': value -4 must be >= minimum 0"},
    {"Features.xml", "Gain", "6",
     "Feature 'Gain': value 6 must be minimum 0 plus a multiple of increment 4"},
    {"Features.xml", "Gain", "6dB",
     "Feature 'Gain' : cannot convert value '6dB', the value is invalid"},
    {"Features.xml", "TriggerDelay", "1000.5",
     "Feature 'TriggerDelay': value 1000.5 must be within [0, 1000]"},
    {"Features.xml", "TriggerMode", "Sometimes",
     "Feature 'TriggerMode' : cannot convert value 'Sometimes', the value is invalid"},
    {"Features.xml", "TriggerMode", "Software",
     "Feature 'TriggerMode': value 2 is not an available entry"},
    {"Features.xml", "ReadOnlyConstant", "13", "Node 'ReadOnlyConstant' is not writable"},
    {"Registers.xml", "U8", "1", "Node 'U8' is not writable"},
    {"Registers.xml", "Busy", "0", "Node 'Busy' is not writable"},
    {"Registers.xml", "Guarded", "0", "Node 'Guarded' is not writable"},
    {"Registers.xml", "Extra", "0", "Node 'Extra' is not writable"},
};

TEST(CorpusTest, BadValuesAreRefusedNamingFeatureAndValue) {
    for (const BadValueCase& c : kBadValues) {
        SCOPED_TRACE(std::string(c.file) + " " + c.node + " " + c.input);
        LoadedMap loaded(c.file);
        const std::string before = loaded.Hex(0, 0x100);
        const std::string error = ErrorOf([&] { loaded.Value(c.node)->FromString(c.input); });
        EXPECT_NE(error.find(c.message), std::string::npos) << error;
        EXPECT_EQ(loaded.Hex(0, 0x100), before);
    }
}

// Each caching mode against a register changed behind the map's back.
TEST(CorpusTest, CachingModesPollingAndInvalidators) {
    struct CacheCase {
        const char* node;
        int64_t address;
        bool writeFirst;   // write 1 through the node before the change
        const char* seen;  // what a read shows after the register became 0x63
    };
    const CacheCase cases[] = {
        {"CachedWriteThrough", 0x70, false, "0"},
        {"CachedWriteThrough", 0x70, true, "1"},
        {"CachedWriteAround", 0x74, true, "99"},
        {"Uncached", 0x78, false, "99"},
        {"Polled", 0x7C, false, "0"},
        {"Enable", 0x50, false, "1"},  // its struct register is not cached
    };
    for (const CacheCase& c : cases) {
        SCOPED_TRACE(c.node);
        LoadedMap loaded("Registers.xml");
        CValuePtr value = loaded.Value(c.node);
        if (c.writeFirst) {
            value->FromString("1");
        } else {
            value->ToString();
        }
        loaded.port.Poke32(c.address, 0x63);
        EXPECT_EQ(value->ToString(), c.seen);
    }
    // Writing a node invalidates the cached value of the nodes it names.
    LoadedMap loaded("Registers.xml");
    CIntegerPtr derived = loaded.map._GetNode("Derived");
    EXPECT_EQ(derived->GetValue(), 0);
    loaded.port.Poke32(0x90, 7);
    EXPECT_EQ(derived->GetValue(), 0);
    CIntegerPtr(loaded.map._GetNode("U32LE"))->SetValue(1);
    EXPECT_EQ(derived->GetValue(), 7);
}

TEST(CorpusTest, SelectorPicksTheRegisterOfTheSelectedValue) {
    LoadedMap loaded("Features.xml");
    CEnumerationPtr selector = loaded.map._GetNode("GainSelector");
    CIntegerPtr gain = loaded.map._GetNode("Gain");
    FeatureList_t selected;
    selector->GetNode()->GetSelectedFeatures(selected);
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected[0]->GetNode()->GetName(), "Gain");
    const std::pair<const char*, int64_t> cases[] = {
        {"AnalogAll", 16}, {"Tap2", 0}, {"DigitalAll", 40}};
    for (const auto& [entry, expected] : cases) {
        selector->FromString(entry);
        EXPECT_EQ(gain->GetValue(), expected) << entry;
    }
    // Availability follows the nodes it names.
    EXPECT_EQ(CIntegerPtr(loaded.map._GetNode("TriggerEnabled"))->GetValue(), 1);
    CCommandPtr(loaded.map._GetNode("TriggerSoftware"))->Execute();
    EXPECT_EQ(loaded.Hex(0x04, 4), "01000000");
    CEnumerationPtr(loaded.map._GetNode("TriggerMode"))->FromString("Off");
    EXPECT_EQ(loaded.map._GetNode("TriggerSoftware")->GetAccessMode(), NA);
    CIntegerPtr(loaded.map._GetNode("SoftwareAllowed"))->SetValue(1);
    EXPECT_EQ(loaded.map._GetNode("EnumEntry_TriggerMode_Software")->GetAccessMode(), RO);
    loaded.port.Poke32(0x10, 1);  // acquisition running locks the delay
    EXPECT_EQ(loaded.map._GetNode("TriggerDelay")->GetAccessMode(), RO);
}

TEST(CorpusTest, UnsupportedNodeKindsAreLeftOutAndLogged) {
    LogCapture log;
    LoadedMap loaded("Iidc.xml");
    const std::string text = log.Text();
    for (const char* leftOut :
         {"ConfRom 'CameraRom'", "IntKey 'UnitSpecId'", "IntKey 'UnitSwVersion'",
          "TextDesc 'VendorText'", "AdvFeatureLock 'AdvancedUnlock'",
          "SmartFeature 'VendorFeature'", "DcamLock 'DcamUnlock'"}) {
        EXPECT_NE(text.find(leftOut), std::string::npos) << leftOut << " in " << text;
    }
    EXPECT_NE(text.find("7 node(s) left out"), std::string::npos) << text;
    // A description the engine fully supports logs nothing.
    LogCapture quiet;
    LoadedMap registers("Registers.xml");
    EXPECT_EQ(quiet.Text(), "");
}
