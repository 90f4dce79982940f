#include "Signals.h"

#include <csignal>

namespace lumocam {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;
struct sigaction g_previous {};

extern "C" void OnInterrupt(int /*signal*/) {
    g_interrupted = 1;
}

}  // namespace

InterruptScope::InterruptScope() {
    g_interrupted = 0;
    struct sigaction action {};
    action.sa_handler = &OnInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND;  // the second Ctrl-C takes the default action
    sigaction(SIGINT, &action, &g_previous);
}

InterruptScope::~InterruptScope() {
    sigaction(SIGINT, &g_previous, nullptr);
}

bool Interrupted() {
    return g_interrupted != 0;
}

}  // namespace lumocam
