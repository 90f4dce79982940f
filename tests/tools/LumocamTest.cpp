// lumocam end to end: every command runs as its own process against the
// simulated producer, and is judged by exit code, output and the files it
// writes (PNGs are decoded and checked against the known colour-bar scene).
#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "LumocamRunner.h"

namespace fs = std::filesystem;
using namespace lumotest;

namespace {

struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    bool colour = false;
    std::vector<unsigned char> rgb;  // always decoded to RGB

    const unsigned char* At(unsigned x, unsigned y) const { return &rgb[(y * width + x) * 3]; }
};

Picture Decode(const fs::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Picture picture;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
        return picture;
    }
    picture.colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
    image.format = PNG_FORMAT_RGB;
    picture.width = image.width;
    picture.height = image.height;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
    }
    png_image_free(&image);
    return picture;
}

// The eight bars of the simulated scene, as red/green/blue lit or not.
constexpr bool kBars[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                              {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};

// Samples each bar near its left edge on a bright upper row: frames shift the
// scene left by at most 56 pixels, so bar b covers x = 80 b + 10 in every frame.
void ExpectColourBars(const Picture& picture, const std::string& what) {
    ASSERT_EQ(picture.width, 640u) << what;
    ASSERT_EQ(picture.height, 480u) << what;
    EXPECT_TRUE(picture.colour) << what;
    for (unsigned bar = 0; bar < 8; ++bar) {
        const unsigned char* pixel = picture.At(80 * bar + 10, 20);
        for (int c = 0; c < 3; ++c) {
            if (kBars[bar][c]) {
                EXPECT_GT(pixel[c], 200) << what << " bar " << bar << " channel " << c;
            } else {
                EXPECT_LT(pixel[c], 40) << what << " bar " << bar << " channel " << c;
            }
        }
    }
}

// Grey levels fall from the white bar to the black one.
void ExpectMonoBars(const Picture& picture, const std::string& what) {
    ASSERT_EQ(picture.width, 640u) << what;
    EXPECT_FALSE(picture.colour) << what;
    for (unsigned bar = 1; bar < 8; ++bar) {
        EXPECT_LT(picture.At(80 * bar + 10, 20)[0], picture.At(80 * (bar - 1) + 10, 20)[0])
            << what << " bar " << bar;
    }
}

}  // namespace

TEST(LumocamTest, ListShowsEveryCameraAndFiltersByTransportLayer) {
    Lumocam tool;
    const Result table = tool.Run({"list"});
    ASSERT_EQ(table.code, 0) << table.err;
    EXPECT_NE(table.out.find("G1"), std::string::npos);
    EXPECT_NE(table.out.find("10.0.0.7 / 00:11:22:33:44:55"), std::string::npos) << table.out;
    EXPECT_NE(table.out.find("U1"), std::string::npos);

    const Result json = tool.Run({"list", "--json"});
    ASSERT_EQ(json.code, 0) << json.err;
    const auto cameras = nlohmann::json::parse(json.out);
    ASSERT_EQ(cameras.size(), 3u) << json.out;
    const auto& first = cameras[0];
    EXPECT_EQ(first["index"], 0);
    EXPECT_EQ(first["tlType"], "GEV");
    EXPECT_EQ(first["vendor"], "Acme");
    EXPECT_EQ(first["serial"], "G1");
    EXPECT_EQ(first["userName"], "left");
    EXPECT_EQ(first["ip"], "10.0.0.7");
    EXPECT_EQ(first["mac"], "00:11:22:33:44:55");
    EXPECT_EQ(cameras[2]["tlType"], "U3V");
    EXPECT_FALSE(cameras[2].contains("ip")) << "USB cameras have no network address";

    const Result usb = tool.Run({"list", "--tl", "u3v", "--json"});
    ASSERT_EQ(usb.code, 0) << usb.err;
    const auto only = nlohmann::json::parse(usb.out);
    ASSERT_EQ(only.size(), 1u);
    EXPECT_EQ(only[0]["serial"], "U1");
    EXPECT_EQ(nlohmann::json::parse(tool.Run({"list", "--tl", "cxp", "--json"}).out).size(), 0u);

    EXPECT_EQ(tool.Run({"list", "--tl", "firewire"}).code, 2);
    EXPECT_EQ(tool.Run({"list", "--bogus"}).code, 2);
    EXPECT_EQ(tool.Run({}).code, 2);
}

// A copy of the library with a good, a broken and a linked producer beside it:
// `producers` names each with its reason, and `list` says why no camera came.
TEST(LumocamTest, ProducersAndAnEmptyListSayWhatWasTriedAndWhy) {
    Lumocam tool;
    const fs::path lib = tool.Dir() / "lib";
    fs::create_directories(lib);
    fs::copy_file(fs::path(LUMO_LIB_DIR) / "libLumoGenICam.so.0", lib / "libLumoGenICam.so.0");
    fs::copy_file(fs::path(LUMO_LIB_DIR) / "LumoSim.cti", lib / "good.cti");
    tool.Scenario().Write("lib/broken.cti", "not a library\n");
    fs::create_symlink(lib / "good.cti", lib / "linked.cti");
    tool.Env("LD_LIBRARY_PATH", lib.string());

    const Result text = tool.Run({"producers"});
    ASSERT_EQ(text.code, 0) << text.err;
    const auto line = [&](const std::string& file) {
        const auto at = text.out.find(file);
        return at == std::string::npos
                   ? std::string()
                   : text.out.substr(text.out.rfind('\n', at) + 1,
                                     text.out.find('\n', at) - text.out.rfind('\n', at) - 1);
    };
    EXPECT_NE(line("good.cti").find("loaded"), std::string::npos) << text.out;
    EXPECT_NE(line("broken.cti").find("not a loadable shared library"), std::string::npos)
        << text.out;
    EXPECT_NE(line("linked.cti").find("GENICAM_GENTL64_PATH"), std::string::npos) << text.out;

    const Result json = tool.Run({"producers", "--json"});
    ASSERT_EQ(json.code, 0) << json.err;
    const auto reports = nlohmann::json::parse(json.out);
    ASSERT_EQ(reports.size(), 3u) << json.out;
    for (const auto& report : reports) {
        EXPECT_TRUE(report.contains("path") && report.contains("state")) << report;
    }

    // Without cameras the list explains itself.
    tool.Scenario().Write("sim.json", R"({"interfaces": [{"id": "IF0", "devices": []}]})");
    const Result list = tool.Run({"list"});
    ASSERT_EQ(list.code, 0) << list.err;
    EXPECT_NE(list.out.find("No cameras found"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("broken.cti"), std::string::npos) << list.out;
}

TEST(LumocamTest, InfoShowsRecordDescriptionFilesAndFeatureTree) {
    Lumocam tool;
    const Result info = tool.Run({"info", "G1"});
    ASSERT_EQ(info.code, 0) << info.err;
    for (const char* text : {"10.0.0.7", "left", "Description files", "Width", "PixelFormat"}) {
        EXPECT_NE(info.out.find(text), std::string::npos) << text << "\n" << info.out;
    }
    // Five modules, each with a non-empty XML description.
    for (const char* module : {"system", "interface", "device", "remote", "stream"}) {
        std::string label = module;
        label.resize(10, ' ');  // the column the description files are listed in
        const auto line = info.out.find("\n  " + label + " ");
        ASSERT_NE(line, std::string::npos) << module;
        const std::string rest = info.out.substr(line, info.out.find('\n', line + 1) - line);
        EXPECT_NE(rest.find(" XML "), std::string::npos) << rest;
        EXPECT_EQ(rest.find(" 0 bytes"), std::string::npos) << rest;
    }
    EXPECT_EQ(tool.Run({"info", "7"}).code, 3);
    EXPECT_EQ(tool.Run({"info", "G1", "--module", "nowhere"}).code, 2);
}

TEST(LumocamTest, GetAndSetReportEachKindOfFailureWithItsExitCode) {
    Lumocam tool;
    Result r = tool.Run({"get", "1", "Width"});  // index 1 is G2
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "640\n");
    EXPECT_EQ(tool.Run({"get", "G1", "PixelFormat"}).out, "BayerRG8\n");
    EXPECT_EQ(tool.Run({"get", "U1", "EnablePacketResend", "--module", "stream"}).code, 0);

    r = tool.Run({"set", "G1", "Width", "320"});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "Width = 320\n");
    EXPECT_EQ(tool.Run({"set", "G1", "PixelFormat", "Mono8"}).out, "PixelFormat = Mono8\n");
    EXPECT_EQ(tool.Run({"set", "G1", "AcquisitionFrameRate", "12.5"}).out,
              "AcquisitionFrameRate = 12.5\n");
    EXPECT_EQ(tool.Run({"set", "G1", "ChunkModeActive", "true"}).out, "ChunkModeActive = true\n");
    EXPECT_EQ(tool.Run({"set", "G1", "DeviceUserID", "bench 3"}).out, "DeviceUserID = bench 3\n");
    EXPECT_EQ(tool.Run({"set", "G1", "TriggerSoftware", "exec"}).code, 0);
    EXPECT_EQ(tool.Run({"set", "G1", "TriggerSoftware"}).code, 0);

    r = tool.Run({"get", "G9", "Width"});
    EXPECT_EQ(r.code, 3);
    EXPECT_NE(r.err.find("G9"), std::string::npos);
    r = tool.Run({"get", "G1", "width"});
    EXPECT_EQ(r.code, 4);
    EXPECT_NE(r.err.find("did you mean 'Width'"), std::string::npos) << r.err;
    EXPECT_EQ(tool.Run({"set", "G1", "NoSuchFeature", "1"}).code, 4);
    r = tool.Run({"set", "G1", "PayloadSize", "5"});
    EXPECT_EQ(r.code, 5);
    EXPECT_NE(r.err.find("read-only"), std::string::npos) << r.err;
    r = tool.Run({"set", "G1", "Width", "5000"});
    EXPECT_EQ(r.code, 6);
    EXPECT_NE(r.err.find("out of range"), std::string::npos) << r.err;
    EXPECT_EQ(tool.Run({"set", "G1", "Width", "-1"}).code, 6);
    EXPECT_EQ(tool.Run({"set", "G1", "Width", "12abc"}).code, 6);
    EXPECT_EQ(tool.Run({"set", "G1", "AcquisitionFrameRate", "fast"}).code, 6);
    EXPECT_EQ(tool.Run({"set", "G1", "ChunkModeActive", "maybe"}).code, 6);
    r = tool.Run({"set", "G1", "PixelFormat", "Mono9"});
    EXPECT_EQ(r.code, 6);
    EXPECT_NE(r.err.find("BayerRG8"), std::string::npos) << "names the valid entries";
    EXPECT_EQ(tool.Run({"set", "G1", "TriggerSoftware", "now"}).code, 6);
    EXPECT_EQ(tool.Run({"set", "G1", "Width"}).code, 2);
    EXPECT_EQ(tool.Run({"get", "G1", "AcquisitionStart"}).code, 2);
}

TEST(LumocamTest, GrabSavesPngAndRawFramesAndCountsThem) {
    Lumocam tool;
    const Result r = tool.Run({"grab", "G1", "-n", "4", "--save", "frames", "--raw"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("frames received: 4\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("incomplete: 0\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("dropped (by frame ID): 0\n"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("grabbing: 4/4"), std::string::npos) << "progress line";
    for (int id = 1; id <= 4; ++id) {
        const std::string name = "frames/frame-00000" + std::to_string(id);
        ExpectColourBars(Decode(tool.Dir() / (name + ".png")), name);
        EXPECT_EQ(fs::file_size(tool.Dir() / (name + ".raw")), 640u * 480u) << "BayerRG8 bytes";
    }

    const Result yuv = tool.Run({"grab", "G1", "-n", "2", "--format", "YUV422_8_UYVY", "--save",
                                 "yuv", "--strategy", "upcoming"});
    ASSERT_EQ(yuv.code, 0) << yuv.err;
    EXPECT_NE(yuv.out.find("YUV422_8_UYVY"), std::string::npos);
    for (const auto& file : fs::directory_iterator(tool.Dir() / "yuv")) {
        ExpectColourBars(Decode(file.path()), file.path().string());
    }
    const Result mono = tool.Run({"grab", "G2", "-n", "1", "--format", "Mono8", "--save", "m"});
    ASSERT_EQ(mono.code, 0) << mono.err;
    ExpectMonoBars(Decode(tool.Dir() / "m/frame-000001.png"), "Mono8");

    EXPECT_EQ(tool.Run({"grab", "G1", "--strategy", "oldest"}).code, 2);
    EXPECT_EQ(tool.Run({"grab", "G1", "-n", "0"}).code, 2);
    EXPECT_EQ(tool.Run({"grab", "G1", "--raw"}).code, 2);
    EXPECT_EQ(tool.Run({"grab", "G1", "--format", "Mono9"}).code, 6);
    fs::create_directories(tool.Dir() / "blocked");
    std::ofstream(tool.Dir() / "blocked" / "file") << "x";
    EXPECT_EQ(tool.Run({"grab", "G1", "-n", "1", "--save", "blocked/file"}).code, 1);
}

TEST(LumocamTest, GrabCountsIncompleteAndSkippedFrames) {
    Lumocam tool(Config(R"({"incompleteEvery": 2})"));
    const Result r = tool.Run({"grab", "U1", "-n", "6", "--save", "out"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("frames received: 6\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("incomplete: 3\n"), std::string::npos) << r.out;
    // Incomplete frames are counted but not converted.
    int pngs = 0;
    for (const auto& file : fs::directory_iterator(tool.Dir() / "out")) {
        pngs += file.path().extension() == ".png";
    }
    EXPECT_EQ(pngs, 3);

    // The latest strategy hands out the newest frame only. Saving a 640 x 480
    // PNG takes milliseconds; the camera sends a frame every half millisecond
    // (and loses frames it has no buffer for), so frame IDs must jump.
    Lumocam fast(R"({"interfaces": [{"id": "IF1", "tlType": "U3V", "devices": [
        {"id": "DEV_U1", "tlType": "U3V", "serial": "U1", "sensorWidth": 640,
         "sensorHeight": 480, "pixelFormats": ["Mono8"], "frameRate": 2000}]}]})");
    const Result latest =
        fast.Run({"grab", "U1", "-n", "5", "--strategy", "latest", "--save", "out"});
    ASSERT_EQ(latest.code, 0) << latest.err;
    EXPECT_NE(latest.out.find("frames received: 5\n"), std::string::npos);
    // The frame IDs in the file names give the count the tool must report.
    std::vector<unsigned long long> ids;
    for (const auto& file : fs::directory_iterator(fast.Dir() / "out")) {
        ids.push_back(std::stoull(file.path().stem().string().substr(6)));  // "frame-"
    }
    ASSERT_EQ(ids.size(), 5u);
    std::sort(ids.begin(), ids.end());
    const unsigned long long skipped = ids.back() - ids.front() - (ids.size() - 1);
    EXPECT_GT(skipped, 0u);
    EXPECT_NE(latest.out.find("dropped (by frame ID): " + std::to_string(skipped) + "\n"),
              std::string::npos)
        << latest.out;
}

TEST(LumocamTest, DemoRunsOnTheDefaultCameraAndWritesPictures) {
    ScenarioDir dir;
    Lumocam tool("{}");  // no interfaces key: the producer's default camera
    const Result r = tool.Run({"demo", "--out", "pictures"});
    ASSERT_EQ(r.code, 0) << r.out << r.err;
    for (const char* text : {"one-by-one", "latest", "upcoming", "Summary"}) {
        EXPECT_NE(r.out.find(text), std::string::npos) << text << "\n" << r.out;
    }
    ExpectColourBars(Decode(tool.Dir() / "pictures/bayerrg8.png"), "demo Bayer");
    ExpectColourBars(Decode(tool.Dir() / "pictures/yuv422_8_uyvy.png"), "demo YUV");
    ExpectMonoBars(Decode(tool.Dir() / "pictures/mono8.png"), "demo Mono8");
}
