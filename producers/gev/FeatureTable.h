#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace LumoGev {

// A producer module's own register map and the description file generated from it. Every
// feature is one little-endian register whose value is computed on each read (nothing is
// cached, so GenApi sees live counters); writes go to a setter that may reject the value.
class CFeatureTable {
public:
    using GetInt = std::function<int64_t()>;
    using SetInt = std::function<void(int64_t)>;
    using GetText = std::function<std::string()>;
    using Entries = std::vector<std::pair<std::string, int64_t>>;

    explicit CFeatureTable(std::string portName) : portName_(std::move(portName)) {}

    // A null setter makes the feature read-only. Registers are 4 bytes unless stated otherwise.
    void Integer(const std::string& name, GetInt get, SetInt set = {}, size_t length = 8);
    void Boolean(const std::string& name, GetInt get, SetInt set = {});
    void Enumeration(const std::string& name, Entries entries, GetInt get, SetInt set = {});
    void Command(const std::string& name, std::function<void()> execute);
    void String(const std::string& name, GetText get, size_t length = 128);
    // Places the next feature at a fixed address (registers other programs know by address).
    void At(uint64_t address) { next_ = address; }

    // Builds the description file and places it after the last register.
    void Finish(const std::string& fileName, const std::string& modelName);
    const std::string& Url() const { return url_; }

    // Both throw CGentlError: INVALID_ADDRESS outside a register or the file, ACCESS_DENIED for
    // a write to a read-only register or the file, and whatever a setter rejects.
    void Read(uint64_t address, uint8_t* dst, size_t size) const;
    void Write(uint64_t address, const uint8_t* src, size_t size);

private:
    enum class Kind { Integer, Boolean, Enumeration, Command, String };
    struct Feature {
        std::string name;
        Kind kind;
        uint64_t address;
        size_t length;
        GetInt get;
        SetInt set;
        GetText text;
        Entries entries;
    };
    Feature& Add(const std::string& name, Kind kind, size_t length);
    std::vector<uint8_t> Contents(const Feature& f) const;
    const Feature* Find(uint64_t address, size_t size) const;
    std::string RegisterXml(const Feature& f, const std::string& regName) const;

    std::string portName_;
    uint64_t next_ = 0x1000;
    std::map<uint64_t, Feature> features_;
    std::string xml_, url_;
    uint64_t xmlAddress_ = 0;
};

}  // namespace LumoGev
