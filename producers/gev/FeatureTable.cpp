#include "FeatureTable.h"

#include <GenTL/GenTL.h>

#include <cstdio>
#include <cstring>

#include "GentlError.h"

namespace LumoGev {
namespace {

std::string Hex(uint64_t v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "0x%llX", static_cast<unsigned long long>(v));
    return buf;
}

}  // namespace

CFeatureTable::Feature& CFeatureTable::Add(const std::string& name, Kind kind, size_t length) {
    Feature f{name, kind, next_, length, {}, {}, {}, {}};
    next_ += (length + 7) & ~size_t{7};
    return features_[f.address] = std::move(f);
}

void CFeatureTable::Integer(const std::string& name, GetInt get, SetInt set, size_t length) {
    auto& f = Add(name, Kind::Integer, length);
    f.get = std::move(get);
    f.set = std::move(set);
}

void CFeatureTable::Boolean(const std::string& name, GetInt get, SetInt set) {
    auto& f = Add(name, Kind::Boolean, 4);
    f.get = std::move(get);
    f.set = std::move(set);
}

void CFeatureTable::Enumeration(const std::string& name, Entries entries, GetInt get, SetInt set) {
    auto& f = Add(name, Kind::Enumeration, 4);
    f.entries = std::move(entries);
    f.get = std::move(get);
    f.set = std::move(set);
}

void CFeatureTable::Command(const std::string& name, std::function<void()> execute) {
    auto& f = Add(name, Kind::Command, 4);
    f.get = [] { return int64_t{0}; };  // always done: commands complete before the write returns
    f.set = [execute = std::move(execute)](int64_t v) {
        if (v == 1)
            execute();
    };
}

void CFeatureTable::String(const std::string& name, GetText get, size_t length) {
    auto& f = Add(name, Kind::String, length);
    f.text = std::move(get);
}

std::vector<uint8_t> CFeatureTable::Contents(const Feature& f) const {
    std::vector<uint8_t> bytes(f.length, 0);
    if (f.kind == Kind::String) {
        const std::string s = f.text();
        std::memcpy(bytes.data(), s.data(), std::min(s.size(), f.length - 1));
    } else {
        const uint64_t v = static_cast<uint64_t>(f.get());
        for (size_t i = 0; i < f.length && i < 8; ++i)
            bytes[i] = static_cast<uint8_t>(v >> (8 * i));
    }
    return bytes;
}

const CFeatureTable::Feature* CFeatureTable::Find(uint64_t address, size_t size) const {
    auto it = features_.upper_bound(address);
    if (it == features_.begin())
        return nullptr;
    --it;
    const Feature& f = it->second;
    return address + size <= f.address + f.length ? &f : nullptr;
}

void CFeatureTable::Read(uint64_t address, uint8_t* dst, size_t size) const {
    if (address >= xmlAddress_ && address + size <= xmlAddress_ + xml_.size()) {
        std::memcpy(dst, xml_.data() + (address - xmlAddress_), size);
        return;
    }
    const Feature* f = Find(address, size);
    if (f == nullptr)
        Fail(GenTL::GC_ERR_INVALID_ADDRESS,
             "no register covers " + Hex(address) + " + " + std::to_string(size) + " bytes");
    const auto bytes = Contents(*f);
    std::memcpy(dst, bytes.data() + (address - f->address), size);
}

void CFeatureTable::Write(uint64_t address, const uint8_t* src, size_t size) {
    const Feature* f = Find(address, size);
    if (f == nullptr) {
        const bool inFile = address >= xmlAddress_ && address < xmlAddress_ + xml_.size();
        Fail(inFile ? GenTL::GC_ERR_ACCESS_DENIED : GenTL::GC_ERR_INVALID_ADDRESS,
             inFile
                 ? "the description file is read-only"
                 : "no register covers " + Hex(address) + " + " + std::to_string(size) + " bytes");
    }
    if (!f->set)
        Fail(GenTL::GC_ERR_ACCESS_DENIED, f->name + " is read-only");
    // A partial write keeps the other bytes of the register.
    auto bytes = Contents(*f);
    std::memcpy(bytes.data() + (address - f->address), src, size);
    uint64_t v = 0;
    for (size_t i = 0; i < f->length && i < 8; ++i)
        v |= uint64_t{bytes[i]} << (8 * i);
    if (f->kind == Kind::Enumeration) {
        bool known = false;
        for (const auto& e : f->entries)
            known = known || e.second == static_cast<int64_t>(v);
        if (!known)
            Fail(GenTL::GC_ERR_INVALID_VALUE, f->name + " has no entry " + std::to_string(v));
    }
    f->set(f->length == 4 ? static_cast<int64_t>(static_cast<int32_t>(v))
                          : static_cast<int64_t>(v));
}

std::string CFeatureTable::RegisterXml(const Feature& f, const std::string& regName) const {
    const bool text = f.kind == Kind::String;
    std::string x =
        std::string("  <") + (text ? "StringReg" : "IntReg") + " Name=\"" + regName + "\">\n";
    if (regName != f.name)
        x += "    <Visibility>Invisible</Visibility>\n";
    x += "    <Address>" + Hex(f.address) + "</Address>\n    <Length>" + std::to_string(f.length) +
         "</Length>\n    <AccessMode>" + (f.set ? "RW" : "RO") + "</AccessMode>\n    <pPort>" +
         portName_ + "</pPort>\n    <Cachable>NoCache</Cachable>\n";
    if (!text)
        x += "    <Sign>Signed</Sign>\n    <Endianess>LittleEndian</Endianess>\n";
    return x + (text ? "  </StringReg>\n" : "  </IntReg>\n");
}

void CFeatureTable::Finish(const std::string& fileName, const std::string& modelName) {
    std::string body, root = "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (const auto& [address, f] : features_) {
        root += "    <pFeature>" + f.name + "</pFeature>\n";
        const std::string reg = f.name + "Reg";
        switch (f.kind) {
            case Kind::Integer:
            case Kind::String:
                body += RegisterXml(f, f.name);
                break;
            case Kind::Boolean:
                body += "  <Boolean Name=\"" + f.name + "\">\n    <pValue>" + reg +
                        "</pValue>\n    <OnValue>1</OnValue>\n    <OffValue>0</OffValue>\n"
                        "  </Boolean>\n" +
                        RegisterXml(f, reg);
                break;
            case Kind::Enumeration:
                body += "  <Enumeration Name=\"" + f.name + "\">\n";
                for (const auto& [entry, value] : f.entries) {
                    body += "    <EnumEntry Name=\"" + entry + "\">\n      <Value>" +
                            std::to_string(value) + "</Value>\n    </EnumEntry>\n";
                }
                body +=
                    "    <pValue>" + reg + "</pValue>\n  </Enumeration>\n" + RegisterXml(f, reg);
                break;
            case Kind::Command:
                body += "  <Command Name=\"" + f.name + "\">\n    <pValue>" + reg +
                        "</pValue>\n    <CommandValue>1</CommandValue>\n  </Command>\n" +
                        RegisterXml(f, reg);
                break;
        }
    }
    root += "  </Category>\n";
    xml_ =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription ModelName=\"" +
        modelName +
        "\" VendorName=\"Lumo\" ToolTip=\"GigE Vision producer module\" "
        "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
        "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
        "ProductGuid=\"5B0E7C1D-2A44-4E61-9F0B-6A1C3D2E4F50\" "
        "VersionGuid=\"C3D91F2E-7B15-4A88-A0C6-1E2F3A4B5C6D\" "
        "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
        "xsi:schemaLocation=\"http://www.genicam.org/GenApi/Version_1_1 "
        "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd\">\n" +
        root + body + "  <Port Name=\"" + portName_ + "\"/>\n</RegisterDescription>\n";
    xmlAddress_ = (next_ + 0xFFFF) & ~uint64_t{0xFFFF};
    url_ =
        "Local:" + fileName + ";" + Hex(xmlAddress_).substr(2) + ";" + Hex(xml_.size()).substr(2);
}

}  // namespace LumoGev
