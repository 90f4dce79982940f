// lumocam: list, inspect, configure and grab from machine-vision cameras
// through the LumoGenICam public interface. Exit codes are in ExitCodes.h.
#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

#include "Commands.h"
#include "ExitCodes.h"
#include "GenApi/GenApi.h"

using namespace lumocam;

int main(int argc, char** argv) {
    CLI::App app{"lumocam: cameras through GenTL producers and GenICam features"};
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 ok, 1 failure, 2 bad command line, 3 no such camera, 4 no such "
        "feature,\n5 read-only or not accessible, 6 bad or out-of-range value, 130 Ctrl-C.");

    ListOptions list;
    CLI::App* listCmd = app.add_subcommand(
        "list", "every camera of every producer (beside the library, then GENICAM_GENTL64_PATH)");
    listCmd->add_option("--tl", list.tlTypes,
                        "only these transport layers, comma-separated: gev, u3v, cl, cxp, iidc, "
                        "uvc, clhs, ethernet, pci");
    listCmd->add_flag("--json", list.json, "machine-readable output");

    ProducersOptions producers;
    CLI::App* producersCmd =
        app.add_subcommand("producers", "every producer file considered: loaded, or why not");
    producersCmd->add_flag("--json", producers.json, "machine-readable output");

    InfoOptions info;
    CLI::App* infoCmd =
        app.add_subcommand("info", "device record, description files and feature tree");
    infoCmd->add_option("camera", info.camera, "serial number or index from `list`")->required();
    infoCmd->add_option("--module", info.module,
                        "whose features: system, interface, device, remote (default), stream");

    FeatureOptions get;
    CLI::App* getCmd = app.add_subcommand("get", "read one feature");
    getCmd->add_option("camera", get.camera, "serial number or index")->required();
    getCmd->add_option("feature", get.feature, "feature name, e.g. Width")->required();
    getCmd->add_option("--module", get.module, "node map (default remote)");

    FeatureOptions set;
    CLI::App* setCmd =
        app.add_subcommand("set", "write one feature, or run a command feature with 'exec'");
    setCmd->add_option("camera", set.camera, "serial number or index")->required();
    setCmd->add_option("feature", set.feature, "feature name, e.g. Width")->required();
    setCmd->add_option("value", set.value,
                       "integer, float, true/false, enumeration entry name, text, or exec");
    setCmd->add_option("--module", set.module, "node map (default remote)");

    GrabOptions grab;
    CLI::App* grabCmd = app.add_subcommand("grab", "grab frames, report statistics, save PNGs");
    grabCmd->add_option("camera", grab.camera, "serial number or index")->required();
    grabCmd->add_option("-n,--count", grab.count, "frames to grab (default 10)")
        ->check(CLI::PositiveNumber);
    grabCmd->add_option("--strategy", grab.strategy, "one-by-one (default), latest or upcoming")
        ->check(CLI::IsMember({"one-by-one", "latest", "upcoming"}));
    grabCmd->add_option("--format", grab.pixelFormat, "set PixelFormat first, e.g. BayerRG8");
    grabCmd->add_option("--save", grab.saveDir, "write converted frames as PNG into DIR");
    grabCmd->add_flag("--raw", grab.raw, "also write the raw buffers (needs --save)");
    grabCmd->add_option("--timeout", grab.timeoutMs, "longest wait for one frame in ms (5000)")
        ->check(CLI::PositiveNumber);

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
        return app.exit(e) == 0 ? kExitOk : kExitUsage;
    }

    try {
        if (listCmd->parsed())
            return RunList(list);
        if (producersCmd->parsed())
            return RunProducers(producers);
        if (infoCmd->parsed())
            return RunInfo(info);
        if (getCmd->parsed())
            return RunGet(get);
        if (setCmd->parsed())
            return RunSet(set);
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
    return kExitUsage;
}
