// lumocam view's JSON API, through an HTTP client against the tool running
// as its own process on the simulated producer.
#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "ViewServerProcess.h"

using nlohmann::json;

namespace {

// A colour camera at 30 frames/s, a 12-bit mono one that streams as fast as
// it can, and a read-only one.
std::string Config() {
    return R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [
      {"id": "DEV_C", "tlType": "GEV", "vendor": "Acme", "model": "C-640", "serial": "C1",
       "sensorWidth": 640, "sensorHeight": 480, "pixelFormats": ["BayerRG8", "Mono8"],
       "pixelFormat": "BayerRG8", "frameRate": 30},
      {"id": "DEV_M", "tlType": "GEV", "vendor": "Acme", "model": "M-64", "serial": "M12",
       "sensorWidth": 64, "sensorHeight": 48, "pixelFormats": ["Mono12"], "frameRate": 0}]}]})";
}

// Finds a feature in the tree by name.
const json* FindFeature(const json& node, const std::string& name) {
    if (node.value("name", "") == name && node["type"] != "category") {
        return &node;
    }
    if (!node.contains("children")) {
        return nullptr;
    }
    for (const auto& child : node["children"]) {
        if (const json* found = FindFeature(child, name)) {
            return found;
        }
    }
    return nullptr;
}

class ViewApiTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_GT(server.Port(), 0) << server.Err();
        client.set_read_timeout(15, 0);
    }

    httplib::Result Post(const std::string& path) { return client.Post(path.c_str()); }

    json PostJson(const std::string& path) {
        auto result = Post(path);
        EXPECT_TRUE(result) << path;
        if (!result) {
            return json();
        }
        EXPECT_EQ(result->status, 200) << path << ": " << result->body;
        return json::parse(result->body, nullptr, false);
    }

    json GetJson(const std::string& path) {
        auto result = client.Get(path.c_str());
        EXPECT_TRUE(result) << path;
        if (!result) {
            return json();
        }
        EXPECT_EQ(result->status, 200) << path << ": " << result->body;
        return json::parse(result->body, nullptr, false);
    }

    // The first frame after `after`; its sequence number and size come back.
    struct Frame {
        int status = 0;
        std::uint64_t seq = 0;
        int width = 0;
        int height = 0;
        std::string jpeg;
    };
    Frame NextFrame(std::uint64_t after, int timeoutMs = 3000) {
        Frame frame;
        auto result = client.Get(
            ("/api/frame?after=" + std::to_string(after) + "&timeout=" + std::to_string(timeoutMs))
                .c_str());
        if (!result) {
            return frame;
        }
        frame.status = result->status;
        if (frame.status == 200) {
            frame.seq = std::stoull(result->get_header_value("X-Frame-Seq"));
            frame.width = std::stoi(result->get_header_value("X-Frame-Width"));
            frame.height = std::stoi(result->get_header_value("X-Frame-Height"));
            frame.jpeg = result->body;
        }
        return frame;
    }

    void OpenAndStart(const std::string& camera) {
        PostJson("/api/open?camera=" + camera + "&mode=control");
        PostJson("/api/start?strategy=latest");
    }

    ViewServerProcess server{Config()};
    httplib::Client client{"127.0.0.1", server.Port()};
};

struct BadRequest {
    const char* method;
    const char* path;
    int status;
    const char* says;  // part of the error message
    bool needsCamera;  // asked with camera C1 open and acquiring
};

TEST_F(ViewApiTest, BadRequestsAreAnsweredWithStatusAndJsonError) {
    const BadRequest cases[] = {
        {"GET", "/api/no-such-call", 404, "no such API call", false},
        {"POST", "/api/open", 400, "missing parameter 'camera'", false},
        {"POST", "/api/open?camera=XYZ", 404, "no camera", false},
        {"POST", "/api/open?camera=C1&mode=sideways", 400, "unknown open mode", false},
        {"POST", "/api/start?strategy=sideways", 400, "unknown strategy", false},
        {"GET", "/api/features", 409, "no camera is open", false},
        {"GET", "/api/histogram", 404, "no frame yet", false},
        {"GET", "/api/frame?after=-1", 400, "not a number", false},
        {"GET", "/api/features?module=moon", 400, "unknown module", true},
        {"POST", "/api/feature?name=Width&value=99999", 400, "out of range", true},
        {"POST", "/api/feature?name=Width&value=wide", 400, "not an integer", true},
        {"POST", "/api/feature?name=PixelFormat&value=RGB8", 400, "not one of its entries", true},
        {"POST", "/api/feature?name=NoSuchFeature&value=1", 404, "no feature", true},
        {"POST", "/api/feature?value=1", 400, "missing parameter 'name'", true},
        {"POST", "/api/feature?name=SensorWidth&value=320", 409, "read-only", true},
        {"GET", "/api/pixel?x=640&y=0", 400, "outside", true},
        {"GET", "/api/pixel?x=1", 400, "missing parameter", true},
        {"GET", "/api/snapshot?format=gif", 400, "unknown snapshot format", true},
        {"GET", "/api/snapshot?seq=999999999", 404, "no longer kept", true},
        {"POST", "/api/featureset", 400, "not a feature set", true},
    };
    bool opened = false;
    for (const BadRequest& bad : cases) {
        if (bad.needsCamera && !opened) {
            OpenAndStart("C1");
            ASSERT_EQ(NextFrame(0).status, 200);
            opened = true;
        }
        auto result = std::string(bad.method) == "GET"
                          ? client.Get(bad.path)
                          : client.Post(bad.path, "no tab here", "text/plain");
        ASSERT_TRUE(result) << bad.path;
        EXPECT_EQ(result->status, bad.status) << bad.method << " " << bad.path;
        EXPECT_EQ(result->get_header_value("Content-Type"), "application/json") << bad.path;
        const json body = json::parse(result->body, nullptr, false);
        ASSERT_TRUE(body.is_object() && body["error"].is_string())
            << bad.path << ": " << result->body;
        EXPECT_NE(body["error"].get<std::string>().find(bad.says), std::string::npos)
            << bad.path << ": " << body["error"];
    }
    // None of that hurt the server.
    EXPECT_EQ(GetJson("/api/status")["open"], true);
}

TEST_F(ViewApiTest, CamerasComeWithTheirProducersReport) {
    const json data = GetJson("/api/cameras");
    ASSERT_EQ(data["cameras"].size(), 2u) << data;
    EXPECT_EQ(data["cameras"][0]["serial"], "C1");
    EXPECT_EQ(data["cameras"][1]["model"], "M-64");
    bool loaded = false;
    for (const auto& producer : data["producers"]) {
        loaded = loaded || (producer["state"] == "loaded" && producer["interfaceCount"] == 1);
    }
    EXPECT_TRUE(loaded) << data["producers"];
}

TEST_F(ViewApiTest, FramesFollowOneAnotherAndShowTheMovingScene) {
    OpenAndStart("C1");
    const Frame first = NextFrame(0);
    ASSERT_EQ(first.status, 200);
    EXPECT_EQ(first.width, 640);
    EXPECT_EQ(first.height, 480);
    ASSERT_GE(first.jpeg.size(), 2u);
    EXPECT_EQ(first.jpeg.substr(0, 2), "\xFF\xD8");
    const Frame second = NextFrame(first.seq);
    ASSERT_EQ(second.status, 200);
    EXPECT_GT(second.seq, first.seq);
    EXPECT_NE(second.jpeg, first.jpeg);

    const json status = GetJson("/api/status");
    EXPECT_EQ(status["grabbing"], true);
    EXPECT_GE(status["stats"]["received"].get<int>(), 2);
    EXPECT_GT(status["stats"]["mbps"].get<double>(), 0.0);

    // Stopped: no new frame, and the wait ends with 204 rather than an error.
    PostJson("/api/stop");
    const std::uint64_t last = GetJson("/api/status")["frame"]["seq"];
    EXPECT_EQ(NextFrame(last, 300).status, 204);
}

TEST_F(ViewApiTest, WidthWrittenDuringAcquisitionChangesTheFrames) {
    OpenAndStart("C1");
    const Frame before = NextFrame(0);
    ASSERT_EQ(before.status, 200);
    const std::uint64_t changes = GetJson("/api/status")["featureChanges"];
    const json written = PostJson("/api/feature?name=Width&value=320");
    EXPECT_EQ(written["value"], "320");
    EXPECT_EQ(written["paused"], true);  // Width is locked while acquiring
    EXPECT_EQ(written["feature"]["value"], "320");
    // Frames received before the write may still be the newest ones.
    const Frame after = NextFrame(GetJson("/api/status")["frame"]["seq"]);
    ASSERT_EQ(after.status, 200);
    EXPECT_EQ(after.width, 320);
    // The tree tells the page that the locked Width can still be edited; a
    // feature that is read-only at any time cannot.
    const json tree = GetJson("/api/features");
    EXPECT_EQ((*FindFeature(tree["root"], "Width")).value("pausable", false), true);
    EXPECT_EQ((*FindFeature(tree["root"], "SensorWidth")).value("pausable", false), false);
    const json status = GetJson("/api/status");
    EXPECT_EQ(status["grabbing"], true);
    EXPECT_GT(status["featureChanges"].get<std::uint64_t>(), changes);
}

TEST_F(ViewApiTest, FeatureTreeGivesEachControlWhatItNeeds) {
    PostJson("/api/open?camera=C1&mode=control");
    const json tree = GetJson("/api/features");
    ASSERT_EQ(tree["root"]["type"], "category");
    struct Expected {
        const char* name;
        const char* type;
        const char* access;
    };
    for (const Expected& e : {Expected{"Width", "integer", "RW"},
                              {"SensorWidth", "integer", "RO"},
                              {"AcquisitionFrameRate", "float", "RW"},
                              {"PixelFormat", "enumeration", "RW"},
                              {"TriggerSoftware", "command", "WO"}}) {
        const json* feature = FindFeature(tree["root"], e.name);
        ASSERT_NE(feature, nullptr) << e.name;
        EXPECT_EQ((*feature)["type"], e.type) << e.name;
        EXPECT_EQ((*feature)["access"], e.access) << e.name;
    }
    const json& width = *FindFeature(tree["root"], "Width");
    EXPECT_EQ(width["value"], "640");
    EXPECT_EQ(width["max"], 640);
    EXPECT_GE(width["inc"].get<int>(), 1);
    // The configuration offers two formats: only those are choices.
    std::vector<std::string> entries;
    for (const auto& entry : (*FindFeature(tree["root"], "PixelFormat"))["entries"]) {
        entries.push_back(entry["name"]);
    }
    std::sort(entries.begin(), entries.end());
    EXPECT_EQ(entries, (std::vector<std::string>{"BayerRG8", "Mono8"}));
}

TEST_F(ViewApiTest, CommandButtonTriggersAFrame) {
    OpenAndStart("C1");
    const Frame free = NextFrame(0);
    ASSERT_EQ(free.status, 200);
    PostJson("/api/feature?name=TriggerMode&value=On");
    // Frames already on their way still arrive; then the stream falls silent.
    std::uint64_t last = free.seq;
    for (Frame late = NextFrame(last, 500); late.status == 200; late = NextFrame(last, 500)) {
        last = late.seq;
        ASSERT_LT(last, free.seq + 20) << "frames keep coming without a trigger";
    }
    EXPECT_EQ(PostJson("/api/feature?name=TriggerSoftware&value=exec")["value"], "executed");
    const Frame triggered = NextFrame(last);
    EXPECT_EQ(triggered.status, 200);
}

TEST_F(ViewApiTest, SnapshotsHistogramAndPixelDescribeOneFrame) {
    OpenAndStart("C1");
    ASSERT_EQ(NextFrame(0).status, 200);
    PostJson("/api/stop");  // keeps the last frame from being pushed out
    const std::string seq = GetJson("/api/status")["frame"]["seq"].dump();

    auto png = client.Get(("/api/snapshot?format=png&seq=" + seq).c_str());
    ASSERT_TRUE(png);
    ASSERT_EQ(png->status, 200);
    EXPECT_EQ(png->body.substr(0, 8), "\x89PNG\r\n\x1a\n");
    auto raw = client.Get(("/api/snapshot?format=raw&seq=" + seq).c_str());
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->body.size(), 640u * 480u);  // BayerRG8: one byte a pixel
    const json sidecar = GetJson("/api/snapshot?format=json&seq=" + seq);
    EXPECT_EQ(sidecar["width"], 640);
    EXPECT_EQ(sidecar["pixelFormat"], "BayerRG8");
    EXPECT_EQ(sidecar["payloadSize"], raw->body.size());

    const json histogram = GetJson("/api/histogram?seq=" + seq);
    ASSERT_EQ(histogram["bins"].size(), 3u);
    for (const auto& bins : histogram["bins"]) {
        ASSERT_EQ(bins.size(), 256u);
        std::uint64_t total = 0;
        for (const auto& count : bins) {
            total += count.get<std::uint64_t>();
        }
        EXPECT_EQ(total, 640u * 480u);
    }
    // The top-left bar of the scene is white.
    const json pixel = GetJson("/api/pixel?x=10&y=20&seq=" + seq);
    for (const auto& value : pixel["rgb"]) {
        EXPECT_GT(value.get<int>(), 200) << pixel;
    }
}

TEST_F(ViewApiTest, DeepMonoPixelReportsTheSampleAsSent) {
    OpenAndStart("M12");
    ASSERT_EQ(NextFrame(0).status, 200);
    PostJson("/api/stop");
    const std::string seq = GetJson("/api/status")["frame"]["seq"].dump();
    const json histogram = GetJson("/api/histogram?seq=" + seq);
    EXPECT_EQ(histogram["channels"], json::array({"grey"}));
    for (const auto& [x, y] : {std::pair{0, 0}, {5, 3}, {63, 47}}) {
        const json pixel = GetJson("/api/pixel?x=" + std::to_string(x) + "&y=" + std::to_string(y) +
                                   "&seq=" + seq);
        ASSERT_TRUE(pixel.contains("sample")) << pixel;
        EXPECT_EQ(pixel["bits"], 12);
        EXPECT_EQ(pixel["grey"][0].get<int>(), pixel["sample"].get<int>() >> 4) << pixel;
    }
}

TEST_F(ViewApiTest, SavedFeatureSetRestoresTheValues) {
    PostJson("/api/open?camera=C1&mode=control");
    auto saved = client.Get("/api/featureset");
    ASSERT_TRUE(saved);
    ASSERT_EQ(saved->status, 200);
    EXPECT_NE(saved->body.find("Width\t640"), std::string::npos) << saved->body;
    PostJson("/api/feature?name=Width&value=320");
    auto loaded = client.Post("/api/featureset", saved->body, "text/plain");
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->status, 200) << loaded->body;
    EXPECT_EQ(json::parse(loaded->body)["loaded"], true) << loaded->body;
    EXPECT_EQ((*FindFeature(GetJson("/api/features")["root"], "Width"))["value"], "640");
}

TEST_F(ViewApiTest, SeveralTabsAreServedSideBySide) {
    OpenAndStart("C1");
    constexpr int kTabs = 8;
    // Every tab keeps a frame request waiting (here for a frame that never
    // comes); one more tab still gets its answers at once.
    std::vector<std::thread> waiting;
    for (int t = 0; t < kTabs; ++t) {
        waiting.emplace_back([port = server.Port()] {
            httplib::Client tab("127.0.0.1", port);
            tab.Get("/api/frame?after=999999999&timeout=3000");
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    httplib::Client another("127.0.0.1", server.Port());
    another.set_read_timeout(1, 0);
    auto status = another.Get("/api/status");
    EXPECT_TRUE(status && status->status == 200) << "a waiting tab blocks the others";
    std::atomic<int> framesSeen{0};
    std::vector<std::thread> tabs;
    for (int t = 0; t < kTabs; ++t) {
        tabs.emplace_back([&] {
            httplib::Client tab("127.0.0.1", server.Port());
            tab.set_read_timeout(15, 0);
            std::uint64_t after = 0;
            for (int i = 0; i < 5; ++i) {
                auto frame = tab.Get(("/api/frame?after=" + std::to_string(after)).c_str());
                if (frame && frame->status == 200) {
                    after = std::stoull(frame->get_header_value("X-Frame-Seq"));
                    ++framesSeen;
                }
            }
        });
    }
    for (auto& tab : tabs) {
        tab.join();
    }
    for (auto& tab : waiting) {
        tab.join();
    }
    EXPECT_EQ(framesSeen, kTabs * 5);
}

TEST_F(ViewApiTest, PageAndItsFilesAreServed) {
    for (const auto& [path, type] : {std::pair{"/", "text/html"},
                                     {"/view.js", "text/javascript"},
                                     {"/view.css", "text/css"}}) {
        auto result = client.Get(path);
        ASSERT_TRUE(result) << path;
        EXPECT_EQ(result->status, 200) << path;
        EXPECT_EQ(result->get_header_value("Content-Type").rfind(type, 0), 0u) << path;
        EXPECT_FALSE(result->body.empty()) << path;
    }
    auto missing = client.Get("/nothing.html");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->status, 404);
}

// A camera opened from the command line, acquiring, and a frame request
// waiting: each stop signal ends the tool at once, and cleanly; so does a
// second Ctrl-C pressed while it stops.
TEST(ViewShutdownTest, StopSignalsCloseTheCameraAndEndTheServer) {
    const std::vector<std::vector<int>> cases{{SIGINT}, {SIGTERM}, {SIGINT, SIGINT}};
    for (const auto& signals : cases) {
        ViewServerProcess server(Config(), {"C1"});
        ASSERT_GT(server.Port(), 0) << server.Err();
        std::thread waiting([port = server.Port()] {
            httplib::Client client("127.0.0.1", port);
            client.Get("/api/frame?after=999999999&timeout=10000");
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        for (std::size_t i = 0; i + 1 < signals.size(); ++i) {
            server.Signal(signals[i]);
            // Two signals at once would merge into one; the second comes while stopping.
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_EQ(server.Stop(signals.back(), std::chrono::seconds(8)), 0)
            << signals.size() << " signal(s), last " << signals.back() << ": " << server.Err();
        waiting.join();
        EXPECT_NE(server.Out().find("stopped"), std::string::npos) << server.Out();
    }
}

struct BadCommandLine {
    std::vector<std::string> args;
    const char* says;
};

TEST(ViewCommandLineTest, BadOptionsAreRefusedBeforeServing) {
    const BadCommandLine cases[] = {
        {{"--mode", "sideways"}, "unknown open mode"},
        {{"--strategy", "sideways"}, "unknown strategy"},
        {{"--listen", "256.1.1.1"}, "cannot listen"},
    };
    for (const BadCommandLine& bad : cases) {
        ViewServerProcess server(Config(), bad.args);
        EXPECT_EQ(server.Port(), 0) << bad.args[0];
        EXPECT_NE(server.Err().find(bad.says), std::string::npos) << server.Err();
    }
}

}  // namespace
