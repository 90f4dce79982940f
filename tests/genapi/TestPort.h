#pragma once

#include <GenApi/GenApi.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <vector>

// In-memory register space. Addresses at or above failFrom throw as a real
// transport failure would.
class CTestPort : public GenApi::CPortImpl {
public:
    explicit CTestPort(size_t size = 0x800, int64_t failFrom = 0x800)
        : m_memory(size, 0), m_failFrom(failFrom) {}

    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }

    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        ++reads;
        std::lock_guard<std::mutex> guard(m_mutex);
        Check(Address, Length, "Read address failed", 48);
        std::memcpy(pBuffer, m_memory.data() + Address, static_cast<size_t>(Length));
    }

    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        ++writes;
        std::lock_guard<std::mutex> guard(m_mutex);
        Check(Address, Length, "Write address failed", 62);
        std::memcpy(m_memory.data() + Address, pBuffer, static_cast<size_t>(Length));
    }

    void Poke32(int64_t address, uint32_t value) {
        std::lock_guard<std::mutex> guard(m_mutex);
        std::memcpy(m_memory.data() + address, &value, sizeof(value));
    }
    uint32_t Peek32(int64_t address) {
        std::lock_guard<std::mutex> guard(m_mutex);
        uint32_t value = 0;
        std::memcpy(&value, m_memory.data() + address, sizeof(value));
        return value;
    }
    void PokeBytes(int64_t address, const void* bytes, size_t length) {
        std::lock_guard<std::mutex> guard(m_mutex);
        std::memcpy(m_memory.data() + address, bytes, length);
    }

    std::atomic<int> reads{0};
    std::atomic<int> writes{0};

private:
    void Check(int64_t address, int64_t length, const char* text, unsigned line) const {
        if (address < 0 || length < 0 || address + length > m_failFrom ||
            address + length > static_cast<int64_t>(m_memory.size())) {
            throw GenICam::GenericException(text, "CtiPort", line);
        }
    }

    std::mutex m_mutex;
    std::vector<uint8_t> m_memory;
    int64_t m_failFrom;
};
