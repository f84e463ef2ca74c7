// Where a mesh listens: a Unix socket in a folder that nobody else can enter.
//
// Called by the program before it enters a sandbox, on its only thread. Errors are sentences.
#pragma once

#include <sys/types.h>

#include <string>

namespace lab {

// "$XDG_RUNTIME_DIR/backhaul_lab/control", or "/tmp/backhaul_lab-UID/control" without that
// variable. A function of its values.
std::string socket_path(const char* runtime_folder, uid_t uid);

// Makes the folder of the socket if it is missing and checks that it is the caller's own and closed
// to others. 0 or -1.
int socket_folder_make(const std::string& path, std::string* error);

// A listening socket at that place. An old socket at which nobody answers is replaced. -1 and
// `error` also when a mesh is already up there.
int socket_listen(const std::string& path, std::string* error);

// A connection to the mesh there, or -1: `error` says that none is up.
int socket_connect(const std::string& path, std::string* error);

// The file beside the socket into which the server writes what it has to say.
std::string server_log_path(const std::string& socket);

}  // namespace lab
