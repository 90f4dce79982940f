#include "ViewServer.h"

#include <httplib.h>

#include <cerrno>
#include <cstring>

#include "ApiRoutes.h"
#include "CameraHub.h"
#include "ExitCodes.h"
#include "JsonWriter.h"
#include "PageAssets.h"

namespace lumocam {

namespace {

// Each tab keeps a frame request waiting and a few more in flight; keep-alive
// connections hold a thread each while open.
constexpr std::size_t kThreads = 32;

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

}  // namespace

bool IsLoopbackAddress(const std::string& address) {
    return StartsWith(address, "127.") || address == "::1" || address == "localhost";
}

ViewServer::ViewServer(CameraHub& hub) : m_hub(hub), m_server(std::make_unique<httplib::Server>()) {
    httplib::Server& server = *m_server;
    server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    server.set_keep_alive_timeout(2);
    // Headers and body go out in separate writes; without this the body of a
    // frame waits for the browser's delayed acknowledgement of the headers.
    server.set_tcp_nodelay(true);
    server.set_payload_max_length(16 * 1024 * 1024);  // feature sets are text files
    AddApiRoutes(server, m_hub);
    server.Get(R"(/[A-Za-z0-9._-]*)",
               [](const httplib::Request& request, httplib::Response& response) {
                   const PageAsset* asset = FindPageAsset(request.path);
                   if (asset == nullptr) {
                       response.status = 404;
                       response.set_content("no such page", "text/plain");
                       return;
                   }
                   response.set_header("Cache-Control", "no-cache");
                   response.set_content(reinterpret_cast<const char*>(asset->data), asset->size,
                                        PageAssetType(asset->name));
               });
    // Whatever no route answered: JSON under /api/, plain text elsewhere.
    server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) {
            return;
        }
        if (StartsWith(request.path, "/api/")) {
            const std::string what =
                response.status == 404
                    ? "no such API call: " + request.method + " " + request.path
                    : "bad request (HTTP status " + std::to_string(response.status) + ")";
            response.set_content(JsonError(what), "application/json");
        } else {
            response.set_content("HTTP status " + std::to_string(response.status), "text/plain");
        }
    });
    server.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
            std::string what = "internal error";
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& e) {
                what = e.what();
            } catch (...) {
            }
            response.status = 500;
            response.set_content(JsonError(what), "application/json");
        });
}

ViewServer::~ViewServer() {
    Stop();
}

int ViewServer::Bind(const std::string& address, int port) {
    errno = 0;
    const int bound = port == 0 ? m_server->bind_to_any_port(address)
                                : (m_server->bind_to_port(address, port) ? port : -1);
    if (bound <= 0) {
        const int error = errno;
        throw ToolError(
            kExitFailure,
            "cannot listen on " + address + " port " + std::to_string(port) +
                (error != 0 ? std::string(": ") + std::strerror(error) : std::string()));
    }
    return bound;
}

void ViewServer::Start() {
    m_thread = std::thread([this] {
        m_server->listen_after_bind();
        m_finished = true;
    });
}

void ViewServer::Stop() {
    m_hub.Shutdown();
    m_server->stop();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool ViewServer::Running() const {
    return !m_finished;
}

}  // namespace lumocam
