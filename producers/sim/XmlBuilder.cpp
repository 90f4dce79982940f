#include "XmlBuilder.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>

#include "FeatureDocs.h"

namespace LumoSim {
namespace {

std::string Hex(uint64_t v) {
    std::ostringstream s;
    s << "0x" << std::hex << std::uppercase << v;
    return s.str();
}

// Settings an application may save and restore are the writable values, but
// not the lock the transport layer holds during acquisition.
std::string Streamable(const std::string& name, bool writable) {
    return writable && name != "TLParamsLocked" ? "  <Streamable>Yes</Streamable>\n" : "";
}

// The texts a viewer shows for a feature or category, in schema order.
std::string Docs(const std::string& name) {
    const FeatureDoc* doc = FindFeatureDoc(name);
    if (doc == nullptr)
        return "";
    std::string xml;
    const std::pair<const char*, const char*> fields[] = {{"ToolTip", doc->toolTip},
                                                          {"Description", doc->description},
                                                          {"DisplayName", doc->displayName}};
    for (const auto& [tag, text] : fields) {
        if (*text != '\0')
            xml += std::string("  <") + tag + ">" + CXmlBuilder::Escape(text) + "</" + tag + ">\n";
    }
    return xml;
}

// Unit and representation of a number, after its range.
std::string Numbers(const std::string& name) {
    const FeatureDoc* doc = FindFeatureDoc(name);
    if (doc == nullptr)
        return "";
    std::string xml;
    if (*doc->unit != '\0')
        xml += std::string("  <Unit>") + doc->unit + "</Unit>\n";
    if (*doc->representation != '\0')
        xml += std::string("  <Representation>") + doc->representation + "</Representation>\n";
    return xml;
}

}  // namespace

CXmlBuilder::CXmlBuilder(CRegisterSpace& regs, std::string portName, std::set<std::string> omitted)
    : regs_(regs), port_(std::move(portName)), omitted_(std::move(omitted)) {}

std::string CXmlBuilder::Escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

void CXmlBuilder::String(const std::string& name, uint64_t addr, size_t len,
                         const std::string& value, bool writable) {
    regs_.AddString(addr, len, value, writable);
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<StringReg Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name) +
             "  <Address>" + Hex(addr) + "</Address>\n  <Length>" + std::to_string(len) +
             "</Length>\n  <AccessMode>" + (writable ? "RW" : "RO") + "</AccessMode>\n  <pPort>" +
             port_ + "</pPort>\n  <Cachable>NoCache</Cachable>\n</StringReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Int(const std::string& name, uint64_t addr, size_t len, int64_t value,
                      bool writable, const IntRange& range, CRegisterSpace::WriteHook hook,
                      CRegisterSpace::ReadHook read, const std::string& lockedBy) {
    regs_.AddInt(addr, len, static_cast<uint64_t>(value), writable, std::move(hook),
                 std::move(read));
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name);
    if (!lockedBy.empty())
        body_ += "  <pIsLocked>" + lockedBy + "</pIsLocked>\n";
    body_ += "  <pValue>" + name + "Reg</pValue>\n";
    body_ += "  <Min>" + std::to_string(range.min) + "</Min>\n";
    body_ += range.pMax.empty() ? "  <Max>" + std::to_string(range.max) + "</Max>\n"
                                : "  <pMax>" + range.pMax + "</pMax>\n";
    body_ += "  <Inc>" + std::to_string(range.inc) + "</Inc>\n" + Numbers(name) +
             Streamable(name, writable) + "</Integer>\n";
    body_ += "<IntReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>" + std::to_string(len) + "</Length>\n  <AccessMode>" +
             (writable ? "RW" : "RO") + "</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>" +
             (range.min < 0 ? "Signed" : "Unsigned") +
             "</Sign>\n  <Endianess>LittleEndian</Endianess>\n</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Enum(const std::string& name, uint64_t addr, const Entries& entries,
                       int64_t value, bool writable, CRegisterSpace::WriteHook hook,
                       const std::string& lockedBy, CRegisterSpace::ReadHook read) {
    regs_.AddInt(addr, 4, static_cast<uint64_t>(value), writable, std::move(hook), std::move(read));
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Enumeration Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name);
    if (!lockedBy.empty())
        body_ += "  <pIsLocked>" + lockedBy + "</pIsLocked>\n";
    for (const auto& [entry, v] : entries) {
        body_ += "  <EnumEntry Name=\"" + entry + "\" NameSpace=\"Standard\">\n    <Value>" +
                 std::to_string(v) + "</Value>\n  </EnumEntry>\n";
    }
    body_ +=
        "  <pValue>" + name + "Reg</pValue>\n" + Streamable(name, writable) + "</Enumeration>\n";
    body_ += "<IntReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>4</Length>\n  <AccessMode>" + (writable ? "RW" : "RO") +
             "</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
             "<Endianess>LittleEndian</Endianess>\n</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Bool(const std::string& name, uint64_t addr, bool value, bool writable,
                       CRegisterSpace::WriteHook hook, CRegisterSpace::ReadHook read) {
    regs_.AddInt(addr, 4, value ? 1 : 0, writable, std::move(hook), std::move(read));
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Boolean Name=\"" + name + "\">\n" + Docs(name) + "  <pValue>" + name +
             "Reg</pValue>\n  <OnValue>1</OnValue>\n  <OffValue>0</OffValue>\n" +
             Streamable(name, writable) + "</Boolean>\n";
    body_ += "<IntReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>4</Length>\n  <AccessMode>" + (writable ? "RW" : "RO") +
             "</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
             "<Endianess>LittleEndian</Endianess>\n</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Command(const std::string& name, uint64_t addr, CRegisterSpace::WriteHook hook) {
    regs_.Add(addr, std::vector<uint8_t>(4, 0), false, true, std::move(hook));
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Command Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name) +
             "  <pValue>" + name + "Reg</pValue>\n  <CommandValue>1</CommandValue>\n</Command>\n";
    body_ += "<IntReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>4</Length>\n  <AccessMode>WO</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
             "<Endianess>LittleEndian</Endianess>\n</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Float(const std::string& name, uint64_t addr, double value, double min,
                        double max, CRegisterSpace::WriteHook hook) {
    std::vector<uint8_t> bytes(8);
    std::memcpy(bytes.data(), &value, 8);
    regs_.Add(addr, std::move(bytes), true, true, std::move(hook));
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Float Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name) + "  <pValue>" +
             name + "Reg</pValue>\n  <Min>" + std::to_string(min) + "</Min>\n  <Max>" +
             std::to_string(max) + "</Max>\n" + Numbers(name) + Streamable(name, true) +
             "</Float>\n";
    body_ += "<FloatReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>8</Length>\n  <AccessMode>RW</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  "
             "<Endianess>LittleEndian</Endianess>\n</FloatReg>\n";
    AddFeature(name);
}

void CXmlBuilder::IndexedString(const std::string& name, uint64_t addr, size_t len,
                                const std::string& selector,
                                const std::vector<std::string>& values) {
    for (size_t i = 0; i < values.size(); ++i) {
        regs_.AddString(addr + i * len, len, values[i], false);
    }
    if (values.empty()) {
        regs_.AddString(addr, len, "", false);
    }
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<StringReg Name=\"" + name + "\" NameSpace=\"Standard\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <pIndex Offset=\"" + std::to_string(len) + "\">" + selector +
             "</pIndex>\n  <Length>" + std::to_string(len) +
             "</Length>\n  <AccessMode>RO</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n</StringReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Selector(const std::string& name, uint64_t addr, int64_t max,
                           const std::vector<std::string>& selected) {
    regs_.AddInt(addr, 4, 0, true, [max](std::vector<uint8_t>& b) {
        const auto v = static_cast<int64_t>(CRegisterSpace::ToInt(b));
        return v <= std::max<int64_t>(max, 0) ? 0 : -1019;
    });
    body_ += "<Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n  <pValue>" + name +
             "Reg</pValue>\n  <Min>0</Min>\n  <Max>" + std::to_string(std::max<int64_t>(max, 0)) +
             "</Max>\n";
    for (const auto& s : selected) {
        if (Has(s))
            body_ += "  <pSelected>" + s + "</pSelected>\n";
    }
    body_ += "</Integer>\n<IntReg Name=\"" + name + "Reg\">\n  <Address>" + Hex(addr) +
             "</Address>\n  <Length>4</Length>\n  <AccessMode>RW</AccessMode>\n  <pPort>" + port_ +
             "</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
             "<Endianess>LittleEndian</Endianess>\n</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::SwissKnife(const std::string& name,
                             const std::vector<std::pair<std::string, std::string>>& vars,
                             const std::string& formula) {
    body_ += "<IntSwissKnife Name=\"" + name + "\">\n";
    for (const auto& [var, node] : vars) {
        body_ += "  <pVariable Name=\"" + var + "\">" + node + "</pVariable>\n";
    }
    body_ += "  <Formula>" + Escape(formula) + "</Formula>\n</IntSwissKnife>\n";
}

void CXmlBuilder::ChunkInt(const std::string& name, uint64_t chunkId) {
    std::ostringstream id;
    id << std::hex << std::uppercase << chunkId;
    if (!Has(name))
        return;  // the register stays, only the description omits it
    body_ += "<Port Name=\"" + name + "Port\">\n  <ChunkID>" + id.str() + "</ChunkID>\n</Port>\n";
    body_ += "<IntReg Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name) +
             "  <Address>0x0</Address>\n  "
             "<Length>8</Length>\n  <AccessMode>RO</AccessMode>\n  <pPort>" +
             name +
             "Port</pPort>\n  <Cachable>NoCache</Cachable>\n  <Sign>Unsigned</Sign>\n  "
             "<Endianess>LittleEndian</Endianess>\n" +
             Numbers(name) + "</IntReg>\n";
    AddFeature(name);
}

void CXmlBuilder::Category(const std::string& name, const std::vector<std::string>& features) {
    // Only what exists is listed, and a category with nothing in it is left out.
    std::vector<std::string> present;
    for (const auto& f : features) {
        const bool added = std::find(features_.begin(), features_.end(), f) != features_.end();
        if (Has(f) && (added || categories_.count(f)))
            present.push_back(f);
    }
    if (present.empty())
        return;
    body_ += "<Category Name=\"" + name + "\" NameSpace=\"Standard\">\n" + Docs(name);
    for (const auto& f : present) {
        body_ += "  <pFeature>" + f + "</pFeature>\n";
        categorised_.insert(f);
    }
    body_ += "</Category>\n";
    categories_.insert(name);
    categoryOrder_.push_back(name);
}

void CXmlBuilder::Raw(const std::string& feature, const std::string& xml) {
    if (!feature.empty() && !Has(feature))
        return;
    body_ += xml;
    if (!feature.empty())
        AddFeature(feature);
}

std::string CXmlBuilder::Finish(const std::string& vendor, const std::string& model) const {
    auto clean = [](std::string s) {
        for (char& c : s) {
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        }
        return s.empty() ? std::string("Lumo") : s;
    };
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription ModelName=\"" +
        clean(model) + "\" VendorName=\"" + clean(vendor) +
        "\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
        "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"7E1B3C2A-5D4F-4A6B-9C8D-0E1F2A3B4C5D\" "
        "VersionGuid=\"3A2B1C0D-4E5F-4678-89AB-CDEF01234567\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
        "xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1 "
        "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n";
    // Root holds the categories no other category holds, then the features no
    // category holds, so that every feature is reachable from it.
    xml += "<Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (const auto& c : categoryOrder_) {
        if (!categorised_.count(c))
            xml += "  <pFeature>" + c + "</pFeature>\n";
    }
    for (const auto& f : features_) {
        if (!categorised_.count(f))
            xml += "  <pFeature>" + f + "</pFeature>\n";
    }
    xml += "</Category>\n" + body_ + "<Port Name=\"" + port_ + "\" NameSpace=\"Standard\"/>\n";
    xml += "</RegisterDescription>\n";
    return xml;
}

}  // namespace LumoSim
