#include <pthread.h>

#include <csignal>
#include <ctime>
#include <iostream>

#include "CameraHub.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "Grabber.h"
#include "Session.h"
#include "ViewServer.h"

namespace lumocam {

namespace {

// Ctrl-C and SIGTERM are taken by the main thread with sigtimedwait; blocked
// here, before any thread exists, they reach no other thread, so no request
// is cut off half-way and the camera is closed through the library.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&m_set);
        sigaddset(&m_set, SIGINT);
        sigaddset(&m_set, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &m_set, &m_previous);
    }
    ~StopSignals() {
        // A second Ctrl-C pressed during the shutdown would otherwise end the
        // process the moment the signals are unblocked, after a clean stop.
        while (Wait(0) != 0) {
        }
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // The signal that arrived within the wait, or 0.
    int Wait(long milliseconds) const {
        const timespec wait{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
        const int signal = sigtimedwait(&m_set, nullptr, &wait);
        return signal > 0 ? signal : 0;
    }

private:
    sigset_t m_set{};
    sigset_t m_previous{};
};

}  // namespace

int RunView(const ViewOptions& options) {
    // Checked before anything is opened: a typo costs nothing.
    const auto mode = ParseOpenMode(options.mode);
    const auto strategy = ParseStrategy(options.strategy);
    if (options.port < 0 || options.port > 65535) {
        throw ToolError(kExitUsage, "--port must be 0 .. 65535");
    }
    StopSignals signals;
    Library library;
    CameraHub hub;
    if (!options.camera.empty()) {
        try {
            hub.Open(options.camera, mode);
            hub.Start(strategy);
        } catch (const ToolError& e) {
            // The page can still pick another camera.
            std::cerr << "lumocam view: " << e.what() << "\n";
        }
    }
    ViewServer server(hub);
    const int port = server.Bind(options.listen, options.port);
    if (!IsLoopbackAddress(options.listen)) {
        std::cerr << "lumocam view: WARNING: listening on " << options.listen
                  << ": anybody who reaches this address can see the picture and change the "
                     "camera's features, without a password. Prefer the default 127.0.0.1 "
                     "and an SSH tunnel.\n";
    }
    server.Start();
    const bool v6 = options.listen.find(':') != std::string::npos;
    std::cout << "lumocam view: serving http://" << (v6 ? "[" : "") << options.listen
              << (v6 ? "]" : "") << ":" << port << "/ (Ctrl-C stops)" << std::endl;
    int signal = 0;
    while (signal == 0 && server.Running()) {
        signal = signals.Wait(200);
    }
    server.Stop();
    hub.Close();
    std::cout << "lumocam view: stopped" << std::endl;
    return signal == 0 ? kExitFailure : kExitOk;
}

}  // namespace lumocam
