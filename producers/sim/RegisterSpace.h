#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace LumoSim {

// A module's virtual register map: byte-addressed, little-endian registers with optional hooks.
// Accesses may cover parts of a register or several adjacent registers, never a gap.
class CRegisterSpace {
public:
    // Called with the register's new contents before they are stored; a non-zero GenTL code
    // rejects the write and leaves the register unchanged.
    using WriteHook = std::function<int32_t(std::vector<uint8_t>& bytes)>;
    // Refreshes the register's contents before a read.
    using ReadHook = std::function<void(std::vector<uint8_t>& bytes)>;

    void Add(uint64_t address, std::vector<uint8_t> init, bool readable, bool writable,
             WriteHook onWrite = {}, ReadHook onRead = {});
    void AddInt(uint64_t address, size_t length, uint64_t value, bool writable,
                WriteHook onWrite = {}, ReadHook onRead = {});
    void AddString(uint64_t address, size_t length, const std::string& value, bool writable);

    int32_t Read(uint64_t address, uint8_t* dst, size_t length);
    int32_t Write(uint64_t address, const uint8_t* src, size_t length);

    // Direct access for the producer itself: no hooks, no access checks.
    uint64_t Get(uint64_t address) const;
    void Set(uint64_t address, uint64_t value);

    static uint64_t ToInt(const std::vector<uint8_t>& bytes);
    static void FromInt(std::vector<uint8_t>& bytes, uint64_t value);

private:
    struct Reg {
        std::vector<uint8_t> bytes;
        bool readable = true;
        bool writable = false;
        WriteHook onWrite;
        ReadHook onRead;
    };
    // Registers overlapping [address, address + length) in order; empty if a byte is uncovered.
    std::vector<std::pair<uint64_t, Reg*>> Cover(uint64_t address, size_t length);

    std::map<uint64_t, Reg> regs_;
};

}  // namespace LumoSim
