// Chunk data of a buffer read through the chunk features of Features.xml,
// for each buffer layout the adapters parse.
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "LargeDescription.h"
#include "TestPort.h"

using namespace GenApi;

namespace {

constexpr uint32_t kChunkId = 0x4C756D6F;

void PutWord(std::vector<uint8_t>& out, uint32_t value, bool bigEndian) {
    for (int i = 0; i < 4; ++i) {
        const int shift = bigEndian ? 24 - 8 * i : 8 * i;
        out.push_back(static_cast<uint8_t>(value >> shift));
    }
}

// [image][id 0, length][counter][id, length] in the given byte order.
std::vector<uint8_t> TrailerBuffer(uint32_t counter, bool bigEndian, uint32_t id = kChunkId) {
    std::vector<uint8_t> buffer(16, 0xAB);  // image
    PutWord(buffer, 0, bigEndian);
    PutWord(buffer, 16, bigEndian);
    PutWord(buffer, counter, false);  // the register itself is little-endian
    PutWord(buffer, id, bigEndian);
    PutWord(buffer, 4, bigEndian);
    return buffer;
}

class ChunkAdapterTest : public ::testing::Test {
protected:
    void SetUp() override {
        map._LoadXMLFromString(lumo_test::ReadDescriptionFile("Features.xml").c_str());
        ASSERT_TRUE(map._Connect(&port, "Device"));
        // The device port does not take over the chunk port.
        EXPECT_FALSE(map._Connect(&port, "ChunkPort"));
    }
    int64_t Counter() { return CIntegerPtr(map._GetNode("ChunkFrameCounter"))->GetValue(); }

    CTestPort port;
    CNodeMapRef map;
};

TEST_F(ChunkAdapterTest, TrailerLayoutsReadEachBuffersValue) {
    CChunkAdapterGEV gev(map._Ptr());
    CChunkAdapterU3V u3v(map._Ptr());
    for (uint32_t frame : {7u, 8u}) {
        auto big = TrailerBuffer(frame, true);
        ASSERT_TRUE(gev.CheckBufferLayout(big.data(), static_cast<int64_t>(big.size())));
        EXPECT_FALSE(u3v.CheckBufferLayout(big.data(), static_cast<int64_t>(big.size())));
        gev.AttachBuffer(big.data(), static_cast<int64_t>(big.size()));
        EXPECT_EQ(Counter(), frame);
        auto little = TrailerBuffer(frame + 100, false);
        ASSERT_TRUE(u3v.CheckBufferLayout(little.data(), static_cast<int64_t>(little.size())));
        u3v.AttachBuffer(little.data(), static_cast<int64_t>(little.size()));
        EXPECT_EQ(Counter(), frame + 100);
    }
}

TEST_F(ChunkAdapterTest, WithoutTheChunkFeaturesRaiseAccessErrors) {
    EXPECT_THROW(Counter(), GenICam::AccessException);  // nothing attached
    CChunkAdapterGEV gev(map._Ptr());
    auto other = TrailerBuffer(5, true, 0x1234);
    gev.AttachBuffer(other.data(), static_cast<int64_t>(other.size()));
    EXPECT_THROW(Counter(), GenICam::AccessException);  // buffer lacks the chunk
    auto buffer = TrailerBuffer(5, true);
    gev.AttachBuffer(buffer.data(), static_cast<int64_t>(buffer.size()));
    EXPECT_EQ(Counter(), 5);
    gev.DetachBuffer();
    EXPECT_THROW(Counter(), GenICam::AccessException);
}

TEST_F(ChunkAdapterTest, BrokenLayoutsAreRefused) {
    CChunkAdapterGEV gev(map._Ptr());
    auto buffer = TrailerBuffer(5, true);
    std::vector<uint8_t> tooLong = buffer;
    tooLong[tooLong.size() - 1] = 0xFF;  // last chunk claims more than the buffer
    std::vector<uint8_t> tooShort(buffer.begin(), buffer.begin() + 6);
    for (std::vector<uint8_t>* bad : {&tooLong, &tooShort}) {
        EXPECT_FALSE(gev.CheckBufferLayout(bad->data(), static_cast<int64_t>(bad->size())));
        EXPECT_THROW(gev.AttachBuffer(bad->data(), static_cast<int64_t>(bad->size())),
                     GenICam::RuntimeException);
    }
    EXPECT_FALSE(gev.CheckBufferLayout(nullptr, 0));
}

TEST_F(ChunkAdapterTest, GenericChunksAreBoundsChecked) {
    CChunkAdapterGeneric generic(map._Ptr());
    std::vector<uint8_t> buffer(32, 0);
    const uint32_t counter = 42;
    std::memcpy(buffer.data() + 20, &counter, 4);
    SingleChunkData_t chunk{kChunkId, 20, 4};
    generic.AttachBuffer(buffer.data(), 32, &chunk, 1);
    EXPECT_EQ(Counter(), 42);
    // The buffer moved: the same layout at another address.
    std::vector<uint8_t> copy = buffer;
    const uint32_t next = 43;
    std::memcpy(copy.data() + 20, &next, 4);
    generic.UpdateBuffer(copy.data());
    EXPECT_EQ(Counter(), 43);
    for (SingleChunkData_t bad : {SingleChunkData_t{kChunkId, 30, 4},
                                  {kChunkId, -1, 4},
                                  {kChunkId, 0, -4},
                                  {kChunkId, 40, 0}}) {
        EXPECT_THROW(generic.AttachBuffer(buffer.data(), 32, &bad, 1), GenICam::RuntimeException)
            << bad.ChunkOffset << " " << bad.ChunkLength;
    }
    EXPECT_THROW(generic.AttachBuffer(buffer.data(), 32, nullptr, 1),
                 GenICam::InvalidArgumentException);
    // A chunk shorter than its register is an out-of-range read, not garbage.
    SingleChunkData_t shortChunk{kChunkId, 20, 2};
    generic.AttachBuffer(buffer.data(), 32, &shortChunk, 1);
    EXPECT_THROW(Counter(), GenICam::GenericException);
}

}  // namespace
