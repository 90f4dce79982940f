#include "Signals.h"

#include <csignal>

namespace lumocam {

namespace {

volatile std::sig_atomic_t g_signal = 0;
struct sigaction g_previousInt {};
struct sigaction g_previousTerm {};

extern "C" void OnInterrupt(int signal) {
    g_signal = signal;
}

}  // namespace

InterruptScope::InterruptScope() {
    g_signal = 0;
    struct sigaction action {};
    action.sa_handler = &OnInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND;  // the second signal takes the default action
    sigaction(SIGINT, &action, &g_previousInt);
    sigaction(SIGTERM, &action, &g_previousTerm);
}

InterruptScope::~InterruptScope() {
    sigaction(SIGINT, &g_previousInt, nullptr);
    sigaction(SIGTERM, &g_previousTerm, nullptr);
}

bool Interrupted() {
    return g_signal != 0;
}

int InterruptSignal() {
    return g_signal;
}

}  // namespace lumocam
