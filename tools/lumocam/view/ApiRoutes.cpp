#include "ApiRoutes.h"

#include <httplib.h>

#include <charconv>
#include <chrono>
#include <optional>

#include "CameraHub.h"
#include "ExitCodes.h"
#include "Grabber.h"
#include "JsonWriter.h"
#include "Png.h"

namespace lumocam {

namespace {

using httplib::Request;
using httplib::Response;
using FramePtr = FrameBoard::FramePtr;

constexpr const char* kJson = "application/json";
// A frame request waits this long for a new frame unless it asks otherwise.
constexpr std::uint64_t kDefaultWaitMs = 1000;
constexpr std::uint64_t kLongestWaitMs = 10000;

int StatusOf(ExitCode code) {
    switch (code) {
        case kExitUsage:
        case kExitBadValue:
            return 400;
        case kExitNoCamera:
        case kExitUnknownFeature:
            return 404;
        case kExitAccessDenied:
            return 409;
        default:
            return 500;
    }
}

void Refuse(Response& response, int status, const std::string& message) {
    response.status = status;
    response.set_content(JsonError(message), kJson);
}

// Runs a handler; whatever it throws becomes a status and a JSON error.
template <class Handler>
auto Guarded(Handler handler) {
    return [handler](const Request& request, Response& response) {
        try {
            handler(request, response);
        } catch (const ToolError& e) {
            Refuse(response, StatusOf(e.Code()), e.what());
        } catch (const GenICam::GenericException& e) {
            Refuse(response, 500, e.GetDescription());
        } catch (const std::exception& e) {
            Refuse(response, 500, e.what());
        }
    };
}

std::optional<std::string> Param(const Request& request, const char* name) {
    if (!request.has_param(name)) {
        return std::nullopt;
    }
    return request.get_param_value(name);
}

std::string RequireParam(const Request& request, const char* name) {
    if (auto value = Param(request, name)) {
        return *value;
    }
    throw ToolError(kExitUsage, std::string("missing parameter '") + name + "'");
}

std::optional<std::uint64_t> NumberParam(const Request& request, const char* name) {
    const auto text = Param(request, name);
    if (!text) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (text->empty() || error != std::errc() || stop != end) {
        throw ToolError(kExitBadValue,
                        std::string("parameter '") + name + "': '" + *text + "' is not a number");
    }
    return value;
}

Module ModuleParam(const Request& request) {
    return ParseModule(Param(request, "module").value_or("remote"));
}

// The frame named by ?seq=, or the newest one.
FramePtr RequireFrame(CameraHub& hub, const Request& request) {
    if (const auto sequence = NumberParam(request, "seq")) {
        if (FramePtr frame = hub.Board().Find(*sequence)) {
            return frame;
        }
        throw ToolError(kExitNoCamera, "frame " + std::to_string(*sequence) +
                                           " is no longer kept; ask for a newer one");
    }
    if (FramePtr frame = hub.Board().Latest()) {
        return frame;
    }
    throw ToolError(kExitNoCamera, "no frame yet: open a camera and start acquisition");
}

void SendJson(Response& response, const JsonWriter& json) {
    response.set_header("Cache-Control", "no-store");
    response.set_content(json.Text(), kJson);
}

void SendBytes(Response& response, const std::vector<unsigned char>& bytes, const char* type) {
    response.set_header("Cache-Control", "no-store");
    response.set_content(reinterpret_cast<const char*>(bytes.data()), bytes.size(), type);
}

void Attach(Response& response, const std::string& fileName) {
    response.set_header("Content-Disposition", "attachment; filename=\"" + fileName + "\"");
}

std::string SnapshotName(const ViewFrame& frame, const char* extension) {
    return "frame-" + std::to_string(frame.Facts().frameId) + "." + extension;
}

void AddFrameRoutes(httplib::Server& server, CameraHub& hub) {
    // Long poll: answers the first frame newer than ?after=, or 204 when none
    // came within ?timeout= ms.
    server.Get("/api/frame", Guarded([&hub](const Request& request, Response& response) {
                   const std::uint64_t after = NumberParam(request, "after").value_or(0);
                   const std::uint64_t wait = std::min(
                       NumberParam(request, "timeout").value_or(kDefaultWaitMs), kLongestWaitMs);
                   const FramePtr frame =
                       hub.Board().WaitNewer(after, std::chrono::milliseconds(wait));
                   if (!frame) {
                       response.status = 204;
                       return;
                   }
                   const FrameFacts& facts = frame->Facts();
                   response.set_header("X-Frame-Seq", std::to_string(frame->Sequence()));
                   response.set_header("X-Frame-Id", std::to_string(facts.frameId));
                   response.set_header("X-Frame-Timestamp", std::to_string(facts.timestamp));
                   response.set_header("X-Frame-Width", std::to_string(facts.width));
                   response.set_header("X-Frame-Height", std::to_string(facts.height));
                   SendBytes(response, frame->Jpeg(), "image/jpeg");
               }));
    server.Get("/api/histogram", Guarded([&hub](const Request& request, Response& response) {
                   const FramePtr frame = RequireFrame(hub, request);
                   const Histogram histogram = HistogramOf(frame->Picture());
                   JsonWriter json;
                   json.BeginObject().Field("seq", frame->Sequence()).Key("channels").BeginArray();
                   if (histogram.channels == 1) {
                       json.String("grey");
                   } else {
                       json.String("red").String("green").String("blue");
                   }
                   json.EndArray().Key("bins").BeginArray();
                   for (unsigned c = 0; c < histogram.channels; ++c) {
                       json.BeginArray();
                       for (const std::uint32_t count : histogram.bins[c]) {
                           json.Uint(count);
                       }
                       json.EndArray();
                   }
                   json.EndArray().EndObject();
                   SendJson(response, json);
               }));
    server.Get("/api/pixel", Guarded([&hub](const Request& request, Response& response) {
                   const FramePtr frame = RequireFrame(hub, request);
                   const std::uint64_t x = NumberParam(request, "x").value_or(~0ULL);
                   const std::uint64_t y = NumberParam(request, "y").value_or(~0ULL);
                   if (!request.has_param("x") || !request.has_param("y")) {
                       throw ToolError(kExitUsage, "missing parameter 'x' or 'y'");
                   }
                   const ViewFrame::PixelValue value = frame->PixelAt(x, y);
                   JsonWriter json;
                   json.BeginObject().Field("seq", frame->Sequence()).Field("x", x).Field("y", y);
                   json.Field("pixelFormat", frame->Facts().pixelFormatName);
                   json.Key(value.shown.size() == 1 ? "grey" : "rgb").BeginArray();
                   for (const unsigned v : value.shown) {
                       json.Uint(v);
                   }
                   json.EndArray();
                   if (value.hasSample) {
                       json.Field("sample", value.sample).Field("bits", value.bits);
                   }
                   json.EndObject();
                   SendJson(response, json);
               }));
    server.Get("/api/snapshot", Guarded([&hub](const Request& request, Response& response) {
                   const std::string format = Param(request, "format").value_or("png");
                   if (format != "png" && format != "raw" && format != "json") {
                       throw ToolError(kExitBadValue, "unknown snapshot format '" + format +
                                                          "' (png, raw or json)");
                   }
                   const FramePtr frame = RequireFrame(hub, request);
                   response.set_header("X-Frame-Seq", std::to_string(frame->Sequence()));
                   if (format == "png") {
                       const ViewPicture& picture = frame->Picture();
                       Attach(response, SnapshotName(*frame, "png"));
                       SendBytes(response,
                                 EncodePng(picture.pixels.data(), picture.width, picture.height,
                                           picture.channels, picture.Stride()),
                                 "image/png");
                   } else if (format == "raw") {
                       Attach(response, SnapshotName(*frame, "raw"));
                       SendBytes(response, frame->Raw(), "application/octet-stream");
                   } else {
                       Attach(response, SnapshotName(*frame, "json"));
                       response.set_content(SidecarJson(frame->Facts()), kJson);
                   }
               }));
}

void AddCameraRoutes(httplib::Server& server, CameraHub& hub) {
    server.Get("/api/cameras", Guarded([&hub](const Request&, Response& response) {
                   JsonWriter json;
                   hub.WriteCameras(json);
                   SendJson(response, json);
               }));
    server.Get("/api/status", Guarded([&hub](const Request&, Response& response) {
                   JsonWriter json;
                   hub.WriteStatus(json);
                   SendJson(response, json);
               }));
    server.Post("/api/open", Guarded([&hub](const Request& request, Response& response) {
                    const auto mode = ParseOpenMode(Param(request, "mode").value_or("control"));
                    hub.Open(RequireParam(request, "camera"), mode);
                    JsonWriter json;
                    hub.WriteStatus(json);
                    SendJson(response, json);
                }));
    server.Post("/api/close", Guarded([&hub](const Request&, Response& response) {
                    hub.Close();
                    JsonWriter json;
                    hub.WriteStatus(json);
                    SendJson(response, json);
                }));
    server.Post("/api/start", Guarded([&hub](const Request& request, Response& response) {
                    hub.Start(ParseStrategy(Param(request, "strategy").value_or("latest")));
                    JsonWriter json;
                    hub.WriteStatus(json);
                    SendJson(response, json);
                }));
    server.Post("/api/stop", Guarded([&hub](const Request&, Response& response) {
                    hub.Stop();
                    JsonWriter json;
                    hub.WriteStatus(json);
                    SendJson(response, json);
                }));
}

void AddFeatureRoutes(httplib::Server& server, CameraHub& hub) {
    server.Get("/api/features", Guarded([&hub](const Request& request, Response& response) {
                   JsonWriter json;
                   hub.WriteFeatures(json, ModuleParam(request));
                   SendJson(response, json);
               }));
    server.Post("/api/feature", Guarded([&hub](const Request& request, Response& response) {
                    JsonWriter json;
                    hub.SetFeature(json, ModuleParam(request), RequireParam(request, "name"),
                                   Param(request, "value").value_or(""));
                    SendJson(response, json);
                }));
    server.Get("/api/featureset", Guarded([&hub](const Request& request, Response& response) {
                   const Module module = ModuleParam(request);
                   const std::string text = hub.SaveFeatures(module);
                   Attach(response, std::string(ModuleName(module)) + "-features.txt");
                   response.set_header("Cache-Control", "no-store");
                   response.set_content(text, "text/plain; charset=utf-8");
               }));
    server.Post("/api/featureset", Guarded([&hub](const Request& request, Response& response) {
                    JsonWriter json;
                    hub.LoadFeatures(json, ModuleParam(request), request.body);
                    SendJson(response, json);
                }));
}

}  // namespace

void AddApiRoutes(httplib::Server& server, CameraHub& hub) {
    AddCameraRoutes(server, hub);
    AddFrameRoutes(server, hub);
    AddFeatureRoutes(server, hub);
}

}  // namespace lumocam
