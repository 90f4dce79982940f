#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

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
    bool json = false;
};
int RunInfo(const InfoOptions& options);

struct FeatureOptions {
    std::string camera;
    std::string feature;
    std::string module = "remote";
    bool json = false;  // describe only
};
int RunGet(const FeatureOptions& options);
int RunDescribe(const FeatureOptions& options);

struct SetOptions {
    std::string camera;
    std::vector<std::string> assignments;  // NAME=VALUE..., or NAME [VALUE]
    std::string module = "remote";
};
int RunSet(const SetOptions& options);

struct XmlOptions {
    std::string camera;
    std::string module = "remote";
    std::string outFile;  // empty: XML to stdout
};
int RunXml(const XmlOptions& options);

// save and load: the streamable features of one node map in a text file.
struct PersistOptions {
    std::string camera;
    std::string file;
    std::string module = "remote";
};
int RunSave(const PersistOptions& options);
int RunLoad(const PersistOptions& options);

struct GrabOptions {
    std::string camera;
    std::uint64_t count = 10;
    std::string strategy = "one-by-one";
    std::string pixelFormat;            // empty: keep the camera's
    std::vector<std::string> settings;  // NAME=VALUE, applied before acquisition
    std::string saveDir;
    bool raw = false;
    unsigned depth = 8;   // bits per PNG sample: 8, or 16 for deeper mono and raw Bayer
    bool chunks = false;  // turn chunk data on and print it per frame
    bool events = false;  // print the device's events per frame
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
