#pragma once

// The root's list of live extenders, by AL MAC address, and its mirror "/tmp/backhaul_ap_list".
//
// Root loop thread only, no lock. The file survives a restart and is loaded again; it always
// holds the whole list (replaced at once). The rule who is alive is `ap_presence_step`, a function
// of one database row.

#include "topology/topology_db.h"

inline constexpr char AP_LIST_PATH[] = "/tmp/backhaul_ap_list";

struct ap_node {
    almac_text almac;
    ap_node* next;
};

/// Values carried from row to row: a null column keeps the previous row's value.
struct ap_presence {
    int alive = 0;
    int not_alive = 0;
};

/// Takes one row's columns (null = keep) into `presence`; true when the extender counts as
/// present: alive, or missed by the prober at most twice.
bool ap_presence_step(ap_presence& presence, const char* alive, const char* not_alive);

/// Loads the file at the start of the root loop; each address is logged as joining.
void backhaul_ap_list_init();

/// Where an address of the list comes from: the file is not rewritten with its own content.
enum class ap_source { file, database };

/// Appends a node.
void backhaul_ap_node_add(const char* almac, ap_source source);

/// Removes the first node with that address, if any.
void backhaul_ap_node_del(const char* almac);

/// Whether a node with exactly that address is in the list.
bool backhaul_ap_list_find(const char* almac);

/// Rewrites the file from the list.
void backhaul_ap_list_update();

/// Brings the list in line with the database.
void backhaul_ap_list_sync();
