// How many nodes a mesh may have: read by whoever is told a number of nodes, before anything is
// made.
#pragma once

namespace lab {

// Addresses of the mesh's /24 network would do for more. But every node hears of every other one
// that becomes ready and starts a few programs for it, so that the work of a mesh that forms grows
// with the square of its nodes: this many were seen to form and to answer.
inline constexpr int MOST_NODES = 250;

// Files that a node needs open in the program that holds the mesh: namespaces, sockets, and two for
// each thread that is watched for quiet.
inline constexpr int DESCRIPTORS_A_NODE = 64;

}  // namespace lab
