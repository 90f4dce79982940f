#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LumoGenICam.h"
#include "ScenarioRun.h"

using namespace VEXOGENICAM;
using lumo_test::InScenarioChild;
using lumo_test::LibraryScenario;
using lumo_test::RunInChild;
using lumo_test::ScenarioPath;
using lumo_test::SimCti;

namespace fs = std::filesystem;

namespace {

std::string OneCamera(const std::string& serial, const std::string& extra = "") {
    return R"({"interfaces": [{"id": "IF0", "tlType": "GEV", "devices": [{"id": "D0", "serial": ")" +
           serial + R"("}]}])" + extra + "}";
}

std::string Fault(const std::string& function, int code) {
    return R"(, "faults": {"calls": [{"function": ")" + function + R"(", "error": )" +
           std::to_string(code) + R"(, "mode": "always"}]})";
}

std::vector<std::string> Serials() {
    std::vector<std::string> serials;
    for (ICameraInfo* info : Discovery(nullptr)) {
        serials.emplace_back(info->GetSN());
        info->Release();
    }
    return serials;
}

// The child's view: the variable points into the scenario folder.
void SetSearchPath(const std::string& entries) {
    std::string value;
    std::string::size_type start = 0;
    while (start <= entries.size()) {
        const auto end = entries.find(':', start);
        const std::string entry = entries.substr(start, end - start);
        value += (value.empty() ? "" : ":") + (ScenarioPath() / entry).string();
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
    setenv("GENICAM_GENTL64_PATH", value.c_str(), 1);
}

const ProducerReport* Find(const std::list<ProducerReport>& reports, const std::string& file) {
    for (const ProducerReport& report : reports) {
        if (fs::path(report.path).filename() == file) {
            return &report;
        }
    }
    return nullptr;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

// A vendor's producer in its own folder is found through the variable, named
// as a folder or as a file, with the full path in its report; a bare name
// still means the library's folder.
TEST(ProducerSearchTest, TheVariableFindsProducersInFoldersAndFiles) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), OneCamera("BESIDE"), "beside.cti");
        fs::create_directories(dir.Path() / "vendor" / "bin");
        fs::create_directories(dir.Path() / "other");
        fs::copy_file(SimCti(), dir.Path() / "vendor" / "bin" / "Vendor.cti");
        dir.Write("vendor/bin/Vendor.json", OneCamera("VENDOR"));
        fs::copy_file(SimCti(), dir.Path() / "other" / "single.cti");
        dir.Write("other/single.json", OneCamera("SINGLE"));
        return RunInChild(dir);
    }
    SetSearchPath("vendor/bin:other/single.cti");
    Init();
    EXPECT_EQ(Serials(), (std::vector<std::string>{"BESIDE", "VENDOR", "SINGLE"}));
    const auto reports = GetProducerReports();
    ASSERT_EQ(reports.size(), 3u);
    const ProducerReport* vendor = Find(reports, "Vendor.cti");
    ASSERT_NE(vendor, nullptr);
    EXPECT_EQ(vendor->state, PRODUCER_STATE::PRODUCER_LOADED);
    EXPECT_EQ(vendor->origin, "GENICAM_GENTL64_PATH");
    EXPECT_EQ(vendor->path, (ScenarioPath() / "vendor/bin/Vendor.cti").string());
    EXPECT_EQ(vendor->tlType, "GEV");
    EXPECT_EQ(vendor->interfaceCount, 1u);
    EXPECT_FALSE(vendor->vendor.empty());
    EXPECT_EQ(Find(reports, "beside.cti")->origin, "library folder");

    // A bare name is looked for beside the library only.
    EXPECT_TRUE(Discovery("Vendor.cti").empty());
    auto byPath = Discovery((ScenarioPath() / "vendor/bin/Vendor.cti").c_str());
    ASSERT_EQ(byPath.size(), 1u);
    EXPECT_STREQ(byPath.front()->GetSN(), "VENDOR");
    byPath.front()->Release();
    UnInit();
}

// The same file reached twice (folder and file entry, a link to it, the
// library's own folder) is loaded once; the repeats are reported as skipped.
TEST(ProducerSearchTest, OneFileReachedSeveralWaysIsLoadedOnce) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), OneCamera("BESIDE"), "beside.cti");
        fs::create_directories(dir.Path() / "vendor");
        fs::copy_file(SimCti(), dir.Path() / "vendor" / "v.cti");
        dir.Write("vendor/v.json", OneCamera("VENDOR"));
        fs::create_directories(dir.Path() / "links");
        fs::create_symlink(dir.Path() / "vendor" / "v.cti", dir.Path() / "links" / "alias.cti");
        return RunInChild(dir);
    }
    SetSearchPath("vendor:vendor/v.cti:links:.");
    Init();
    EXPECT_EQ(Serials(), (std::vector<std::string>{"BESIDE", "VENDOR"}));
    const auto reports = GetProducerReports();
    int loaded = 0;
    int skipped = 0;
    for (const ProducerReport& report : reports) {
        loaded += report.state == PRODUCER_STATE::PRODUCER_LOADED;
        if (report.state == PRODUCER_STATE::PRODUCER_SKIPPED) {
            ++skipped;
            EXPECT_NE(report.reason.find("same file"), std::string::npos) << report.path;
        }
    }
    EXPECT_EQ(loaded, 2);
    EXPECT_EQ(skipped, 3);  // v.cti as a file, alias.cti, beside.cti through "."
    UnInit();
}

// Every way a producer can fail to load is reported with the step, the GenTL
// code and the producer's own text, and written to the log.
TEST(ProducerSearchTest, EveryLoadingFailureIsReportedWithItsStepAndCode) {
    struct Case {
        std::string file;
        std::string step;
        int code;
    };
    const std::vector<Case> cases = {
        {"initlib.cti", "GCInitLib", -1010},
        {"tlopen.cti", "TLOpen", -1004},
        {"update.cti", "TLUpdateInterfaceList", -1005},
        {"count.cti", "TLGetNumInterfaces", -1011},
        {"ifid.cti", "TLGetInterfaceID", -1001},
        {"ifopen.cti", "TLOpenInterface", -1006},
    };
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        for (const Case& c : cases) {
            dir.AddProducer(SimCti(), OneCamera("X", Fault(c.step, c.code)), c.file);
        }
        dir.AddProducer(SimCti(), R"({"interfaces": [{"id": "IF0", "bogusKey": 1}]})",
                        "badjson.cti");
        dir.Copy(SimCti("LumoSimNoFlush.cti"), "noflush.cti");
        dir.Write("text.cti", "this is not a shared library\n");
        return RunInChild(dir);
    }
    setenv("LUMO_LOG_FILE", "producers.log", 1);
    Init();
    EXPECT_TRUE(Serials().empty());
    const auto reports = GetProducerReports();
    EXPECT_EQ(reports.size(), cases.size() + 3);
    for (const Case& c : cases) {
        const ProducerReport* report = Find(reports, c.file);
        ASSERT_NE(report, nullptr) << c.file;
        EXPECT_EQ(report->state, PRODUCER_STATE::PRODUCER_FAILED) << c.file;
        EXPECT_EQ(report->failedStep, c.step) << c.file;
        EXPECT_EQ(report->errorCode, c.code) << c.file;
        EXPECT_NE(report->reason.find(c.step), std::string::npos) << report->reason;
    }
    // The simulator's own text for a fault names the call it failed.
    EXPECT_NE(Find(reports, "tlopen.cti")->producerError.find("TLOpen"), std::string::npos)
        << Find(reports, "tlopen.cti")->producerError;

    const ProducerReport* json = Find(reports, "badjson.cti");
    EXPECT_EQ(json->failedStep, "GCInitLib");
    EXPECT_EQ(json->errorCode, -1009);  // GC_ERR_INVALID_PARAMETER

    const ProducerReport* noFlush = Find(reports, "noflush.cti");
    EXPECT_EQ(noFlush->failedStep, "EventFlush");
    EXPECT_NE(noFlush->reason.find("EventFlush"), std::string::npos);

    const ProducerReport* text = Find(reports, "text.cti");
    EXPECT_EQ(text->failedStep, "dlopen");
    EXPECT_NE(text->reason.find("not a loadable shared library"), std::string::npos);
    UnInit();

    const std::string log = ReadFile("producers.log");
    for (const char* needle : {"initlib.cti", "TLOpenInterface", "noflush.cti", "text.cti"}) {
        EXPECT_NE(log.find(needle), std::string::npos) << needle << " not in the log:\n" << log;
    }
}

// A link beside the library stays unused, but says so and names the variable.
TEST(ProducerSearchTest, ALinkBesideTheLibraryIsSkippedWithAReason) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        fs::create_directories(dir.Path() / "vendor");
        fs::copy_file(SimCti(), dir.Path() / "vendor" / "v.cti");
        dir.Write("vendor/v.json", OneCamera("VENDOR"));
        fs::create_symlink(dir.Path() / "vendor" / "v.cti", dir.Path() / "link.cti");
        return RunInChild(dir);
    }
    unsetenv("GENICAM_GENTL64_PATH");
    Init();
    EXPECT_TRUE(Serials().empty());
    const auto reports = GetProducerReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports.front().state, PRODUCER_STATE::PRODUCER_SKIPPED);
    EXPECT_NE(reports.front().reason.find("GENICAM_GENTL64_PATH"), std::string::npos);
    UnInit();
    EXPECT_NE(ReadFile("VEXOGenICamLog.txt").find("link.cti"), std::string::npos);
}

// The log's place and level come from the environment; "off" writes nothing.
TEST(ProducerSearchTest, TheLogFileAndLevelComeFromTheEnvironment) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.AddProducer(SimCti(), OneCamera("A"), "a.cti");
        dir.Write("bad.cti", "no library\n");
        return RunInChild(dir);
    }
    // Logging is set up once per process, so one child checks one setting:
    // warnings only, in a file of our choice.
    setenv("LUMO_LOG_FILE", "chosen.log", 1);
    setenv("LUMO_LOG_LEVEL", "warning", 1);
    Init();
    EXPECT_EQ(Serials(), std::vector<std::string>{"A"});
    UnInit();
    EXPECT_FALSE(fs::exists("VEXOGenICamLog.txt"));
    const std::string log = ReadFile("chosen.log");
    EXPECT_NE(log.find("bad.cti"), std::string::npos) << log;
    EXPECT_EQ(log.find("a.cti"), std::string::npos) << "an info record passed a warning level";
}

TEST(ProducerSearchTest, LoggingCanBeSwitchedOff) {
    if (!InScenarioChild()) {
        LibraryScenario dir;
        dir.AddLibrary();
        dir.Write("bad.cti", "no library\n");
        return RunInChild(dir);
    }
    setenv("LUMO_LOG_FILE", "off", 1);
    Init();
    EXPECT_EQ(GetProducerReports().size(), 1u);
    UnInit();
    EXPECT_FALSE(fs::exists("VEXOGenICamLog.txt"));
    EXPECT_FALSE(fs::exists("off"));
}
