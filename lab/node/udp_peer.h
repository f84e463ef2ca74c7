// A neighbour on the network: sends and receives the mesh's datagrams from the caller's own
// namespace, whose bridge "lab-switch" the nodes are plugged into. One thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

struct Datagram {
    std::string from;  // dotted address
    std::string bytes;
};

class UdpPeer {
public:
    // Binds `address`:`port`, or every address when it is empty. ok() tells whether that worked.
    explicit UdpPeer(std::uint16_t port, const std::string& address = {});
    ~UdpPeer();
    UdpPeer(const UdpPeer&) = delete;
    UdpPeer& operator=(const UdpPeer&) = delete;
    bool ok() const {
        return fd_ >= 0;
    }

    // One datagram to address:port; broadcast addresses are allowed.
    bool send(const std::string& address, std::uint16_t port, const std::string& bytes);

    // What has arrived, without waiting.
    std::vector<Datagram> take();

private:
    int fd_ = -1;
};

// Gives "lab-switch" one more address, so that a peer can be somebody else.
bool switch_address_add(const std::string& address_with_length, std::string& error);

// The bytes that the real openssl command makes of a word under a pass phrase, as the daemons send
// them, and back. An empty text when openssl fails.
std::string message_seal(const std::string& word, const std::string& pass_phrase);
std::string message_open(const std::string& bytes, const std::string& pass_phrase);

}  // namespace lab
