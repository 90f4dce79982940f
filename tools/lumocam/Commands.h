#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <ostream>
#include <string>

#include "ProducerReport.h"

// One function per lumocam command. Each answers its exit code or throws
// ToolError; all of them use the library's public interface only.
namespace lumocam {

struct ListOptions {
    std::string tlTypes;  // "gev,u3v"; empty: every producer
    bool json = false;
};
int RunList(const ListOptions& options);

struct ProducersOptions {
    bool json = false;
};
int RunProducers(const ProducersOptions& options);
// One line per producer: state, path, origin and why it is not used.
void PrintProducerReports(const std::list<VEXOGENICAM::ProducerReport>& reports, std::ostream& out);

struct InfoOptions {
    std::string camera;
    std::string module = "remote";  // whose feature tree is printed
};
int RunInfo(const InfoOptions& options);

struct FeatureOptions {
    std::string camera;
    std::string feature;
    std::optional<std::string> value;  // set only
    std::string module = "remote";
};
int RunGet(const FeatureOptions& options);
int RunSet(const FeatureOptions& options);

struct GrabOptions {
    std::string camera;
    std::uint64_t count = 10;
    std::string strategy = "one-by-one";
    std::string pixelFormat;  // empty: keep the camera's
    std::string saveDir;
    bool raw = false;
    std::uint64_t timeoutMs = 5000;
};
int RunGrab(const GrabOptions& options);

struct DemoOptions {
    std::string outDir = "lumocam-demo";
};
int RunDemo(const DemoOptions& options);

struct ViewOptions {
    std::string camera;  // opened and started at once; empty: chosen on the page
    int port = 8080;     // 0: any free port
    std::string listen = "127.0.0.1";
    std::string mode = "control";
    std::string strategy = "latest";
};
int RunView(const ViewOptions& options);

}  // namespace lumocam
