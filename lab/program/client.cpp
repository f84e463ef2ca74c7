#include "lab/program/client.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <utility>

#include "lab/program/socket_place.h"

namespace lab {
namespace {

// Far more than the largest mesh says: a server that is none cannot fill the memory.
constexpr std::size_t LONGEST_ANSWER = 256U << 20U;

std::size_t answer_take(char* data, std::size_t size, std::size_t count, void* place) {
    auto& text = *static_cast<std::string*>(place);
    if (text.size() + size * count > LONGEST_ANSWER) {
        return 0;
    }
    text.append(data, size * count);
    return size * count;
}

Answer answer_read(long status, const std::string& text) {
    Json body = Json::parse(text, nullptr, false);
    if (!body.is_object() || body.value("version", 0) != JSON_VERSION) {
        return answer_say(HttpStatus::none,
                          "the mesh was started by another version of this program");
    }
    body.erase("version");
    return {static_cast<HttpStatus>(status), std::move(body)};
}

}  // namespace

struct MeshClient::Handle {
    CURL* curl = curl_easy_init();
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    ~Handle() {
        curl_slist_free_all(headers);
        curl_easy_cleanup(curl);
    }
};

MeshClient::MeshClient(std::string socket)
    : socket_(std::move(socket)), handle_(std::make_unique<Handle>()) {}

MeshClient::~MeshClient() = default;

Answer MeshClient::ask(ApiAction action, const std::string& node, const std::string& query,
                       const Json& body) {
    const std::string url =
        "http://lab" + api_path(action, node) + (query.empty() ? "" : "?" + query);
    const std::string sent = body.is_null() ? "" : json_text(body);
    const std::string method(API[static_cast<std::size_t>(action)].method);
    std::string text;
    CURL* const curl = handle_->curl;
    curl_easy_reset(curl);
    curl_easy_setopt(curl, CURLOPT_UNIX_SOCKET_PATH, socket_.c_str());
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    if (method != "GET") {
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, handle_->headers);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(sent.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, sent.c_str());
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    }
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, answer_take);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &text);
    const CURLcode result = curl_easy_perform(curl);
    long reason = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &reason);
    if (result == CURLE_COULDNT_CONNECT) {
        return answer_say(HttpStatus::none, no_mesh_text(socket_, static_cast<int>(reason)));
    }
    if (result != CURLE_OK) {
        return answer_say(HttpStatus::none,
                          std::string("the mesh went away: ") + curl_easy_strerror(result));
    }
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return answer_read(status, text);
}

pid_t MeshClient::server() const {
    curl_socket_t fd = CURL_SOCKET_BAD;
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (curl_easy_getinfo(handle_->curl, CURLINFO_ACTIVESOCKET, &fd) != CURLE_OK ||
        fd == CURL_SOCKET_BAD || getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return -1;
    }
    return peer.pid;
}

}  // namespace lab
