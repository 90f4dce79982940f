// lumocam against the fake camera, from a scenario directory that holds the library, the
// producer and the tool.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "FakeCamera.h"
#include "ScenarioDir.h"

using namespace lumo_gev;

namespace {

constexpr const char* kSerial = "GEVCLI1";

class GevLumocam : public ::testing::Test {
protected:
    void SetUp() override {
        LUMO_REQUIRE_LOOPBACK_ONLY();
        dir.Copy(std::filesystem::path(LUMO_LIB_DIR) / "libLumoGenICam.so.0");
        dir.Copy(LUMO_GEV_CTI);
        dir.Copy(std::filesystem::path(LUMO_BIN_DIR) / "lumocam");
        camera = std::make_unique<FakeCamera>(kSerial);
        ASSERT_TRUE(camera->Running());
    }

    // Runs lumocam in the scenario directory; returns its exit code, fills `out`.
    int Lumocam(const std::string& args, std::string& out) {
        const std::string cmd =
            "cd '" + dir.Path().string() + "' && LD_LIBRARY_PATH=. ./lumocam " + args + " 2>&1";
        out.clear();
        FILE* pipe = popen(cmd.c_str(), "r");
        if (pipe == nullptr)
            return -1;
        char chunk[512];
        while (size_t n = fread(chunk, 1, sizeof chunk, pipe))
            out.append(chunk, n);
        const int status = pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    ScenarioDir dir;
    std::unique_ptr<FakeCamera> camera;
};

TEST_F(GevLumocam, ListInfoGetSetAndGrabWork) {
    std::string out;
    ASSERT_EQ(0, Lumocam("list", out)) << out;
    EXPECT_NE(std::string::npos, out.find(kSerial)) << out;
    EXPECT_NE(std::string::npos, out.find("127.0.0.1")) << out;
    EXPECT_NE(std::string::npos, out.find("GEV")) << out;

    ASSERT_EQ(0, Lumocam(std::string("info ") + kSerial + " --module stream", out)) << out;
    EXPECT_NE(std::string::npos, out.find("LumoGevStream")) << out;
    EXPECT_NE(std::string::npos, out.find("arv-fake-camera")) << out;
    EXPECT_NE(std::string::npos, out.find("StreamDeliveredFrameCount")) << out;

    ASSERT_EQ(0, Lumocam(std::string("get ") + kSerial + " Width", out)) << out;
    EXPECT_EQ("512\n", out);
    // Every call opens the camera anew: a value set by one is read back by the next.
    ASSERT_EQ(0, Lumocam(std::string("set ") + kSerial + " Width 320", out)) << out;
    ASSERT_EQ(0, Lumocam(std::string("get ") + kSerial + " Width", out)) << out;
    EXPECT_EQ("320\n", out);
    EXPECT_EQ(4, Lumocam(std::string("get ") + kSerial + " NoSuchFeature", out)) << out;
    EXPECT_EQ(3, Lumocam("get NOSUCHCAMERA Width", out)) << out;

    ASSERT_EQ(0, Lumocam(std::string("grab ") + kSerial + " -n 5 --save png", out)) << out;
    size_t pngs = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir.Path() / "png"))
        pngs += e.path().extension() == ".png" && e.file_size() > 0 ? 1 : 0;
    EXPECT_EQ(5u, pngs) << out;
}

}  // namespace
