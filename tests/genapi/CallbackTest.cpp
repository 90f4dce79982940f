// Node callbacks, selectors seen from both ends, polling and the metadata of
// Settings.xml read through the public interface.
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "SettingsMap.h"

using namespace GenApi;

namespace {

class CallbackTest : public SettingsMapTest {
protected:
    // Counts the callbacks fired per node name.
    CallbackHandleType Watch(const char* name) {
        return Register(Node(name), [this](INode* node) { ++fired[node->GetName().str()]; });
    }
    std::map<std::string, int> fired;
};

std::vector<std::string> Names(const FeatureList_t& features) {
    std::vector<std::string> names;
    for (IValue* value : features) {
        names.push_back(value->GetNode()->GetName().str());
    }
    return names;
}

TEST_F(CallbackTest, CategoriesListDirectFeaturesAndSubcategories) {
    CCategoryPtr format = Node("ImageFormatControl");
    FeatureList_t features;
    format->GetFeatures(features);
    EXPECT_EQ(Names(features), (std::vector<std::string>{"SensorWidth", "OffsetX", "Width",
                                                         "PixelFormat", "Geometry"}));
    CCategoryPtr nested = features.back()->GetNode();
    ASSERT_TRUE(nested.IsValid());
    nested->GetFeatures(features);
    EXPECT_EQ(Names(features), std::vector<std::string>{"ReverseX"});
}

TEST_F(CallbackTest, SelectorsAndSelectedFeaturesNameEachOther) {
    FeatureList_t features;
    Node("GainSelector")->GetSelectedFeatures(features);
    EXPECT_EQ(Names(features), (std::vector<std::string>{"Gain", "BlackLevel"}));
    Node("Gain")->GetSelectingFeatures(features);
    EXPECT_EQ(Names(features), std::vector<std::string>{"GainSelector"});
    Node("Width")->GetSelectingFeatures(features);
    EXPECT_TRUE(features.empty());
}

TEST_F(CallbackTest, EntryAvailabilityFollowsItsOwnConditions) {
    CEnumerationPtr format = Node("PixelFormat");
    for (uint32_t color : {0u, 1u}) {
        port.Poke32(0x0C, color);
        map._InvalidateNodes();
        EXPECT_EQ(IsAvailable(format->GetEntryByName("RGB8")), color == 1) << color;
        EXPECT_EQ(IsImplemented(format->GetEntryByName("Bayer8")), color == 1) << color;
        EXPECT_TRUE(IsAvailable(format->GetEntryByName("Mono8")));
    }
}

TEST_F(CallbackTest, MetadataComesFromTheDescription) {
    CFloatPtr exposure = Node("ExposureTime");
    EXPECT_EQ(exposure->GetUnit(), "us");
    EXPECT_EQ(exposure->GetDisplayNotation(), fnFixed);
    EXPECT_EQ(exposure->GetDisplayPrecision(), 2);
    EXPECT_EQ(exposure->GetIncMode(), noIncrement);
    EXPECT_TRUE(exposure->GetListOfValidValues().empty());
    CIntegerPtr width = Node("Width");
    EXPECT_EQ(width->GetUnit(), "px");
    EXPECT_EQ(width->GetIncMode(), fixedIncrement);
    EXPECT_EQ(width->GetInc(), 4);
    EXPECT_TRUE(Node("Width")->IsStreamable());
    EXPECT_FALSE(Node("DeviceTemperature")->IsStreamable());
}

// The engine drops <ValidValueSet>; the layer lists it, within the current
// range unless asked for all, and refuses values outside it.
TEST_F(CallbackTest, ValidValueSetsListAndLimitTheValues) {
    struct Case {
        const char* name;
        std::vector<double> bounded, all;
        double accepted, refused;
    };
    const Case cases[] = {
        {"BinningHorizontal", {1, 2, 4}, {1, 2, 4, 8}, 2, 3},
        {"Gamma", {0.45, 1.0, 2.2}, {0.45, 1.0, 2.2, 5}, 2.2, 2.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<double> bounded, all;
        if (CIntegerPtr integer = Node(c.name)) {
            EXPECT_EQ(integer->GetIncMode(), listIncrement);
            for (int64_t v : integer->GetListOfValidValues()) {
                bounded.push_back(static_cast<double>(v));
            }
            for (int64_t v : integer->GetListOfValidValues(false)) {
                all.push_back(static_cast<double>(v));
            }
            integer->SetValue(static_cast<int64_t>(c.accepted));
            EXPECT_THROW(integer->SetValue(static_cast<int64_t>(c.refused)),
                         GenICam::OutOfRangeException);
            EXPECT_THROW(integer->SetValue(static_cast<int64_t>(c.all.back())),
                         GenICam::OutOfRangeException);
            EXPECT_EQ(integer->GetValue(), static_cast<int64_t>(c.accepted));
        } else {
            CFloatPtr real = Node(c.name);
            ASSERT_TRUE(real.IsValid());
            EXPECT_EQ(real->GetIncMode(), listIncrement);
            bounded = real->GetListOfValidValues();
            all = real->GetListOfValidValues(false);
            real->SetValue(c.accepted);
            EXPECT_THROW(real->SetValue(c.refused), GenICam::OutOfRangeException);
            EXPECT_EQ(real->GetValue(), c.accepted);
        }
        EXPECT_EQ(bounded, c.bounded);
        EXPECT_EQ(all, c.all);
    }
    // Without a set: the increment rules, and there is no list.
    EXPECT_EQ(CIntegerPtr(Node("Width"))->GetIncMode(), fixedIncrement);
    EXPECT_TRUE(CIntegerPtr(Node("Width"))->GetListOfValidValues().empty());
}

TEST_F(CallbackTest, CommandIsDoneOnceTheDeviceClearsIt) {
    CCommandPtr save = Node("UserSetSave");
    save->Execute();
    EXPECT_FALSE(save->IsDone());
    port.Poke32(0x34, 0);
    EXPECT_TRUE(save->IsDone());
}

// A write reaches the node itself, what reads it (formulas, bounds) and what
// it selects; unrelated nodes stay quiet.
TEST_F(CallbackTest, WritesFireTheNodeAndItsDependents) {
    for (const char* name :
         {"Width", "OffsetXMax", "OffsetX", "Gain", "BlackLevel", "ExposureTime"}) {
        Watch(name);
    }
    CIntegerPtr(Node("Width"))->SetValue(512);
    EXPECT_EQ(fired, (std::map<std::string, int>{{"Width", 1}, {"OffsetXMax", 1}, {"OffsetX", 1}}));
    fired.clear();
    CEnumerationPtr(Node("GainSelector"))->FromString("Red");
    EXPECT_EQ(fired, (std::map<std::string, int>{{"Gain", 1}, {"BlackLevel", 1}}));
    fired.clear();
    CFloatPtr(Node("ExposureTime"))->SetValue(250.0);
    EXPECT_EQ(fired, (std::map<std::string, int>{{"ExposureTime", 1}}));
}

TEST_F(CallbackTest, InvalidateNodesFiresEveryCallbackAndDeregisterStopsIt) {
    const CallbackHandleType width = Watch("Width");
    Watch("Gain");
    map._InvalidateNodes();
    EXPECT_EQ(fired, (std::map<std::string, int>{{"Width", 1}, {"Gain", 1}}));
    EXPECT_TRUE(Deregister(width));
    EXPECT_FALSE(Deregister(width));
    EXPECT_FALSE(Deregister(0));
    map._InvalidateNodes();
    EXPECT_EQ(fired, (std::map<std::string, int>{{"Width", 1}, {"Gain", 2}}));
}

TEST_F(CallbackTest, CallbackMayDeregisterItselfAndReadTheMap) {
    CallbackHandleType handle = 0;
    int64_t seen = -1;
    handle = Register(Node("Width"), [&](INode* node) {
        seen = CIntegerPtr(node)->GetValue();
        Deregister(handle);
    });
    CIntegerPtr(Node("Width"))->SetValue(256);
    CIntegerPtr(Node("Width"))->SetValue(128);
    EXPECT_EQ(seen, 256);
}

struct Client {
    void OnChange(INode*) { ++count; }
    int count = 0;
};

TEST_F(CallbackTest, MemberCallbacksAndHandlesOutliveNoMap) {
    Client client;
    CallbackHandleType handle = Register(Node("ReverseX"), client, &Client::OnChange);
    CBooleanPtr(Node("ReverseX"))->SetValue(true);
    EXPECT_EQ(client.count, 1);
    map._Destroy();
    EXPECT_FALSE(Deregister(handle));
}

TEST_F(CallbackTest, PollRefreshesNodesWhosePollingTimeRanOut) {
    Watch("DeviceTemperature");
    CIntegerPtr temperature = Node("DeviceTemperature");
    port.Poke32(0x38, 40);
    EXPECT_EQ(temperature->GetValue(), 40);
    port.Poke32(0x38, 41);
    map._Poll(600);
    EXPECT_TRUE(fired.empty());
    map._Poll(400);
    EXPECT_EQ(fired["DeviceTemperature"], 1);
    EXPECT_EQ(temperature->GetValue(), 41);
    map._Poll(999);
    EXPECT_EQ(fired["DeviceTemperature"], 1);
}

// A callback runs once the write that fired it has released the map's lock:
// it may read or write the map itself, or wait for another thread that does.
TEST_F(CallbackTest, CallbacksRunAfterTheMapLockIsReleased) {
    CIntegerPtr width = Node("Width");
    CFloatPtr exposure = Node("ExposureTime");
    struct Case {
        const char* name;
        bool onAnotherThread;
        std::function<void()> action;
    };
    int64_t widthSeen = 0;
    const Case cases[] = {
        {"reads", true, [&] { widthSeen = width->GetValue(); }},
        {"writes", true, [&] { exposure->SetValue(300.0); }},
        {"writes on its own thread", false, [&] { exposure->SetValue(400.0); }},
    };
    int exposureFired = 0;
    Register(Node("ExposureTime"), [&](INode*) { ++exposureFired; });
    for (const Case& c : cases) {
        std::thread worker;
        auto status = std::future_status::deferred;
        const CallbackHandleType handle = Register(Node("Width"), [&](INode*) {
            if (!c.onAnotherThread) {
                c.action();
                status = std::future_status::ready;
                return;
            }
            auto done = std::make_shared<std::promise<void>>();
            auto finished = done->get_future();
            worker = std::thread([&c, done] {
                c.action();
                done->set_value();
            });
            // Under the lock the worker would wait for this callback to return.
            status = finished.wait_for(std::chrono::seconds(5));
        });
        width->SetValue(512);
        if (worker.joinable()) {
            worker.join();
        }
        EXPECT_TRUE(Deregister(handle));
        EXPECT_EQ(status, std::future_status::ready) << c.name;
        width->SetValue(1024);
    }
    EXPECT_EQ(widthSeen, 512);
    EXPECT_EQ(exposure->GetValue(), 400.0);
    EXPECT_EQ(exposureFired, 2);
}

// Callbacks registered and removed on one thread while another writes: run
// under ThreadSanitizer.
TEST_F(CallbackTest, RegisteringWhileAnotherThreadWritesIsSafe) {
    std::atomic<int> count{0};
    std::thread writer([this] {
        CIntegerPtr gain = Node("Gain");
        for (int i = 0; i < 300; ++i) {
            gain->SetValue(i % 48);
        }
    });
    for (int i = 0; i < 300; ++i) {
        CallbackHandleType handle = Register(Node("Gain"), [&count](INode*) { ++count; });
        EXPECT_TRUE(Deregister(handle));
    }
    writer.join();
    EXPECT_GE(count.load(), 0);
}

}  // namespace
