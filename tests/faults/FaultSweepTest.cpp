// Producer faults over an application's whole path, Init to UnInit, through the simulated
// producer's fault injection. The calls to fail come from the call log of one fault-free run, so
// a call the path gains is swept without a change here. Each case must end by a deadline, give
// the application the documented codes, and leave a camera that opens, starts and grabs again
// once the fault is gone, with no buffer or module left behind in the producer.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <fstream>
#include <list>
#include <map>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "CallLog.h"
#include "CameraSession.h"
#include "Control.h"
#include "LumoResultCodes.h"

using namespace VEXOGENICAM;
using camera_test::AnnouncedBuffers;
using camera_test::Config;
using camera_test::Device;

namespace {

using namespace std::chrono_literals;

// A case that has not ended by then hangs: no stop may take that long.
constexpr auto kCaseDeadline = 30s;
constexpr int kNotRun = 1;
constexpr int kInjected = GenTL::GC_ERR_ERROR;

// The phases of the path; kRestart and kReopen are the checks after a stop and after a close.
enum Phase {
    kDiscovery,
    kOpen,
    kStart,
    kGrab,
    kStop,
    kRestart,
    kClose,
    kReopen,
    kUnInit,
    kPhases,
    kNever = kPhases
};
const char* const kPhaseNames[kPhases] = {"discovery", "Open",     "StartGrab",
                                          "GrabImage", "StopGrab", "restart",
                                          "Close",     "reopen",   "UnInit"};

// What the application was told.
struct Codes {
    bool found = false;
    int open = kNotRun;
    int start = kNotRun;
    int grab = kNotRun;
    bool grabbing = false;  // IsGrabbing after the start
    bool operator==(const Codes&) const = default;
};

void PrintTo(const Codes& c, std::ostream* out) {
    *out << "found " << c.found << ", Open " << c.open << ", StartGrab " << c.start
         << ", GrabImage " << c.grab << ", grabbing " << c.grabbing;
}

constexpr Codes kClean{true, result::kOk, result::kOk, result::kOk, true};
constexpr Codes kMissing{};
constexpr Codes OpenGives(int code) {
    return {true, code, kNotRun, kNotRun, false};
}
constexpr Codes StartGives(int code) {
    return {true, result::kOk, code, kNotRun, false};
}
constexpr Codes GrabGives(int code) {
    return {true, result::kOk, result::kOk, code, true};
}

// What the application is told when one call fails once; every call not listed goes unnoticed
// by it. `first` to `last` count the calls of the function within its phase (0: all of them).
struct Rule {
    Phase phase;
    const char* function;
    unsigned long long first, last;
    Codes codes;
};
namespace open = result::open;
namespace start = result::start_grab;
namespace grab = result::grab_image;
// The producer or its device list: discovery finds nothing.
#define LUMO_DISCOVERY_RULES                                                           \
    {kDiscovery, "GCInitLib", 0, 0, kMissing}, {kDiscovery, "TLOpen", 0, 0, kMissing}, \
        {kDiscovery, "TLUpdateInterfaceList", 0, 0, kMissing},                         \
        {kDiscovery, "TLGetNumInterfaces", 0, 0, kMissing},                            \
        {kDiscovery, "TLGetInterfaceID", 0, 0, kMissing},                              \
        {kDiscovery, "TLOpenInterface", 0, 0, kMissing},                               \
        {kDiscovery, "IFUpdateDeviceList", 0, 0, kMissing},                            \
        {kDiscovery, "IFGetNumDevices", 0, 0, kMissing}, {                             \
        kDiscovery, "IFGetDeviceID", 0, 0, kMissing                                    \
    }

// A camera with a remote device.
const std::vector<Rule> kCameraRules = {
    LUMO_DISCOVERY_RULES,
    {kOpen, "IFUpdateDeviceList", 0, 0, OpenGives(open::kDeviceNotOpened)},
    {kOpen, "IFOpenDevice", 0, 0, OpenGives(open::kDeviceNotOpened)},
    {kOpen, "DevGetPort", 0, 0, OpenGives(open::kNoRemotePort)},
    {kOpen, "DevGetNumDataStreams", 0, 0, OpenGives(open::kStreamCountFailed)},
    {kOpen, "DevGetDataStreamID", 0, 0, OpenGives(open::kStreamIdFailed)},
    {kOpen, "DevOpenDataStream", 0, 0, OpenGives(open::kStreamOpenFailed)},
    // The description is loaded at the first feature access: without it there is no node map.
    {kStart, "GCGetPortURL", 0, 0, StartGives(start::kNoNodeMap)},
    {kStart, "GCReadPort", 1, 1, StartGives(start::kNoNodeMap)},
    {kStart, "GCReadPort", 2, 2, StartGives(start::kNoBuffers)},  // PayloadSize
    // A later buffer that cannot be had leaves the acquisition with fewer.
    {kStart, "DSAllocAndAnnounceBuffer", 1, 1, StartGives(start::kNoBuffers)},
    {kStart, "GCRegisterEvent", 0, 0, StartGives(start::kEventRefused)},
    {kStart, "DSStartAcquisition", 0, 0, StartGives(start::kStartRefused)},
    {kGrab, "EventGetData", 0, 0, GrabGives(grab::kWaitFailed)},
    // The image's metadata; whether it holds chunks is optional.
    {kGrab, "DSGetBufferInfo", 1, 16, GrabGives(grab::kImageInfoFailed)},
};

// A Camera Link grabber: no remote device, buffers of the camera's own memory.
const std::vector<Rule> kGrabberRules = {
    LUMO_DISCOVERY_RULES,
    // Without its transport type the record makes a plain camera, which needs a remote device.
    {kDiscovery, "IFGetDeviceInfo", 2, 2, OpenGives(open::kNoRemotePort)},
    {kOpen, "IFOpenDevice", 0, 0, OpenGives(open::kDeviceNotOpened)},
    {kOpen, "DevGetNumDataStreams", 0, 0, OpenGives(open::kStreamCountFailed)},
    {kOpen, "DevGetDataStreamID", 0, 0, OpenGives(open::kStreamIdFailed)},
    {kOpen, "DevOpenDataStream", 0, 0, OpenGives(open::kStreamOpenFailed)},
    {kStart, "GCGetPortURL", 0, 0, StartGives(start::kNoNodeMap)},
    {kStart, "GCReadPort", 1, 1, StartGives(start::kNoNodeMap)},
    {kStart, "GCReadPort", 2, 4, StartGives(start::kNoBuffers)},  // the geometry
    // Every buffer is needed: one refused fails the start.
    {kStart, "DSAnnounceBuffer", 0, 0, StartGives(start::kNoBuffers)},
    {kStart, "GCRegisterEvent", 0, 0, StartGives(start::kEventRefused)},
    {kStart, "DSStartAcquisition", 0, 0, StartGives(start::kStartRefused)},
    {kGrab, "EventGetData", 0, 0, GrabGives(grab::kWaitFailed)},
    {kGrab, "DSGetBufferInfo", 1, 16, GrabGives(grab::kImageInfoFailed)},
};

struct Transport {
    const char* name;
    Device device;
    const std::vector<Rule>& rules;
};

std::vector<Transport> Transports() {
    Device grabber;
    grabber.tlType = "CL";
    grabber.extra = R"(, "remotePort": false)";
    return {{"camera", Device{}, kCameraRules}, {"grabber", grabber, kGrabberRules}};
}

Codes Expected(const std::vector<Rule>& rules, Phase phase, const std::string& function,
               unsigned long long inPhase) {
    for (const auto& rule : rules) {
        if (rule.phase == phase && function == rule.function &&
            (rule.first == 0 || (inPhase >= rule.first && inPhase <= rule.last))) {
            return rule.codes;
        }
    }
    return kClean;
}

// One call of the fault-free run.
struct Call {
    std::string function;
    Phase phase = kDiscovery;
    unsigned long long occurrence = 0;  // of this function since GCInitLib, from 1
    unsigned long long inPhase = 0;     // of this function within its phase, from 1
};

// The producer's test controls, looked up in the copy this process loaded.
template <typename F>
F Control(const char* name) {
    const auto path = lumo_test::ScenarioPath() / "LumoSim.cti";
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return nullptr;
    }
    auto* function = reinterpret_cast<F>(dlsym(handle, name));
    dlclose(handle);  // the library keeps it loaded
    return function;
}

void ClearFaults() {
    auto clear = Control<PLumoSimClearFaults>("LumoSimClearFaults");
    ASSERT_NE(clear, nullptr);
    EXPECT_EQ(clear(), 0);
}

// Starts, grabs and stops once more on an open camera; only the buffers of this start may be
// announced, and none after its stop.
void ExpectStartsAgain(ICamera* camera) {
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), result::kOk);
    EXPECT_EQ(AnnouncedBuffers(camera), static_cast<long long>(camera->GetAnnounceBufCount()))
        << "announced beside this start's buffers";
    IImage* image = nullptr;
    EXPECT_EQ(camera->GrabImage(&image, 5000), result::kOk);
    if (image != nullptr) {
        image->Release();
    }
    camera->StopGrab();
    EXPECT_EQ(AnnouncedBuffers(camera), 0) << "announced after the stop";
}

// Opens, starts and closes once more; the producer holds nothing of the camera's after it.
void ExpectOpensAgain(ICamera* camera) {
    ASSERT_EQ(camera->Open(DEVICE_OPEN_MODE_CONTROL), result::kOk);
    ExpectStartsAgain(camera);
    camera->Close();
    auto held = Control<PLumoSimHeld>("LumoSimHeld");
    ASSERT_NE(held, nullptr);
    uint64_t devices = 1, streams = 1, buffers = 1;
    ASSERT_EQ(held(&devices, &streams, &buffers), 0);
    EXPECT_EQ(devices + streams + buffers, 0u)
        << devices << " devices, " << streams << " streams, " << buffers << " buffers left";
}

void WriteConfig(const Device& device, const std::string& faults) {
    const auto path = lumo_test::ScenarioPath() / "sweep.json";
    std::ofstream(path, std::ios::trunc) << Config(device, R"(, "faults": {)" + faults + "}");
    setenv("LUMOSIM_CONFIG", path.c_str(), 1);
}

// The application's path under `faults` (the body of the configuration's "faults"), with the
// checks that the camera works again: a restart after StopGrab and a reopen after Close, unless
// `reopen` is false (a faulted discovery may leave the record incomplete). The faults end after
// the phase `clearAfter` (kStop or kClose), else only as configured; while they last, no check
// runs. With a call log, the log's length at the end
// of each phase goes to `marks`.
Codes RunPath(const Device& device, const std::string& faults, Phase clearAfter, bool reopen,
              const std::string& what, const lumo_test::CallLog* log = nullptr,
              std::array<size_t, kPhases>* marks = nullptr) {
    SCOPED_TRACE("after " + what);
    WriteConfig(device, faults);
    auto mark = [&](Phase phase) {
        if (log != nullptr && marks != nullptr) {
            (*marks)[phase] = log->Lines().size();
        }
    };
    Codes codes;
    Init();
    std::list<ICameraInfo*> infos = Discovery(nullptr);
    // The only device; a failed information query may leave its serial number empty.
    ICameraInfo* info = infos.empty() ? nullptr : infos.front();
    codes.found = info != nullptr;
    mark(kDiscovery);
    if (ICamera* camera = info != nullptr ? CreateCamera(info) : nullptr) {
        codes.open = camera->Open(DEVICE_OPEN_MODE_CONTROL);
        mark(kOpen);
        if (codes.open == result::kOk) {
            codes.start = camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE);
            codes.grabbing = camera->IsGrabbing();
        }
        mark(kStart);
        if (codes.start == result::kOk) {
            IImage* image = nullptr;
            codes.grab = camera->GrabImage(&image, 5000);
            if (image != nullptr) {
                image->Release();
            }
        }
        mark(kGrab);
        camera->StopGrab();
        mark(kStop);
        if (clearAfter == kStop) {
            ClearFaults();
        }
        if (!reopen) {
            // only a new Init must work
        } else if (clearAfter != kClose && codes.start == start::kNoNodeMap) {
            // A description that failed to load stays unloaded until the next open.
            EXPECT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE),
                      start::kNoNodeMap);
        } else if (clearAfter != kClose && codes.open == result::kOk) {
            ExpectStartsAgain(camera);
        }
        mark(kRestart);
        camera->Close();
        mark(kClose);
        if (clearAfter == kClose) {
            ClearFaults();
        }
        if (reopen) {
            ExpectOpensAgain(camera);
        }
        camera->Release();
    }
    mark(kReopen);
    for (auto* i : infos) {
        i->Release();
    }
    UnInit();
    mark(kUnInit);
    return codes;
}

// A new Init after the faulted one finds the camera and works.
void ExpectNewInitWorks(const Device& device) {
    SCOPED_TRACE("the next Init");
    WriteConfig(device, "");
    Init();
    std::list<ICameraInfo*> infos = Discovery(nullptr);
    ASSERT_EQ(infos.size(), 1u);
    ICamera* camera = CreateCamera(infos.front());
    ExpectOpensAgain(camera);
    camera->Release();
    infos.front()->Release();
    UnInit();
}

// Runs `body` by the deadline; a case that hangs ends the process, whose threads can never be
// joined.
template <typename F>
auto ByDeadline(const std::string& what, F&& body) {
    auto done = std::async(std::launch::async, std::forward<F>(body));
    if (done.wait_for(kCaseDeadline) != std::future_status::ready) {
        std::fprintf(stderr, "hang: %s did not end within %lld s\n", what.c_str(),
                     static_cast<long long>(kCaseDeadline.count()));
        std::fflush(stderr);
        std::_Exit(3);
    }
    return done.get();
}

// The calls of the fault-free run by phase, those made while the producer was initialised.
std::vector<Call> ReferenceCalls(const Device& device) {
    lumo_test::CallLog log(lumo_test::ScenarioPath() / "calls.log");
    std::array<size_t, kPhases> marks{};
    RunPath(device, "", kNever, true, "the fault-free run", &log, &marks);
    std::vector<Call> calls;
    std::map<std::string, unsigned long long> total;
    std::map<std::pair<std::string, int>, unsigned long long> perPhase;
    const auto lines = log.Lines();
    bool initialised = false;
    int phase = kDiscovery;
    for (size_t i = 0; i < lines.size(); ++i) {
        while (phase < kUnInit && i >= marks[phase]) {
            ++phase;
        }
        const std::string function = lines[i].substr(0, lines[i].find(' '));
        initialised = initialised || function == "GCInitLib";
        // GCGetLastError is answered outside the fault injection.
        if (!initialised || function == "GCGetLastError") {
            continue;
        }
        calls.push_back({function, static_cast<Phase>(phase), ++total[function],
                         ++perPhase[{function, phase}]});
        if (function == "GCCloseLib") {
            break;
        }
    }
    return calls;
}

// Lines of the library's log (in the working directory) that contain `text`.
size_t LogLines(const std::string& text) {
    std::ifstream in(lumo_test::ScenarioPath() / "VEXOGenICamLog.txt");
    size_t count = 0;
    for (std::string line; std::getline(in, line);) {
        count += line.find(text) != std::string::npos ? 1 : 0;
    }
    return count;
}

std::string CallFault(const std::string& function, const std::string& mode, unsigned long long n) {
    return R"("calls": [{"function": ")" + function + R"(", "error": )" +
           std::to_string(kInjected) + R"(, "mode": ")" + mode + R"(", "n": )" + std::to_string(n) +
           "}]";
}

std::string Name(const Call& call) {
    return call.function + " #" + std::to_string(call.occurrence) + " (" + kPhaseNames[call.phase] +
           " #" + std::to_string(call.inPhase) + ")";
}

}  // namespace

// Every call of the path failed once, each in a run of its own.
TEST(FaultSweepTest, EveryCallFailedOnce) {
    CAMERA_SCENARIO();
    int cases = 0;
    for (const auto& transport : Transports()) {
        SCOPED_TRACE(transport.name);
        const Device& device = transport.device;
        const std::vector<Call> calls = ReferenceCalls(device);
        ASSERT_FALSE(calls.empty());
        for (const auto& call : calls) {
            if (call.phase == kRestart || call.phase == kReopen) {
                continue;  // the checks after a case, not part of the path
            }
            const std::string what = Name(call) + " failed once";
            SCOPED_TRACE(what);
            const Codes codes = ByDeadline(what, [&] {
                const Codes codes =
                    RunPath(device, CallFault(call.function, "nth", call.occurrence), kNever,
                            call.phase != kDiscovery, what);
                ExpectNewInitWorks(device);
                return codes;
            });
            EXPECT_EQ(codes, Expected(transport.rules, call.phase, call.function, call.inPhase));
            ++cases;
        }
    }
    RecordProperty("cases", cases);
}

// Every call of StopGrab and Close failed from its first call there on, until the test ends the
// fault after StopGrab or after Close: the stop and the close still end, and then the camera
// works again.
TEST(FaultSweepTest, EveryStopCallFailedAlways) {
    CAMERA_SCENARIO();
    for (const auto& transport : Transports()) {
        SCOPED_TRACE(transport.name);
        const Device& device = transport.device;
        std::map<std::string, unsigned long long> before;  // calls before the stop, by function
        std::map<std::string, bool> inStop;                // the stop path's calls: in StopGrab?
        for (const auto& call : ReferenceCalls(device)) {
            if (call.phase < kStop) {
                before[call.function] = call.occurrence;
            } else if (call.phase == kStop || call.phase == kClose) {
                inStop[call.function] = inStop[call.function] || call.phase == kStop;
            }
        }
        ASSERT_FALSE(inStop.empty());
        for (const auto& [function, stopping] : inStop) {
            for (const Phase clearAfter : {kStop, kClose}) {
                if (clearAfter == kStop && !stopping) {
                    continue;
                }
                const std::string what =
                    function + " failing from the stop through " + kPhaseNames[clearAfter];
                SCOPED_TRACE(what);
                // Port accesses fail inside feature writes, which are logged by feature.
                const bool direct =
                    function.rfind("GCReadPort", 0) != 0 && function.rfind("GCWritePort", 0) != 0;
                const std::string logged = function + " failed with " + std::to_string(kInjected);
                const size_t loggedBefore = LogLines(logged);
                const Codes codes = ByDeadline(what, [&] {
                    return RunPath(device, CallFault(function, "after", before[function]),
                                   clearAfter, true, what);
                });
                EXPECT_EQ(codes, kClean);
                if (direct) {
                    EXPECT_GT(LogLines(logged), loggedBefore) << "not logged: " << logged;
                }
            }
        }
    }
}

// A device that will not lock its parameters or start: StartGrab answers 0 as ever, but the
// camera is idle rather than waiting for frames that never come, and starts once the device
// does.
TEST(FaultSweepTest, DeviceThatDoesNotStartLeavesTheCameraIdle) {
    CAMERA_SCENARIO();
    const std::pair<const char*, unsigned> registers[] = {
        {"TLParamsLocked", 0x1038},
        {"AcquisitionStart", 0x1024},
    };
    for (const auto& [feature, address] : registers) {
        const std::string what = std::string(feature) + " not writable";
        SCOPED_TRACE(what);
        const std::string faults = R"("registers": [{"module": "remote", "address": )" +
                                   std::to_string(address) + R"(, "access": "write"}])";
        const Codes codes =
            ByDeadline(what, [&] { return RunPath(Device{}, faults, kStop, true, what); });
        EXPECT_EQ(codes, (Codes{true, result::kOk, result::kOk, grab::kNotGrabbing, false}));
    }
}

// A grab waits without a time-out while EventKill keeps failing: StopGrab gives up on it in
// bounded time, and the wait still ends.
TEST(FaultSweepTest, StopGivesUpOnAGrabItCannotEnd) {
    CAMERA_SCENARIO();
    // One frame a second: the wait below finds no frame to end it.
    Device device;
    device.frameRate = 1;
    camera_test::Session session(
        Config(device, R"(, "faults": {)" + CallFault("EventKill", "always", 0) + "}"));
    ICamera* camera = camera_test::OpenCamera(session);
    ASSERT_EQ(camera->StartGrab(GRAB_STRATEGY_ONE_BY_ONE, GENTL_INFINITE), result::kOk);
    IImage* first = nullptr;
    ASSERT_EQ(camera->GrabImage(&first, 5000), result::kOk);  // the next frame is a second away
    first->Release();
    auto waiting = std::async(std::launch::async, [camera] {
        IImage* image = nullptr;
        const int rc = camera->GrabImage(&image, GENTL_INFINITE);
        if (image != nullptr) {
            image->Release();
        }
        return rc;
    });
    std::this_thread::sleep_for(100ms);
    const auto began = std::chrono::steady_clock::now();
    ByDeadline("StopGrab", [camera] { camera->StopGrab(); });
    EXPECT_LT(std::chrono::steady_clock::now() - began, 10s);
    ASSERT_EQ(waiting.wait_for(kCaseDeadline), std::future_status::ready);
    EXPECT_EQ(waiting.get(), grab::kAborted);
    ClearFaults();
    ExpectStartsAgain(camera);
}

// A notification whose EventKill keeps failing still ends when the camera closes.
TEST(FaultSweepTest, CloseEndsANotificationItCannotKill) {
    CAMERA_SCENARIO();
    camera_test::Session session(
        Config(Device{}, R"(, "faults": {)" + CallFault("EventKill", "always", 0) + "}"));
    ICamera* camera = camera_test::OpenCamera(session);
    struct Silent : INotify {
        void OnNotify(NOTIFY_SRC, NOTIFY_TYPE, const void*, size_t) override {}
    } notify;
    ASSERT_EQ(camera->RegisterNotify(NOTIFY_SRC_REMOTE_DEVICE, NOTIFY_TYPE_FEATURE_CHANGE, &notify),
              result::kOk);
    ByDeadline("Close", [camera] { camera->Close(); });
    ClearFaults();
    ExpectOpensAgain(camera);
}
