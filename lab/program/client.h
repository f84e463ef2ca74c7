// Asks a mesh in the background, by libcurl over its Unix socket. One thread; the first request
// connects.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "lab/program/api.h"

namespace lab {

class MeshClient {
public:
    explicit MeshClient(std::string socket);
    ~MeshClient();
    MeshClient(const MeshClient&) = delete;
    MeshClient& operator=(const MeshClient&) = delete;

    // Asks and waits for the whole answer, however long a step takes. `node` is the one in the
    // path, `query` stands behind "?". No mesh, or one that went away, is an answer with the status
    // `none` and a sentence.
    Answer ask(ApiAction action, const std::string& node = "", const std::string& query = "",
               const Json& body = nullptr);

    // The process that serves the socket, as the caller sees it; -1 unless something was asked.
    pid_t server() const;

private:
    struct Handle;
    std::string socket_;
    std::unique_ptr<Handle> handle_;
};

}  // namespace lab
