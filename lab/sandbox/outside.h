// A place of the machine that a program writes its results to from inside its sandbox, where
// everything of the machine can only be read. The program opens it before it enters the sandbox and
// then writes through the open descriptor: nothing is mounted, so no node and nothing that a node
// runs ever finds it. Used on the program's main thread.
#pragma once

#include <string>

namespace lab {

class OutsidePlace {
public:
    OutsidePlace() = default;
    ~OutsidePlace();
    OutsidePlace(const OutsidePlace&) = delete;
    OutsidePlace& operator=(const OutsidePlace&) = delete;

    // Opens the folder `path`, or of one that is not there yet the nearest that is: what is missing
    // is made by whoever writes. A relative path is taken from the caller's current folder.
    bool open(const std::string& path, std::string& error);

    // The folder by its real name, for people.
    const std::string& name() const {
        return name_;
    }
    // By which this process, and nobody else, reaches it; empty before it was opened.
    const std::string& path() const {
        return path_;
    }

    // Lets a program that takes the place of this one, and its children, use path() too.
    void survive_exec() const;

private:
    int fd_ = -1;
    std::string name_;
    std::string path_;
};

// In a build that counts executed lines: opens the build's folder for the counters of this program
// and of whatever runs inside, and names it in the environment. It stays open until the program has
// ended. Does nothing in any other build, nor in a program that was started with such a place.
bool counters_open(std::string& error);
// As OutsidePlace::survive_exec().
void counters_survive_exec();

}  // namespace lab
