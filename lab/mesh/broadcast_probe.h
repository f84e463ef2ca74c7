// Marked broadcasts: one frame with a mark of its own leaves one node, and every node counts how
// often it arrives. A mark that a node sees twice has gone round a loop.
//
// Packet sockets on the "br-lan" of every node, with an Ethernet protocol number that nobody else
// uses. Frames are on their way only while the sender's call lasts, so the counts are complete at
// the next look. Used on the thread that owns the mesh.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

class BroadcastProbe {
public:
    BroadcastProbe() = default;
    ~BroadcastProbe();
    BroadcastProbe(const BroadcastProbe&) = delete;
    BroadcastProbe& operator=(const BroadcastProbe&) = delete;

    // One more node, whose process 1 (the caller's numbering) is `init`. Nodes count from 0.
    bool node_add(int init, std::string& error);

    // Sends the next mark from this node. Marks count from 1; the mark of the last one sent.
    std::uint32_t send(int node);

    // How often each node saw the mark since it was sent; the sender's own frame counts as one.
    std::vector<int> counts(std::uint32_t mark);

private:
    struct Ear {
        int fd = -1;
        int interface = 0;
    };

    std::vector<Ear> ears_;
    std::vector<int> seen_;  // of the last mark
    std::uint32_t mark_ = 0;
    int sender_ = -1;
};

}  // namespace lab
