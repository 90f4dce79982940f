// Producer internals that need no camera: GVCP alignment, chunk layout, module registers.
#include <GenTL/GenTL.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <numeric>
#include <vector>

#include "AlignedAccess.h"
#include "ChunkLayout.h"
#include "FeatureTable.h"
#include "GentlError.h"

using namespace LumoGev;

namespace {

// A word-addressed device that records every transfer and refuses unaligned ones.
struct WordDevice {
    std::vector<uint8_t> memory = std::vector<uint8_t>(64);
    std::vector<std::pair<uint64_t, size_t>> reads, writes;

    WordTransfer Reader() {
        return [this](uint64_t a, uint8_t* d, size_t n) {
            if (a % 4 != 0 || n % 4 != 0)
                return false;
            reads.emplace_back(a, n);
            std::memcpy(d, memory.data() + a, n);
            return true;
        };
    }
    WordTransfer Writer() {
        return [this](uint64_t a, uint8_t* d, size_t n) {
            if (a % 4 != 0 || n % 4 != 0)
                return false;
            writes.emplace_back(a, n);
            std::memcpy(memory.data() + a, d, n);
            return true;
        };
    }
};

TEST(AlignedAccess, WidensEveryRangeToWholeWordsAndKeepsTheOtherBytes) {
    const struct {
        uint64_t address;
        size_t size;
        std::vector<std::pair<uint64_t, size_t>> wordReads;  // for the write's merge
    } cases[] = {
        {8, 4, {}},                  // aligned word: written as is
        {8, 8, {}},                  // aligned words
        {9, 2, {{8, 4}}},            // inside one word
        {6, 4, {{4, 4}, {8, 4}}},    // across two words
        {3, 10, {{0, 4}, {12, 4}}},  // head, whole middle word, tail
        {12, 1, {{12, 4}}},          // one byte
    };
    for (const auto& c : cases) {
        WordDevice dev;
        std::iota(dev.memory.begin(), dev.memory.end(), uint8_t{0});
        std::vector<uint8_t> expected = dev.memory;
        std::vector<uint8_t> data(c.size, 0xEE);
        std::fill_n(expected.begin() + static_cast<long>(c.address), c.size, uint8_t{0xEE});
        ASSERT_TRUE(WriteAligned(c.address, data.data(), c.size, dev.Reader(), dev.Writer()))
            << c.address << "+" << c.size;
        EXPECT_EQ(expected, dev.memory) << c.address << "+" << c.size;
        EXPECT_EQ(c.wordReads, dev.reads) << c.address << "+" << c.size;
        std::vector<uint8_t> back(c.size);
        ASSERT_TRUE(ReadAligned(c.address, back.data(), c.size, dev.Reader()));
        EXPECT_EQ(data, back);
    }
}

TEST(AlignedAccess, FailedTransferFailsTheAccessAndWritesNothing) {
    WordDevice dev;
    const WordTransfer broken = [](uint64_t, uint8_t*, size_t) { return false; };
    const uint8_t byte = 1;
    EXPECT_FALSE(WriteAligned(5, &byte, 1, broken, dev.Writer()));
    EXPECT_TRUE(dev.writes.empty());
    uint8_t out = 0;
    EXPECT_FALSE(ReadAligned(5, &out, 1, broken));
}

std::vector<uint8_t> Chunk(uint32_t id, std::vector<uint8_t> data) {
    const uint32_t n = static_cast<uint32_t>(data.size());
    for (uint32_t v : {id, n}) {
        for (int s = 24; s >= 0; s -= 8)
            data.push_back(static_cast<uint8_t>(v >> s));
    }
    return data;
}

TEST(ChunkLayout, WalksChunksFromTheEndAndRejectsBadLengths) {
    std::vector<uint8_t> payload = Chunk(0xA, std::vector<uint8_t>(16, 7));
    const auto second = Chunk(0xB, {1, 2, 3, 4});
    payload.insert(payload.end(), second.begin(), second.end());
    std::vector<GenTL::SINGLE_CHUNK_DATA> chunks;
    ASSERT_TRUE(ParseChunks(payload.data(), payload.size(), chunks));
    ASSERT_EQ(2u, chunks.size());
    EXPECT_EQ(0xAu, chunks[0].ChunkID);
    EXPECT_EQ(0, chunks[0].ChunkOffset);
    EXPECT_EQ(16u, chunks[0].ChunkLength);
    EXPECT_EQ(0xBu, chunks[1].ChunkID);
    EXPECT_EQ(24, chunks[1].ChunkOffset);
    EXPECT_EQ(4u, chunks[1].ChunkLength);

    payload[payload.size() - 1] = 200;  // longer than what precedes it
    EXPECT_FALSE(ParseChunks(payload.data(), payload.size(), chunks));
    EXPECT_FALSE(ParseChunks(payload.data(), 5, chunks));  // no room for a trailer
}

TEST(FeatureTable, RegistersMapFeaturesAndTheDescriptionFile) {
    CFeatureTable t("TestPort");
    int64_t value = 0x0102;
    t.At(0x24);
    t.Integer(
        "Fixed", [&] { return value; }, [&](int64_t v) { value = v; }, 4);
    t.At(0x100);
    t.String(
        "Name", [] { return std::string("cam"); }, 16);
    t.Enumeration(
        "Mode", {{"A", 1}, {"B", 5}}, [] { return int64_t{1}; }, [](int64_t) {});
    t.Finish("Test.xml", "Test");

    // A two-byte write replaces the low half of a four-byte register.
    const uint16_t low = 0x0A0B;
    t.Write(0x24, reinterpret_cast<const uint8_t*>(&low), 2);
    EXPECT_EQ(0x0A0B, value);
    value = 0x11223344;
    uint8_t bytes[4] = {};
    t.Read(0x25, bytes, 2);
    EXPECT_EQ(0x33, bytes[0]);
    EXPECT_EQ(0x22, bytes[1]);

    char name[16] = {};
    t.Read(0x100, reinterpret_cast<uint8_t*>(name), sizeof name);
    EXPECT_STREQ("cam", name);

    auto code = [](auto&& f) -> GenTL::GC_ERROR {
        try {
            f();
        } catch (const CGentlError& e) {
            return e.Code();
        }
        return GenTL::GC_ERR_SUCCESS;
    };
    const int32_t bad = 3, good = 5;
    EXPECT_EQ(GenTL::GC_ERR_ACCESS_DENIED, code([&] { t.Write(0x100, bytes, 1); }));
    EXPECT_EQ(GenTL::GC_ERR_INVALID_ADDRESS, code([&] { t.Read(0x28, bytes, 4); }));
    EXPECT_EQ(GenTL::GC_ERR_INVALID_ADDRESS, code([&] { t.Read(0x26, bytes, 4); }));
    const uint64_t modeAddress = 0x110;
    EXPECT_EQ(GenTL::GC_ERR_INVALID_VALUE,
              code([&] { t.Write(modeAddress, reinterpret_cast<const uint8_t*>(&bad), 4); }));
    EXPECT_EQ(GenTL::GC_ERR_SUCCESS,
              code([&] { t.Write(modeAddress, reinterpret_cast<const uint8_t*>(&good), 4); }));

    // The URL points at a complete description file with a node per feature and the port.
    const std::string url = t.Url();
    ASSERT_EQ(0u, url.find("Local:Test.xml;"));
    const uint64_t at = std::strtoull(url.c_str() + url.find(';') + 1, nullptr, 16);
    const size_t size = std::strtoull(url.c_str() + url.rfind(';') + 1, nullptr, 16);
    std::string xml(size, '\0');
    t.Read(at, reinterpret_cast<uint8_t*>(xml.data()), size);
    for (const char* node :
         {"<IntReg Name=\"Fixed\"", "<Address>0x24</Address>", "<StringReg Name=\"Name\"",
          "<Enumeration Name=\"Mode\"", "<Port Name=\"TestPort\"/>", "</RegisterDescription>"})
        EXPECT_NE(std::string::npos, xml.find(node)) << node;
}

}  // namespace
