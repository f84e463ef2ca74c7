// One connection to a running mesh. One thread.
#pragma once

#include <string>
#include <vector>

#include "lab/program/protocol.h"

namespace lab {

// Asks and waits for the whole answer. `descriptors`, when given, takes those that came with it
// (close-on-exec; the caller closes them). An answer with code 1 says so when the connection broke.
Answer client_ask(int fd, const std::vector<std::string>& words,
                  std::vector<int>* descriptors = nullptr);

// Waits until the other end has closed the connection.
void client_await_end(int fd);

}  // namespace lab
