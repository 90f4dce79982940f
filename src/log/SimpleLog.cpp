#include "SimpleLog.h"

#include <sys/time.h>

#include <cstdio>
#include <cstring>
#include <iostream>

namespace VEXOGENICAM {

int g_nSimpleLogType = 3;
unsigned long long g_SimpleLogLastTick = 0;
char g_SimpleLogBuf[1024] = {};

namespace {
constexpr const char* kPrefix = "VEXOGENICAM";

// The multi-number variants hand an empty line to the printer.
void LogEmptyLine() {
    char line[1024];
    std::memset(line, 0, sizeof line);
    SimpleLog(line);
}
}  // namespace

void _log(const char* text) {
    if (g_nSimpleLogType != 0) {
        std::cout << text << std::endl;
    }
}

unsigned long long _get_tick() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return static_cast<unsigned long long>(tv.tv_sec) * 1000000ULL +
           static_cast<unsigned long long>(tv.tv_usec);
}

unsigned long long GetTickCount64() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return static_cast<unsigned long long>(tv.tv_sec) * 1000ULL +
           static_cast<unsigned long long>(tv.tv_usec) / 1000ULL;
}

void SimpleLog(const char* text) {
    if (g_nSimpleLogType == 0 || text == nullptr) {
        return;
    }
    const unsigned long long now = _get_tick();
    const unsigned long long diff = g_SimpleLogLastTick != 0 ? now - g_SimpleLogLastTick : 0;
    g_SimpleLogLastTick = now;
    std::snprintf(g_SimpleLogBuf, sizeof g_SimpleLogBuf, "%s.[%lld].%s", kPrefix,
                  static_cast<long long>(diff), text);
    _log(g_SimpleLogBuf);
}

void SimpleLog(const char* /*text*/, unsigned long long a) {
    char line[1024];
    std::memset(line, 0, sizeof line);
    std::snprintf(line, sizeof line, "%s:%lld", kPrefix, static_cast<long long>(a));
    SimpleLog(line);
}

void SimpleLog(const char*, unsigned long long, unsigned long long) {
    LogEmptyLine();
}

void SimpleLog(const char*, unsigned long long, unsigned long long, unsigned long long) {
    LogEmptyLine();
}

void SimpleLog(const char*, unsigned long long, unsigned long long, unsigned long long,
               unsigned long long) {
    LogEmptyLine();
}

void SimpleLog(const char*, unsigned long long, unsigned long long, unsigned long long,
               unsigned long long, unsigned long long) {
    LogEmptyLine();
}

}  // namespace VEXOGENICAM
