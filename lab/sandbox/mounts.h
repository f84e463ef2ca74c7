// The file side of a sandbox: which places are empty, covered or replaced. Called once, by process
// 1 of the new sandbox, inside its own mount and pid namespaces.
#pragma once

#include <string>

#include "lab/sandbox/sandbox_options.h"

namespace lab {

// Cuts the mount namespace off from the one it was copied from.
bool mounts_make_private(std::string& error);

// Mounts everything that `options` asks for and puts the tools first on PATH.
bool mounts_furnish(const SandboxOptions& options, std::string& error);

}  // namespace lab
