#pragma once

#include "LumoExport.h"

// Small timed trace lines on standard output, for following single steps
// (for example the open sequence of a frame-grabber camera). Process-wide and
// deliberately lock-free: lines printed from two threads at once may mix.
namespace VEXOGENICAM {

// 0 switches SimpleLog output off, any other value on. There is no setter:
// clients assign the global directly.
extern LUMO_API int g_nSimpleLogType;
// Time of the previous SimpleLog line in microseconds; 0 until the first line.
extern LUMO_API unsigned long long g_SimpleLogLastTick;
// The line being printed.
extern LUMO_API char g_SimpleLogBuf[1024];

// Writes text and a flushed end-of-line to standard output when enabled.
LUMO_API void _log(const char* text);
// Wall-clock time in microseconds.
LUMO_API unsigned long long _get_tick();
// Wall-clock time in milliseconds.
LUMO_API unsigned long long GetTickCount64();

// Prints "VEXOGENICAM.[<microseconds since the previous line>].<text>".
LUMO_API void SimpleLog(const char* text);
// Prints "VEXOGENICAM:<a>" as the text part; `text` itself is not printed.
LUMO_API void SimpleLog(const char* text, unsigned long long a);
// These variants print only the prefix and the time difference: their
// numbers are not formatted.
LUMO_API void SimpleLog(const char* text, unsigned long long a, unsigned long long b);
LUMO_API void SimpleLog(const char* text, unsigned long long a, unsigned long long b,
                        unsigned long long c);
LUMO_API void SimpleLog(const char* text, unsigned long long a, unsigned long long b,
                        unsigned long long c, unsigned long long d);
LUMO_API void SimpleLog(const char* text, unsigned long long a, unsigned long long b,
                        unsigned long long c, unsigned long long d, unsigned long long e);

}  // namespace VEXOGENICAM
