// Where a mesh listens: a Unix socket in a folder that nobody else can enter.
//
// Called by the program before it enters a sandbox, on its only thread. Errors are sentences.
#pragma once

#include <sys/types.h>

#include <string>

namespace lab {

// Where it is unless another place was named, in the environment of this process.
std::string usual_socket();

// "$XDG_RUNTIME_DIR/backhaul_lab/control", or "/tmp/backhaul_lab-UID/control" without that
// variable. A function of its values.
std::string socket_path(const char* runtime_folder, uid_t uid);

// Makes the folder of the socket if it is missing and checks that it is the caller's own and closed
// to others.
bool socket_folder_make(const std::string& path, std::string& error);

// A listening socket at that place. An old socket at which nobody answers is replaced. -1 and
// `error` also when a mesh is already up there.
int socket_listen(const std::string& path, std::string& error);

// Makes the calling process the one that peers of the socket see behind it: see client.h.
bool socket_take_over(int listener, std::string& error);

// That nobody listens there, by the error number of who tried.
std::string no_mesh_text(const std::string& path, int reason);

// How the user calls this program, for commands that are told to be typed: what the environment
// variable BACKHAUL_LAB_CALLED_AS says, else as it was started, which main() hands in first.
const std::string& program_called(const char* started_as = "backhaul_lab");

// A command of this program as it can be typed to reach the mesh at that socket.
std::string command_at(const std::string& path, const std::string& words);

// The file beside the socket into which the server writes what it has to say.
std::string server_log_path(const std::string& socket);

}  // namespace lab
