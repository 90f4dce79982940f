#include "RegisterSpace.h"

#include <GenTL/GenTL.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>

namespace LumoSim {

void CRegisterSpace::Add(uint64_t address, std::vector<uint8_t> init, bool readable, bool writable,
                         WriteHook onWrite, ReadHook onRead) {
    // Two features on one address would silently share (or lose) their value.
    const uint64_t end = address + init.size();
    auto next = regs_.lower_bound(address);
    const bool hitsNext = next != regs_.end() && next->first < end;
    const bool hitsPrevious =
        next != regs_.begin() &&
        std::prev(next)->first + std::prev(next)->second.bytes.size() > address;
    if (hitsNext || hitsPrevious ||
        (init.empty() && next != regs_.end() && next->first == address)) {
        throw std::logic_error("register at " + std::to_string(address) +
                               " overlaps one already defined");
    }
    regs_[address] =
        Reg{std::move(init), readable, writable, std::move(onWrite), std::move(onRead)};
}

void CRegisterSpace::AddInt(uint64_t address, size_t length, uint64_t value, bool writable,
                            WriteHook onWrite, ReadHook onRead) {
    std::vector<uint8_t> bytes(length);
    FromInt(bytes, value);
    Add(address, std::move(bytes), true, writable, std::move(onWrite), std::move(onRead));
}

void CRegisterSpace::AddString(uint64_t address, size_t length, const std::string& value,
                               bool writable) {
    std::vector<uint8_t> bytes(length, 0);
    std::memcpy(bytes.data(), value.data(), std::min(value.size(), length - 1));
    Add(address, std::move(bytes), true, writable);
}

std::vector<std::pair<uint64_t, CRegisterSpace::Reg*>> CRegisterSpace::Cover(uint64_t address,
                                                                             size_t length) {
    std::vector<std::pair<uint64_t, Reg*>> out;
    if (length == 0 || address + length < address) {
        return out;
    }
    uint64_t pos = address;
    const uint64_t end = address + length;
    auto it = regs_.upper_bound(address);
    if (it == regs_.begin()) {
        return {};
    }
    --it;
    while (pos < end) {
        if (it == regs_.end() || it->first > pos || it->first + it->second.bytes.size() <= pos) {
            return {};
        }
        out.emplace_back(it->first, &it->second);
        pos = it->first + it->second.bytes.size();
        ++it;
    }
    return out;
}

int32_t CRegisterSpace::Read(uint64_t address, uint8_t* dst, size_t length) {
    auto regs = Cover(address, length);
    if (regs.empty()) {
        return GenTL::GC_ERR_INVALID_ADDRESS;
    }
    for (auto& [base, reg] : regs) {
        if (!reg->readable) {
            return GenTL::GC_ERR_ACCESS_DENIED;
        }
    }
    for (auto& [base, reg] : regs) {
        if (reg->onRead) {
            reg->onRead(reg->bytes);
        }
        const uint64_t from = std::max(base, address);
        const uint64_t to = std::min<uint64_t>(base + reg->bytes.size(), address + length);
        std::memcpy(dst + (from - address), reg->bytes.data() + (from - base), to - from);
    }
    return GenTL::GC_ERR_SUCCESS;
}

int32_t CRegisterSpace::Write(uint64_t address, const uint8_t* src, size_t length) {
    auto regs = Cover(address, length);
    if (regs.empty()) {
        return GenTL::GC_ERR_INVALID_ADDRESS;
    }
    for (auto& [base, reg] : regs) {
        if (!reg->writable) {
            return GenTL::GC_ERR_ACCESS_DENIED;
        }
    }
    for (auto& [base, reg] : regs) {
        // Partial writes are merged into the current contents, as a device would do it.
        std::vector<uint8_t> next = reg->bytes;
        const uint64_t from = std::max(base, address);
        const uint64_t to = std::min<uint64_t>(base + next.size(), address + length);
        std::memcpy(next.data() + (from - base), src + (from - address), to - from);
        if (reg->onWrite) {
            const int32_t rc = reg->onWrite(next);
            if (rc != GenTL::GC_ERR_SUCCESS) {
                return rc;
            }
        }
        reg->bytes = std::move(next);
    }
    return GenTL::GC_ERR_SUCCESS;
}

uint64_t CRegisterSpace::Get(uint64_t address) const {
    auto it = regs_.find(address);
    return it == regs_.end() ? 0 : ToInt(it->second.bytes);
}

void CRegisterSpace::Set(uint64_t address, uint64_t value) {
    auto it = regs_.find(address);
    if (it != regs_.end()) {
        FromInt(it->second.bytes, value);
    }
}

uint64_t CRegisterSpace::ToInt(const std::vector<uint8_t>& bytes) {
    uint64_t v = 0;
    for (size_t i = std::min<size_t>(bytes.size(), 8); i-- > 0;) {
        v = (v << 8) | bytes[i];
    }
    return v;
}

void CRegisterSpace::FromInt(std::vector<uint8_t>& bytes, uint64_t value) {
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = i < 8 ? static_cast<uint8_t>(value >> (8 * i)) : 0;
    }
}

}  // namespace LumoSim
