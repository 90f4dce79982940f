// lumocam: list, inspect, configure and grab from machine-vision cameras
// through the LumoGenICam public interface. Exit codes are in ExitCodes.h.
#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

#include "CommandLine.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "GenApi/GenApi.h"
#include "SimpleLog.h"

using namespace lumocam;

namespace {

constexpr const char* kCameraHelp =
    "index from `list`, sn:SERIAL, name:USERNAME, ip:ADDRESS or index:N; a bare word is tried "
    "as serial number, user name, then IP address";
constexpr const char* kModuleHelp =
    "node map: remote (default), device, stream, interface or system";

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) {
        text += (text.empty() ? "" : ",") + word;
    }
    return text;
}

void AddCamera(CLI::App* command, std::string& camera) {
    command->add_option("camera", camera, kCameraHelp)->required();
}

void AddModule(CLI::App* command, std::string& module) {
    command->add_option("--module", module, kModuleHelp);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"lumocam: cameras through GenTL producers and GenICam features", "lumocam"};
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", "lumocam " LUMOCAM_VERSION);
    app.footer(
        "Exit codes: 0 ok, 1 failure, 2 bad command line, 3 no such camera, 4 no such "
        "feature,\n5 read-only or not accessible, 6 bad or out-of-range value, 7 camera held by "
        "another\napplication, 130 Ctrl-C, 143 SIGTERM.");

    std::string helpTopic;
    CLI::App* helpCmd = app.add_subcommand("help", "this text, or the options of one command");
    helpCmd->add_option("command", helpTopic, "e.g. grab");

    ListOptions list;
    std::vector<std::string> tlTypes;
    CLI::App* listCmd = app.add_subcommand(
        "list", "every camera of every producer (beside the library, then GENICAM_GENTL64_PATH)");
    listCmd
        ->add_option("--tl", tlTypes,
                     "only these transport layers, comma-separated or repeated: gev, u3v, cl, "
                     "cxp, iidc, uvc, clhs, ethernet, pci")
        ->delimiter(',');
    listCmd->add_flag("--json", list.json, "machine-readable output");

    ProducersOptions producers;
    CLI::App* producersCmd =
        app.add_subcommand("producers", "every producer file considered: loaded, or why not");
    producersCmd->add_flag("--json", producers.json, "machine-readable output");

    InfoOptions info;
    CLI::App* infoCmd =
        app.add_subcommand("info", "device record, description files and feature tree");
    AddCamera(infoCmd, info.camera);
    AddModule(infoCmd, info.module);
    infoCmd->add_flag("--json", info.json, "machine-readable output");

    FeatureOptions get;
    CLI::App* getCmd = app.add_subcommand("get", "read one feature");
    AddCamera(getCmd, get.camera);
    getCmd->add_option("feature", get.feature, "feature name, e.g. Width")->required();
    AddModule(getCmd, get.module);

    FeatureOptions describe;
    CLI::App* describeCmd = app.add_subcommand(
        "describe", "type, access, range, entries, unit, tooltip and description of a feature");
    AddCamera(describeCmd, describe.camera);
    describeCmd->add_option("feature", describe.feature, "feature name, e.g. Width")->required();
    AddModule(describeCmd, describe.module);
    describeCmd->add_flag("--json", describe.json, "machine-readable output");

    SetOptions set;
    CLI::App* setCmd = app.add_subcommand(
        "set", "write features in the order given (NAME=VALUE ...), or run a command feature");
    AddCamera(setCmd, set.camera);
    setCmd
        ->add_option("settings", set.assignments,
                     "NAME=VALUE ... (integer, float, true/false, entry name, text); a command "
                     "feature alone runs it; `set CAM NAME VALUE` works too")
        ->required();
    AddModule(setCmd, set.module);

    XmlOptions xml;
    CLI::App* xmlCmd = app.add_subcommand("xml", "the description file of a module");
    AddCamera(xmlCmd, xml.camera);
    AddModule(xmlCmd, xml.module);
    xmlCmd->add_option("--out", xml.outFile,
                       "write it to FILE (needed for a ZIP) instead of stdout");

    PersistOptions save;
    CLI::App* saveCmd =
        app.add_subcommand("save", "write the camera's settings (streamable features) to FILE");
    AddCamera(saveCmd, save.camera);
    saveCmd->add_option("file", save.file, "settings file")->required();
    AddModule(saveCmd, save.module);

    PersistOptions load;
    CLI::App* loadCmd = app.add_subcommand(
        "load", "apply a settings file written by save; names what the camera refused");
    AddCamera(loadCmd, load.camera);
    loadCmd->add_option("file", load.file, "settings file")->required();
    AddModule(loadCmd, load.module);

    GrabOptions grab;
    CLI::App* grabCmd = app.add_subcommand(
        "grab", "grab frames with live statistics, print chunks and events, save PNG or raw");
    AddCamera(grabCmd, grab.camera);
    grabCmd->add_option("-n,--count", grab.count, "frames to grab (default 10)")
        ->check(PositiveWhole("a frame count"));
    grabCmd->add_option("--strategy", grab.strategy, "one-by-one (default), latest or upcoming")
        ->check(OneOf("a strategy", {"one-by-one", "latest", "upcoming"}));
    grabCmd->add_option("--format", grab.pixelFormat, "set PixelFormat first, e.g. BayerRG8");
    grabCmd->add_option("--set", grab.settings,
                        "NAME=VALUE ... written in order before acquisition");
    grabCmd->add_option("--save", grab.saveDir, "write each frame as PNG into DIR");
    grabCmd
        ->add_option("--depth", grab.depth,
                     "PNG bits per sample: 8 (default) or 16 for deeper mono and raw Bayer")
        ->check(OneOf("a PNG depth", {"8", "16"}));
    grabCmd->add_flag("--raw", grab.raw,
                      "also write the raw buffers, each with a .json sidecar (needs --save)");
    grabCmd->add_flag("--chunks", grab.chunks, "turn chunk data on and print it per frame");
    grabCmd->add_flag("--events", grab.events, "print the camera's events per frame");
    grabCmd->add_option("--timeout", grab.timeoutMs, "longest wait for one frame in ms (5000)")
        ->check(PositiveWhole("a time-out in milliseconds"));

    DemoOptions demo;
    CLI::App* demoCmd =
        app.add_subcommand("demo", "a guided tour on the simulated camera (make run)");
    demoCmd->add_option("--out", demo.outDir, "folder for the pictures (default lumocam-demo)");

    ViewOptions view;
    CLI::App* viewCmd = app.add_subcommand("view", "live view and feature editor in the browser");
    viewCmd->add_option("camera", view.camera, "serial number or index to open at once");
    viewCmd->add_option("--port", view.port, "TCP port (default 8080; 0 takes a free one)");
    viewCmd->add_option("--listen", view.listen,
                        "address to serve on (default 127.0.0.1; others are reachable by anybody "
                        "on that network)");
    viewCmd->add_option("--mode", view.mode, "read-only, control (default) or exclusive");
    viewCmd->add_option("--strategy", view.strategy, "latest (default), one-by-one or upcoming");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return ReportParseError(app, e);
    }
    list.tlTypes = Joined(tlTypes);
    // The library's step traces go to stdout, which is lumocam's output (and
    // JSON with --json); the log file keeps what matters.
    VEXOGENICAM::g_nSimpleLogType = 0;

    try {
        if (helpCmd->parsed()) {
            if (helpTopic.empty()) {
                // App::help() would describe the help command itself.
                std::cout << app.get_formatter()->make_help(&app, "lumocam",
                                                            CLI::AppFormatMode::Normal);
                return kExitOk;
            }
            for (CLI::App* sub : app.get_subcommands({})) {
                if (sub->get_name() == helpTopic) {
                    std::cout << sub->help();
                    return kExitOk;
                }
            }
            const std::string close = Suggest(helpTopic, CommandNames(app));
            throw ToolError(kExitUsage, "no command '" + helpTopic + "'" +
                                            (close.empty() ? "" : "; did you mean " + close + "?"));
        }
        if (listCmd->parsed())
            return RunList(list);
        if (producersCmd->parsed())
            return RunProducers(producers);
        if (infoCmd->parsed())
            return RunInfo(info);
        if (getCmd->parsed())
            return RunGet(get);
        if (describeCmd->parsed())
            return RunDescribe(describe);
        if (setCmd->parsed())
            return RunSet(set);
        if (xmlCmd->parsed())
            return RunXml(xml);
        if (saveCmd->parsed())
            return RunSave(save);
        if (loadCmd->parsed())
            return RunLoad(load);
        if (grabCmd->parsed())
            return RunGrab(grab);
        if (demoCmd->parsed())
            return RunDemo(demo);
        if (viewCmd->parsed())
            return RunView(view);
    } catch (const ToolError& e) {
        std::cerr << "lumocam: " << e.what() << "\n";
        return e.Code();
    } catch (const GenICam::GenericException& e) {
        std::cerr << "lumocam: " << e.GetDescription() << "\n";
        return kExitFailure;
    } catch (const std::exception& e) {
        std::cerr << "lumocam: " << e.what() << "\n";
        return kExitFailure;
    }
    std::cerr << "lumocam: a command is needed: " << Joined(CommandNames(app))
              << "\n`lumocam help` explains them, `lumocam help COMMAND` their options\n";
    return kExitUsage;
}
