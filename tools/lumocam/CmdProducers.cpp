#include <iostream>
#include <sstream>

#include "Commands.h"
#include "Json.h"
#include "LumoGenICam.h"
#include "Session.h"

namespace lumocam {

using namespace VEXOGENICAM;

namespace {

std::string Details(const ProducerReport& report) {
    std::ostringstream out;
    if (report.state == PRODUCER_STATE::PRODUCER_LOADED) {
        out << "TL " << report.tlType << ", " << report.vendor << " " << report.model << " "
            << report.version << ", " << report.interfaceCount << " interface(s)";
        return out.str();
    }
    out << report.reason;
    if (!report.producerError.empty()) {
        out << " (producer says: " << report.producerError << ")";
    }
    return out.str();
}

void PrintJson(const std::list<ProducerReport>& reports) {
    std::ostringstream out;
    out << "[";
    bool first = true;
    for (const ProducerReport& r : reports) {
        out << (first ? "\n" : ",\n") << "  {\"path\": " << JsonString(r.path)
            << ", \"origin\": " << JsonString(r.origin)
            << ", \"state\": " << JsonString(ProducerStateName(r.state));
        if (r.state == PRODUCER_STATE::PRODUCER_LOADED) {
            out << ", \"tlType\": " << JsonString(r.tlType)
                << ", \"vendor\": " << JsonString(r.vendor)
                << ", \"model\": " << JsonString(r.model)
                << ", \"version\": " << JsonString(r.version)
                << ", \"interfaces\": " << r.interfaceCount;
        } else {
            out << ", \"reason\": " << JsonString(r.reason);
            if (!r.failedStep.empty()) {
                out << ", \"step\": " << JsonString(r.failedStep) << ", \"code\": " << r.errorCode;
            }
            if (!r.producerError.empty()) {
                out << ", \"producerError\": " << JsonString(r.producerError);
            }
        }
        out << "}";
        first = false;
    }
    out << (first ? "]\n" : "\n]\n");
    std::cout << out.str();
}

}  // namespace

void PrintProducerReports(const std::list<ProducerReport>& reports, std::ostream& out) {
    if (reports.empty()) {
        out << "No producer (*.cti) was found beside libLumoGenICam or in "
               "GENICAM_GENTL64_PATH.\n";
        return;
    }
    for (const ProducerReport& report : reports) {
        out << "  " << ProducerStateName(report.state) << "  " << report.path << "  ("
            << report.origin << "): " << Details(report) << "\n";
    }
}

int RunProducers(const ProducersOptions& options) {
    Library library;
    const std::list<ProducerReport> reports = GetProducerReports();
    if (options.json) {
        PrintJson(reports);
    } else {
        PrintProducerReports(reports, std::cout);
    }
    return 0;
}

}  // namespace lumocam
