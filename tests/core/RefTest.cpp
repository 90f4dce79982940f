#include "Ref.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace VEXOGENICAM;

namespace {

// Counts deletions so that tests can see exactly when an object dies.
struct Tracked : CRef {
    explicit Tracked(REF_MODE mode, std::atomic<int>& deleted) : CRef(mode), m_deleted(deleted) {}
    ~Tracked() override { ++m_deleted; }
    std::atomic<int>& m_deleted;
};

}  // namespace

TEST(CRefTest, AutoModeDeletesOnLastUnRefAndRefusesUnderflow) {
    std::atomic<int> deleted{0};
    auto* obj = new Tracked(REF_MODE_AUTO, deleted);
    EXPECT_TRUE(obj->Ref());
    EXPECT_TRUE(obj->UnRef());
    EXPECT_EQ(deleted, 0);
    EXPECT_TRUE(obj->UnRef());
    EXPECT_EQ(deleted, 1);
}

TEST(CRefTest, AutoModeReleaseIsUnRef) {
    std::atomic<int> deleted{0};
    auto* obj = new Tracked(REF_MODE_AUTO, deleted);
    obj->Ref();
    obj->Release();
    EXPECT_EQ(deleted, 0);
    obj->Release();
    EXPECT_EQ(deleted, 1);
}

TEST(CRefTest, WaitModeUnRefAtZeroChangesNothing) {
    std::atomic<int> deleted{0};
    auto* obj = new Tracked(REF_MODE_WAIT, deleted);
    EXPECT_TRUE(obj->UnRef());   // the owner's reference
    EXPECT_FALSE(obj->UnRef());  // nothing left to give back
    EXPECT_EQ(deleted, 0);       // the wait mode never deletes from UnRef
    obj->Release();              // count already 0: deletes without waiting
    EXPECT_EQ(deleted, 1);
}

TEST(CRefTest, WaitModeReleaseBlocksUntilOtherReferenceIsGivenBack) {
    std::atomic<int> deleted{0};
    auto* obj = new Tracked(REF_MODE_WAIT, deleted);
    ASSERT_TRUE(obj->Ref());

    std::atomic<bool> releaseReturned{false};
    std::thread owner([&] {
        obj->Release();
        releaseReturned = true;
    });

    // Once Release has started, new references are refused.
    bool refused = false;
    for (int i = 0; i < 2000 && !refused; ++i) {
        if (!obj->Ref()) {
            refused = true;
        } else {
            obj->UnRef();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    EXPECT_TRUE(refused);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(releaseReturned);
    EXPECT_EQ(deleted, 0);

    obj->UnRef();
    owner.join();
    EXPECT_TRUE(releaseReturned);
    EXPECT_EQ(deleted, 1);
}

TEST(CRefTest, WaitModeReleaseRacingRefAndUnRefFromManyThreads) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> deleted{0};
        auto* obj = new Tracked(REF_MODE_WAIT, deleted);
        std::atomic<bool> go{false};
        std::vector<std::thread> users;
        for (int t = 0; t < 4; ++t) {
            // Each user holds one reference taken before Release can start and
            // churns further Ref/UnRef pairs while the owner waits.
            ASSERT_TRUE(obj->Ref());
            users.emplace_back([&, obj] {
                while (!go) {
                    std::this_thread::yield();
                }
                for (int i = 0; i < 200; ++i) {
                    if (obj->Ref()) {
                        obj->UnRef();
                    }
                }
                obj->UnRef();
            });
        }
        std::thread owner([obj] { obj->Release(); });
        go = true;
        for (auto& u : users) {
            u.join();
        }
        owner.join();
        EXPECT_EQ(deleted, 1);
    }
}

TEST(CRefTest, AutoModeConcurrentUnRefDeletesExactlyOnce) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> deleted{0};
        auto* obj = new Tracked(REF_MODE_AUTO, deleted);
        for (int i = 0; i < 3; ++i) {
            obj->Ref();
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([obj] { obj->UnRef(); });
        }
        for (auto& t : threads) {
            t.join();
        }
        EXPECT_EQ(deleted, 1);
    }
}
