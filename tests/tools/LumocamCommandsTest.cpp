// lumocam's commands for commissioning a camera: selection, describe, several
// settings at once, info --json, xml, save/load, the simulator's memory of
// settings, chunk and event lines, deep PNGs and sidecars, the statistics line
// on a terminal and off it, and the exit code of every error class.
#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>

#include <chrono>
#include <csetjmp>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "LumocamRunner.h"

namespace fs = std::filesystem;
using namespace lumotest;
using nlohmann::json;

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Cameras whose selectors collide: serial "0" against index 0, and one serial
// reported twice (as by two producers). Models tell them apart.
std::string SelectionConfig() {
    const auto device = [](const std::string& id, const std::string& model,
                           const std::string& serial, const std::string& extra) {
        return R"({"id": ")" + id + R"(", "tlType": "GEV", "model": ")" + model +
               R"(", "serial": ")" + serial +
               R"(", "sensorWidth": 64, "sensorHeight": 48, "pixelFormats": ["Mono8"])" + extra +
               "}";
    };
    const auto gev = [](const std::string& ip) {
        return R"(, "gev": {"mac": [1,2,3,4,5,6], "ip": ")" + ip +
               R"(", "subnet": "255.0.0.0", "gateway": "10.0.0.1", "text": "t",
               "addr5": "0.0.0.0", "addr6": "0.0.0.0"})";
    };
    return R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [)" +
           device("D0", "first", "G1", R"(, "userName": "left")" + gev("10.0.0.7")) + ", " +
           device("D1", "zero", "0", gev("10.0.0.8")) + ", " +
           device("D2", "dup-a", "DUP", gev("10.0.0.9")) + "]}, " +
           R"({"id": "IF1", "tlType": "GEV", "devices": [)" +
           device("D3", "dup-b", "DUP", gev("10.0.0.10")) + ", " +
           device("D4", "held", "BUSY", R"(, "accessStatus": 4)" + gev("10.0.0.11")) + "]}]}";
}

TEST(LumocamCommandsTest, CameraSelectionIsNeverSilentlyAmbiguous) {
    Lumocam tool(SelectionConfig());
    struct Case {
        const char* selector;
        int code;
        const char* expected;  // the model on success, a part of the message otherwise
    };
    const Case cases[] = {
        {"index:0", 0, "first"},
        {"2", 0, "dup-a"},
        {"sn:0", 0, "zero"},
        {"name:left", 0, "first"},
        {"left", 0, "first"},
        {"ip:10.0.0.8", 0, "zero"},
        {"10.0.0.8", 0, "zero"},
        {"0", 2, "#1 serial 0"},      // index 0 and serial "0" are two cameras
        {"DUP", 2, "#3 serial DUP"},  // one serial, two cameras
        {"sn:DUP", 2, "#2 serial DUP"},
        {"nobody", 3, "'nobody'"},
        {"9", 3, "index 9"},
        {"index:x", 2, "index: needs a number"},
        {"sn:", 3, "serial number ''"},
    };
    for (const Case& c : cases) {
        const Result r = tool.Run({"get", c.selector, "DeviceModelName"});
        EXPECT_EQ(r.code, c.code) << c.selector << "\n" << r.err;
        EXPECT_TRUE(Contains(c.code == 0 ? r.out : r.err, c.expected)) << c.selector << "\n"
                                                                       << r.out << r.err;
    }
    // A filtered list keeps the indices that select.
    const json u3v = json::parse(tool.Run({"list", "--tl", "gev", "--json"}).out);
    ASSERT_EQ(u3v.size(), 5u);
    EXPECT_EQ(u3v[4]["index"], 4);
}

TEST(LumocamCommandsTest, EveryErrorClassHasItsExitCodeAndSaysWhy) {
    Lumocam tool(SelectionConfig().substr(0, SelectionConfig().size() - 1) +
                 R"(, "faults": {"bufferInfo": {"20": 1}}})");
    tool.Scenario().Write("bad.txt", "Width\n");
    struct Case {
        std::vector<std::string> args;
        int code;
        const char* message;  // in stderr (stdout for code 0)
    };
    const Case cases[] = {
        {{"--version"}, 0, "lumocam 0."},
        {{"help"}, 0, "describe"},
        {{"help", "grab"}, 0, "--depth"},
        {{"list", "--tl", "gev", "--tl", "u3v"}, 0, "BUSY"},
        {{"get", "G1", "Width", "--module", "remote"}, 0, "64"},
        {{"xml", "G1", "--out", "/dev/full"}, 1, "No space left on device"},
        {{"xml", "G1", "--out", "no/such/dir/x.xml"}, 1, "No such file or directory"},
        {{"load", "G1", "missing.txt"}, 1, "No such file or directory"},
        {{"load", "G1", "bad.txt"}, 1, "not a settings file"},
        {{"grab", "G1", "-n", "1", "--save", "d"}, 1, "not saved as PNG"},
        {{}, 2, "a command is needed"},
        {{"lsit"}, 2, "did you mean list?"},
        {{"help", "grb"}, 2, "did you mean grab?"},
        {{"grab", "G1", "-n", "0"}, 2, "'0' is not a frame count"},
        {{"grab", "G1", "-n", "abc"}, 2, "'abc' is not a frame count"},
        {{"grab", "G1", "--timeout", "0"}, 2, "'0' is not a time-out in milliseconds"},
        {{"grab", "G1", "--strategy", "latst"}, 2, "did you mean latest?"},
        {{"grab", "G1", "--depth", "12"}, 2, "'12' is not a PNG depth (8, 16)"},
        {{"set", "G1", "Width=32", "Height"}, 2, "Height needs a value"},
        {{"info", "7"}, 3, "no camera at index 7"},
        {{"get", "G1", "Widht"}, 4, "no feature 'Widht'"},
        {{"set", "G1", "PayloadSize=5"}, 5, "read-only"},
        {{"set", "G1", "Width=5000"}, 6, "out of range"},
        {{"get", "BUSY", "Width"}, 7, "held by another application"},
    };
    for (const Case& c : cases) {
        const Result r = tool.Run(c.args);
        std::string line;
        for (const auto& a : c.args) {
            line += a + " ";
        }
        EXPECT_EQ(r.code, c.code) << line << "\n" << r.out << r.err;
        EXPECT_TRUE(Contains(c.code == 0 ? r.out : r.err, c.message)) << line << "\n"
                                                                      << r.out << r.err;
        EXPECT_FALSE(Contains(r.err, "Value 0 not in range")) << "CLI11's own text: " << line;
    }
}

TEST(LumocamCommandsTest, SettingsApplyInOrderBeforeAcquisitionToo) {
    Lumocam tool;
    Result r = tool.Run({"set", "G1", "Width=320", "OffsetX=10", "PixelFormat=Mono8"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "Width = 320\nOffsetX = 10\nPixelFormat = Mono8\n");
    // The other order fails at the offset and says what was applied before.
    r = tool.Run({"set", "G1", "PixelFormat=Mono8", "OffsetX=10", "Width=320"});
    EXPECT_EQ(r.code, 6);
    EXPECT_TRUE(Contains(r.err, "OffsetX")) << r.err;
    EXPECT_TRUE(Contains(r.err, "already applied: PixelFormat")) << r.err;

    // A name that does not exist stops the command before anything is written.
    Lumocam remembering;
    remembering.Env("LUMOSIM_STATE", (remembering.Dir() / "state.json").string());
    r = remembering.Run({"set", "G1", "Width=320", "Widht=300"});
    EXPECT_EQ(r.code, 4);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(remembering.Run({"get", "G1", "Width"}).out, "640\n");

    r = tool.Run({"grab", "G1", "-n", "1", "--set", "Width=320", "OffsetX=10", "--chunks"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(Contains(r.out, "camera G1, 320x480")) << r.out;
    EXPECT_TRUE(Contains(r.out, "frame 1 chunks: ChunkFrameID=1 ")) << r.out;
    EXPECT_TRUE(Contains(r.out, "ChunkWidth=320")) << r.out;
}

TEST(LumocamCommandsTest, DescribeInfoAndXmlShowTheDescription) {
    Lumocam tool;
    Result r = tool.Run({"describe", "G1", "PixelFormat", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    const json format = json::parse(r.out);
    EXPECT_EQ(format["type"], "enumeration");
    EXPECT_EQ(format["access"], "RW");
    std::string current;
    for (const auto& entry : format["entries"]) {
        EXPECT_TRUE(entry["available"].get<bool>()) << entry;
        if (entry["current"].get<bool>()) {
            current = entry["name"];
        }
    }
    EXPECT_EQ(current, "BayerRG8");
    EXPECT_FALSE(format["toolTip"].get<std::string>().empty());

    const json width = json::parse(tool.Run({"describe", "G1", "Width", "--json"}).out);
    EXPECT_EQ(width["min"], "1");
    EXPECT_EQ(width["max"], "640");
    EXPECT_EQ(width["increment"], "1");
    EXPECT_EQ(width["unit"], "px");
    EXPECT_TRUE(width["streamable"].get<bool>());
    r = tool.Run({"describe", "G1", "Gain"});
    ASSERT_EQ(r.code, 0) << r.err;
    for (const char* row :
         {"type            float", "unit            dB", "tooltip", "description"}) {
        EXPECT_TRUE(Contains(r.out, row)) << row << "\n" << r.out;
    }

    // The feature tree nests categories; addresses read dotted.
    r = tool.Run({"info", "G1", "--json"});
    ASSERT_EQ(r.code, 0) << r.err;
    const json info = json::parse(r.out);
    EXPECT_EQ(info["device"]["serial"], "G1");
    EXPECT_EQ(info["device"]["ip"], "10.0.0.7");
    EXPECT_EQ(info["descriptionFiles"].size(), 5u);
    const std::function<const json*(const json&, const std::vector<std::string>&, size_t)> find =
        [&](const json& node, const std::vector<std::string>& path, size_t at) -> const json* {
        if (node["name"] != path[at]) {
            return nullptr;
        }
        if (at + 1 == path.size()) {
            return &node;
        }
        if (!node.contains("features")) {
            return nullptr;
        }
        for (const auto& child : node.at("features")) {
            if (const json* hit = find(child, path, at + 1)) {
                return hit;
            }
        }
        return nullptr;
    };
    const json* packet = find(
        info["features"], {"Root", "TransportLayerControl", "GigEVision", "GevSCPSPacketSize"}, 0);
    ASSERT_NE(packet, nullptr) << r.out;
    EXPECT_EQ((*packet)["unit"], "B");
    const json* gain = find(info["features"], {"Root", "AnalogControl", "Gain"}, 0);
    ASSERT_NE(gain, nullptr);
    const json device = json::parse(tool.Run({"info", "G1", "--json", "--module", "device"}).out);
    const json* ip =
        find(device["features"], {"Root", "DeviceNetworkInformation", "GevDeviceIPAddress"}, 0);
    ASSERT_NE(ip, nullptr);
    EXPECT_EQ((*ip)["value"], "10.0.0.7");
    EXPECT_TRUE(Contains(tool.Run({"info", "G1", "--module", "device"}).out, "255.0.0.0"));

    r = tool.Run({"xml", "G1"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out.rfind("<?xml", 0), 0u);
    EXPECT_TRUE(Contains(r.out, "<Category Name=\"ImageFormatControl\""));
    ASSERT_EQ(tool.Run({"xml", "G1", "--out", "camera.xml"}).code, 0);
    EXPECT_EQ(ReadText(tool.Dir() / "camera.xml"), r.out);
}

void CollectNames(const json& node, std::multiset<std::string>& names) {
    names.insert(node["name"].get<std::string>());
    if (node.contains("features")) {
        for (const auto& child : node.at("features")) {
            CollectNames(child, names);
        }
    }
}

// Every feature a description lists in a category is in the tree below Root,
// once; with categories nested, none may be left hanging outside it.
TEST(LumocamCommandsTest, EveryListedFeatureIsInTheTreeOnce) {
    Lumocam tool(R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [
        {"id": "D0", "tlType": "GEV", "serial": "GEV1", "pixelFormats": ["Mono8", "Mono16"],
         "pgrPixelBigEndian": true},
        {"id": "D1", "tlType": "U3V", "serial": "USB1", "pixelFormats": ["Mono8"]},
        {"id": "D2", "tlType": "CL", "serial": "CL1", "pixelFormats": ["Mono8"],
         "remotePort": false}]}]})");
    for (const char* camera : {"GEV1", "USB1", "CL1"}) {
        for (const char* module : {"system", "interface", "device", "remote", "stream"}) {
            if (std::string(camera) == "CL1" && std::string(module) == "remote") {
                continue;  // no remote port: the camera is in the device module
            }
            const Result xml = tool.Run({"xml", camera, "--module", module});
            const Result info = tool.Run({"info", camera, "--module", module, "--json"});
            ASSERT_EQ(xml.code, 0) << camera << " " << module << xml.err;
            ASSERT_EQ(info.code, 0) << camera << " " << module << info.err;
            std::set<std::string> inDescription{"Root"};
            const std::string open = "<pFeature>";
            for (auto at = xml.out.find(open); at != std::string::npos;
                 at = xml.out.find(open, at + 1)) {
                const auto start = at + open.size();
                inDescription.insert(xml.out.substr(start, xml.out.find('<', start) - start));
            }
            std::multiset<std::string> inTree;
            CollectNames(json::parse(info.out)["features"], inTree);
            EXPECT_EQ(std::set<std::string>(inTree.begin(), inTree.end()), inDescription)
                << camera << " " << module;
            EXPECT_EQ(inTree.size(), inDescription.size()) << camera << " " << module;
        }
    }
    // Values that cannot be read now show a short reason, not the exception.
    const Result text = tool.Run({"info", "GEV1"});
    const auto line = text.out.find("ChunkFrameID");
    ASSERT_NE(line, std::string::npos) << text.out;
    EXPECT_EQ(text.out.substr(line, text.out.find('\n', line) - line).find("(not available now)") !=
                  std::string::npos,
              true)
        << text.out;
}

// Settings survive the process only when a state file is named, as the
// README's walk-through asks for.
TEST(LumocamCommandsTest, SaveLoadAndTheSimulatorsMemoryOfSettings) {
    Lumocam forgetful;
    ASSERT_EQ(forgetful.Run({"set", "G1", "Width=320"}).code, 0);
    EXPECT_EQ(forgetful.Run({"get", "G1", "Width"}).out, "640\n");

    Lumocam tool;
    tool.Env("LUMOSIM_STATE", (tool.Dir() / "state.json").string());
    ASSERT_EQ(tool.Run({"set", "G1", "Width=320", "OffsetX=16", "DeviceUserID=bench"}).code, 0);
    EXPECT_EQ(tool.Run({"get", "G1", "OffsetX"}).out, "16\n");
    EXPECT_EQ(tool.Run({"get", "G1", "DeviceUserID"}).out, "bench\n");
    EXPECT_EQ(tool.Run({"get", "G2", "Width"}).out, "640\n") << "kept per camera";

    Result r = tool.Run({"save", "G1", "g1.txt"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(Contains(ReadText(tool.Dir() / "g1.txt"), "OffsetX\t16")) << r.out;
    ASSERT_EQ(tool.Run({"set", "G1", "OffsetX=0", "Width=640"}).code, 0);
    r = tool.Run({"load", "G1", "g1.txt"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(tool.Run({"get", "G1", "Width"}).out, "320\n");

    // What the camera refuses is named; the rest is applied; the code says so.
    tool.Scenario().Write("partial.txt", "Gain\t2.5\nWidth\t9999\n");
    r = tool.Run({"load", "G1", "partial.txt"});
    EXPECT_EQ(r.code, 6);
    EXPECT_TRUE(Contains(r.err, "Width")) << r.err;
    EXPECT_EQ(tool.Run({"get", "G1", "Gain"}).out, "2.5\n");
}

struct Png16 {
    unsigned width = 0;
    unsigned height = 0;
    int bitDepth = 0;
    int colorType = -1;
    std::vector<std::uint16_t> samples;
};

Png16 ReadPng(const fs::path& path) {
    Png16 picture;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        ADD_FAILURE() << "cannot open " << path;
        return picture;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        ADD_FAILURE() << "cannot decode " << path;
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return picture;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    picture.width = png_get_image_width(png, info);
    picture.height = png_get_image_height(png, info);
    picture.bitDepth = png_get_bit_depth(png, info);
    picture.colorType = png_get_color_type(png, info);
    if (picture.bitDepth == 16 && picture.colorType == PNG_COLOR_TYPE_GRAY) {
        png_set_swap(png);  // host order on this little-endian machine
        picture.samples.resize(std::size_t{picture.width} * picture.height);
        for (unsigned y = 0; y < picture.height; ++y) {
            png_read_row(png, reinterpret_cast<png_bytep>(&picture.samples[y * picture.width]),
                         nullptr);
        }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return picture;
}

TEST(LumocamCommandsTest, DeepPngsAndRawSidecarsCarryWhatTheFrameIs) {
    Lumocam tool;
    // Mono12 at full scale: the white bar is near 0xFFFF, the black one far below.
    Result r =
        tool.Run({"grab", "G1", "-n", "1", "--format", "Mono12", "--save", "m12", "--depth", "16"});
    ASSERT_EQ(r.code, 0) << r.err;
    Png16 mono = ReadPng(tool.Dir() / "m12/frame-000001.png");
    ASSERT_EQ(mono.bitDepth, 16);
    ASSERT_EQ(mono.width, 640u);
    EXPECT_GT(mono.samples[20 * 640 + 10], 0xF000) << "white bar";
    EXPECT_LT(mono.samples[20 * 640 + 7 * 80 + 10], 0x2000) << "black bar";

    // Raw Bayer: the mosaic itself, grey, one sample per pixel: red and blue
    // sites of the red bar differ.
    r = tool.Run({"grab", "G1", "-n", "1", "--format", "BayerRG12p", "--save", "bayer", "--depth",
                  "16", "--raw", "--chunks"});
    ASSERT_EQ(r.code, 0) << r.err;
    Png16 mosaic = ReadPng(tool.Dir() / "bayer/frame-000001.png");
    ASSERT_EQ(mosaic.bitDepth, 16);
    EXPECT_EQ(mosaic.colorType, PNG_COLOR_TYPE_GRAY);
    const std::size_t redBar = 20 * 640 + 5 * 80 + 10;  // even row, even column: a red site
    EXPECT_GT(mosaic.samples[redBar], 0xF000);
    EXPECT_LT(mosaic.samples[redBar + 640 + 1], 0x2000) << "its blue neighbour";

    const json sidecar = json::parse(ReadText(tool.Dir() / "bayer/frame-000001.json"));
    EXPECT_EQ(sidecar["width"], 640);
    EXPECT_EQ(sidecar["height"], 480);
    EXPECT_EQ(sidecar["pixelFormat"], "BayerRG12p");
    EXPECT_EQ(sidecar["pixelFormatCode"], 0x010C0059);
    EXPECT_EQ(sidecar["frameId"], 1);
    EXPECT_EQ(sidecar["chunks"]["ChunkFrameID"], "1");
    EXPECT_EQ(sidecar["payloadSize"], fs::file_size(tool.Dir() / "bayer/frame-000001.raw"));

    // A colour format has no 16-bit form: said before anything is grabbed.
    r = tool.Run({"grab", "G1", "-n", "1", "--format", "RGB8", "--save", "rgb", "--depth", "16"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(Contains(r.err, "16-bit PNG is for mono and raw Bayer formats")) << r.err;
    EXPECT_FALSE(fs::exists(tool.Dir() / "rgb"));
}

TEST(LumocamCommandsTest, EventsArePrintedWithTheFrames) {
    Lumocam tool(R"({"events": {"remoteDeviceEvery": 1}})");
    const Result r = tool.Run({"grab", "0", "-n", "3", "--events"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(Contains(r.out, "remote device event from the remote device")) << r.out;
    EXPECT_TRUE(Contains(r.out, "9001")) << "the event ID travels in the data\n" << r.out;
}

TEST(LumocamCommandsTest, StatisticsRedrawOnATerminalAndAddLinesElsewhere) {
    Lumocam tool;
    // 150 frames at 100 frames/s: one line during the grab, one at its end.
    const Result plain = tool.Run({"grab", "G1", "-n", "150"});
    ASSERT_EQ(plain.code, 0) << plain.err;
    EXPECT_FALSE(Contains(plain.err, "\r")) << "no carriage return in a file";
    EXPECT_TRUE(Contains(plain.err, "grabbing: 150/150 frames")) << plain.err;
    EXPECT_TRUE(Contains(plain.err, " fps, ")) << plain.err;
    EXPECT_TRUE(Contains(plain.err, " MB/s, 0 incomplete, 0 dropped\n")) << plain.err;
    EXPECT_GE(std::count(plain.err.begin(), plain.err.end(), '\n'), 2) << plain.err;

    const Result terminal = tool.RunOnTerminal({"grab", "G1", "-n", "150"});
    ASSERT_EQ(terminal.code, 0) << terminal.out;
    EXPECT_TRUE(Contains(terminal.out, "\rgrabbing: ")) << terminal.out;
    EXPECT_TRUE(Contains(terminal.out, "\rgrabbing: 150/150 frames")) << terminal.out;
}

TEST(LumocamCommandsTest, SigintAndSigtermBothStopCleanlyWithASummary) {
    const std::pair<int, int> signals[] = {{SIGINT, 130}, {SIGTERM, 143}};
    for (const auto& [signal, code] : signals) {
        Lumocam tool;
        const pid_t pid = tool.Start({"grab", "G1", "-n", "1000000"});
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!Contains(ReadText(tool.Dir() / "stdout.txt"), "camera G1") &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        ASSERT_EQ(kill(pid, signal), 0);
        const Result r = tool.Wait(pid);
        EXPECT_EQ(r.code, code) << r.err;
        EXPECT_TRUE(Contains(r.out, "frames received:")) << "summary for signal " << signal;
        EXPECT_TRUE(Contains(r.err, "acquisition stopped, buffers revoked, device closed"))
            << r.err;
        EXPECT_EQ(tool.Run({"get", "G1", "Width"}).code, 0) << "the device was closed";
    }
}

}  // namespace
