#pragma once

namespace httplib {
class Server;
}

namespace lumocam {

class CameraHub;

// The JSON API under /api/ (documented in docs/view-api.md). Every refused
// request is answered with a 4xx status and {"error": "..."}.
void AddApiRoutes(httplib::Server& server, CameraHub& hub);

}  // namespace lumocam
