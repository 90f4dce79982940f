#include "CtiPort.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "GenApi/GenApi.h"
#include "ScenarioRun.h"
#include "Cti.h"

using namespace VEXOGENICAM;
using lumo_test::InScenarioChild;
using lumo_test::LibraryScenario;
using lumo_test::RunInChild;
using lumo_test::SimCti;

namespace {

// A producer whose system description is configured by `systemXml`.
std::string SystemXml(const std::string& systemXml) {
    return R"({"systemXml": )" + systemXml + "}";
}

// Each case: a producer file name and its system description settings.
struct DescriptionCase {
    const char* file;
    const char* systemXml;
};

const DescriptionCase kCases[] = {
    {"plain.cti", R"({"zipped": false, "padding": "none"})"},
    {"zipped.cti", R"({"zipped": true})"},
    // Padding that the declared length includes, so the port reads it with the file.
    {"nulpad.cti", R"({"zipped": false, "padding": "nulInside"})"},
    {"ffpad.cti", R"({"zipped": false, "padding": "ffInside"})"},
    {"readfails.cti", R"({"readFails": true})"},
    {"filescheme.cti", R"({"url": "file:///tmp/system.xml"})"},
    {"httpscheme.cti", R"({"url": "http://example.invalid/system.xml"})"},
    {"onesemicolon.cti", R"({"url": "Local:system.xml;100000"})"},
};

// One producer copy per description case, then the test again in that scenario.
void RunWithDescriptionProducers() {
    LibraryScenario dir;
    dir.AddLibrary();
    for (const auto& c : kCases) {
        dir.AddProducer(SimCti(), SystemXml(c.systemXml), c.file);
    }
    RunInChild(dir);
}

class ProducerFixture {
public:
    explicit ProducerFixture(const std::string& file) : m_cti(file) { m_loaded = m_cti.Load(); }
    bool Loaded() const { return m_loaded; }
    CCtiPort* TL() { return m_cti.GetPortTL(); }
    CCti& Cti() { return m_cti; }

private:
    CCti m_cti;
    bool m_loaded = false;
};

std::string StringFeature(GenApi::INodeMap* map, const char* name) {
    GenApi::CStringPtr node = map->GetNode(name);
    return node ? std::string(node->GetValue().c_str()) : std::string("<missing>");
}

}  // namespace

TEST(CCtiPortTest, LoadsTheSystemDescriptionInEveryStorageForm) {
    if (!InScenarioChild()) {
        return RunWithDescriptionProducers();
    }
    std::string plainContent;
    for (const char* file : {"plain.cti", "zipped.cti", "nulpad.cti", "ffpad.cti"}) {
        SCOPED_TRACE(file);
        ProducerFixture producer(file);
        ASSERT_TRUE(producer.Loaded());
        CCtiPort* port = producer.TL();
        GenApi::INodeMap* map = port->GetNodeMap();
        ASSERT_NE(map, nullptr);
        // Registers are read through this port: the vendor comes from the producer.
        EXPECT_NE(StringFeature(map, "TLVendorName"), "<missing>");
        EXPECT_FALSE(port->GetFileName().empty());
        const std::string content = port->GetFileContent();
        if (std::string(file) == "zipped.cti") {
            EXPECT_EQ(port->GetFileSuffix(), "ZIP");
            EXPECT_EQ(content.substr(0, 2), "PK");
        } else {
            EXPECT_EQ(port->GetFileSuffix(), "XML");
            // Padding is stripped before parsing and not kept.
            ASSERT_FALSE(content.empty());
            EXPECT_EQ(content.find('\0'), std::string::npos);
            EXPECT_EQ(content.find('\xFF'), std::string::npos);
            EXPECT_EQ(content.substr(content.find_last_not_of("\r\n") - 1, 2), "n>");
            if (plainContent.empty()) {
                plainContent = content;
            } else {
                EXPECT_EQ(content, plainContent);
            }
        }
    }
}

TEST(CCtiPortTest, UnsupportedOrBrokenDescriptionsLeaveThePortWithoutNodeMap) {
    if (!InScenarioChild()) {
        return RunWithDescriptionProducers();
    }
    for (const char* file :
         {"readfails.cti", "filescheme.cti", "httpscheme.cti", "onesemicolon.cti"}) {
        SCOPED_TRACE(file);
        ProducerFixture producer(file);
        ASSERT_TRUE(producer.Loaded());  // a missing description does not stop the producer
        CCtiPort* port = producer.TL();
        EXPECT_EQ(port->GetNodeMap(), nullptr);
        EXPECT_EQ(port->GetFileContent(), "");
        EXPECT_EQ(port->GetNodeMap(), nullptr);  // not retried
        if (std::string(file) != "readfails.cti") {
            EXPECT_EQ(port->GetFileName(), "");
            EXPECT_EQ(port->GetFileSuffix(), "");
        } else {
            // The URL was good: name and suffix were taken before the read failed.
            EXPECT_FALSE(port->GetFileName().empty());
            EXPECT_EQ(port->GetFileSuffix(), "XML");
        }
    }
}

TEST(CCtiPortTest, UrlSchemeCaseQueryAndMissingDotAreHandled) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        // First learn where the producer keeps the file, then point URLs at it.
        dir.AddProducer(SimCti(), "", "probe.cti");
        return RunInChild(dir);
    }
    std::string address, length;
    {
        ProducerFixture probe("probe.cti");
        ASSERT_TRUE(probe.Loaded());
        size_t size = 0;
        void* h = probe.TL()->GetPort();
        ASSERT_EQ(probe.Cti().GCGetPortURL(h, nullptr, &size), 0);
        std::string url(size, '\0');
        ASSERT_EQ(probe.Cti().GCGetPortURL(h, url.data(), &size), 0);
        url.resize(std::strlen(url.c_str()));
        const size_t a = url.find(';');
        const size_t b = url.find(';', a + 1);
        ASSERT_NE(b, std::string::npos) << url;
        address = url.substr(a + 1, b - a - 1);
        length = url.substr(b + 1);
    }
    const std::string lower = "local:Sys.Xml;" + address + ";" + length + "?SchemaVersion=1.1.0";
    const std::string noDot = "LOCAL:systemfile;" + address + ";" + length;
    const std::string here = lumo_test::ScenarioPath().string() + "/";
    for (const auto& [name, url] : {std::pair<std::string, std::string>{"lower", lower},
                                    std::pair<std::string, std::string>{"nodot", noDot}}) {
        SCOPED_TRACE(url);
        std::filesystem::copy_file(lumo_test::ScenarioPath() / "probe.cti", here + name + ".cti");
        std::ofstream(here + name + ".json") << SystemXml(R"({"url": ")" + url + R"("})");
        ProducerFixture producer(name + ".cti");
        ASSERT_TRUE(producer.Loaded());
        CCtiPort* port = producer.TL();
        ASSERT_NE(port->GetNodeMap(), nullptr);
        if (name == "lower") {
            EXPECT_EQ(port->GetFileName(), "Sys");
            EXPECT_EQ(port->GetFileSuffix(), "XML");
        } else {
            EXPECT_EQ(port->GetFileName(), "");
            EXPECT_EQ(port->GetFileSuffix(), "");
        }
    }
}

TEST(CCtiPortTest, RefusedRegisterAccessRaisesTheLibraryException) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), R"({"faults": {"registers": [
            {"module": "system", "address": 256, "access": "both", "error": -1005}]}})");
        return RunInChild(dir);
    }
    ProducerFixture producer("LumoSim.cti");
    ASSERT_TRUE(producer.Loaded());
    CCtiPort* port = producer.TL();
    char buffer[4] = {};
    try {
        port->Read(buffer, 256, sizeof buffer);
        FAIL() << "read did not throw";
    } catch (const GenICam::GenericException& e) {
        EXPECT_STREQ(e.GetDescription(), "Read address failed");
        EXPECT_STREQ(e.GetSourceFileName(), "CtiPort");
        EXPECT_EQ(e.GetSourceLine(), 48u);
    }
    try {
        port->Write(buffer, 256, sizeof buffer);
        FAIL() << "write did not throw";
    } catch (const GenICam::GenericException& e) {
        EXPECT_STREQ(e.GetDescription(), "Write address failed");
        EXPECT_EQ(e.GetSourceLine(), 62u);
    }
    // Through GenApi the caller sees the very exception the port threw.
    GenApi::INodeMap* map = port->GetNodeMap();
    ASSERT_NE(map, nullptr);
    GenApi::CStringPtr vendor = map->GetNode("TLVendorName");
    ASSERT_TRUE(vendor);
    try {
        vendor->GetValue(false, true);
        FAIL() << "feature read did not throw";
    } catch (const GenICam::GenericException& e) {
        EXPECT_STREQ(e.GetDescription(), "Read address failed");
        EXPECT_STREQ(e.GetSourceFileName(), "CtiPort");
    }
}

TEST(CCtiPortTest, PortWithoutProducerOrHandleIgnoresAccess) {
    CCtiPort port(nullptr, nullptr);
    char buffer[4] = {1, 2, 3, 4};
    EXPECT_NO_THROW(port.Read(buffer, 0, sizeof buffer));
    EXPECT_NO_THROW(port.Write(buffer, 0, sizeof buffer));
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(buffer[3], 4);
    EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
    EXPECT_EQ(port.GetNodeMap(), nullptr);
    EXPECT_EQ(port.GetFileSuffix(), "");
    // Deleting through either base works.
    VEXOGENICAM::IXml* xml = new CCtiPort(nullptr, nullptr);
    delete static_cast<CCtiPort*>(xml);
    GenApi::CPortImpl* impl = new CCtiPort(nullptr, nullptr);
    delete impl;
}
