#include "log/RollingLog.h"

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cctype>
#include <iostream>
#include <mutex>

namespace VEXOGENICAM {

namespace {

std::mutex g_logLock;
std::shared_ptr<spdlog::logger> g_logger;
bool g_setUp = false;

constexpr const char* kCsvHeader = "Date;Time;Severity;TID;This;Function;Message";

bool EndsWithCsv(const std::string& name) {
    if (name.size() < 4) {
        return false;
    }
    std::string suffix = name.substr(name.size() - 4);
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return suffix == ".csv";
}

spdlog::level::level_enum LevelOf(int severity) {
    switch (severity) {
        case 0:
            return spdlog::level::off;
        case 1:
            return spdlog::level::critical;
        case 2:
            return spdlog::level::err;
        case 3:
            return spdlog::level::warn;
        case 4:
            return spdlog::level::info;
        case 5:
            return spdlog::level::debug;
        default:
            return spdlog::level::trace;
    }
}

constexpr std::array<const char*, 7> kSeverityNames = {"off",  "fatal", "error",  "warning",
                                                       "info", "debug", "verbose"};

// A severity by number or name; -1 when it is neither.
int ParseSeverity(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (std::size_t i = 0; i < kSeverityNames.size(); ++i) {
        if (text == kSeverityNames[i] || text == std::to_string(i)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace

CRollingLog::Settings CRollingLog::Defaults() {
    return Settings{"VEXOGenICamLog.txt", 52428800, 5, 5};
}

CRollingLog::Settings CRollingLog::WithEnvironment(Settings settings) {
    if (const char* file = std::getenv("LUMO_LOG_FILE"); file != nullptr && *file != '\0') {
        settings.fileName = std::string(file) == "off" ? std::string() : std::string(file);
    }
    if (const char* level = std::getenv("LUMO_LOG_LEVEL"); level != nullptr && *level != '\0') {
        const int severity = ParseSeverity(level);
        if (severity >= 0) {
            settings.severity = severity;
        } else {
            static std::once_flag once;
            std::call_once(once, [level] {
                std::cerr << "LumoGenICam: LUMO_LOG_LEVEL \"" << level
                          << "\" is not a level (0-6, off, fatal, error, warning, info, debug, "
                             "verbose); keeping the default"
                          << std::endl;
            });
        }
    }
    return settings;
}

bool CRollingLog::Setup(const Settings& settings) {
    std::lock_guard<std::mutex> guard(g_logLock);
    if (g_setUp) {
        return g_logger != nullptr;
    }
    g_setUp = true;
    if (settings.fileName.empty() || settings.severity == 0) {
        g_logger.reset();
        return false;
    }
    const bool csv = EndsWithCsv(settings.fileName);
    spdlog::file_event_handlers handlers;
    if (csv) {
        // Every new file of a CSV log starts with its column names.
        handlers.after_open = [](const spdlog::filename_t&, std::FILE* file) {
            if (std::ftell(file) == 0) {
                std::fputs(kCsvHeader, file);
                std::fputs("\n", file);
            }
        };
    }
    try {
        // The sink counts rotated files beside the current one.
        const std::size_t rotated = settings.maxFiles > 0 ? settings.maxFiles - 1 : 0;
        auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
            settings.fileName, settings.maxFileSize, rotated, false, handlers);
        auto logger = std::make_shared<spdlog::logger>("LumoGenICam", std::move(sink));
        logger->set_pattern(csv ? "%Y/%m/%d;%H:%M:%S.%e;%^%l%$;%t;;%!;%v"
                                : "%Y-%m-%d %H:%M:%S.%e %-5l [%t] %v");
        logger->set_level(LevelOf(settings.severity));
        logger->flush_on(spdlog::level::warn);
        g_logger = std::move(logger);
    } catch (const std::exception& e) {
        std::cerr << "LumoGenICam: logging is off, cannot open \"" << settings.fileName
                  << "\": " << e.what() << std::endl;
        g_logger.reset();
    }
    return g_logger != nullptr;
}

std::shared_ptr<spdlog::logger> CRollingLog::Logger() {
    std::lock_guard<std::mutex> guard(g_logLock);
    return g_logger;
}

void CRollingLog::ResetForTesting() {
    std::lock_guard<std::mutex> guard(g_logLock);
    if (g_logger) {
        g_logger->flush();
    }
    g_logger.reset();
    g_setUp = false;
}

}  // namespace VEXOGENICAM
