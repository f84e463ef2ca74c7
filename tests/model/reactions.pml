/* The reactions of the dispatcher, for the models that include this file: link/slave_event,
 * link/link_connect, link/link_disconnect, link/backup_link and link/autoconfig_timeout. Each is one
 * step, since state_mutex is held for all of it. What they choose by and which transitions are accepted
 * is printed from the daemon (tables.pml); the rest is written by hand: a change there is one here.
 *
 * Station r belongs to node r / 2; the even one is the preferred one. A model defines `leave(r)`, by
 * which a station that is joined is no more, `up(r)`, and ETH, the number of the wired record.
 */
#include "tables.pml"

#define NOBODY 15
#ifndef MOST_LOSSES
#define MOST_LOSSES 2 /* stands for "at the limit" */
#endif

#define START 0
#define ASSOC 1
#define AP_DISASSOC 2
#define TIMEOUT 3
#define AUTO_CONFIG_SUCCESS 4
#define CONFIG_BEST_AP 5
#define NOTHING 6

#ifndef B_COUNTS
#define B_COUNTS 1 /* 0: the second station is one of 2.4 GHz */
#endif

#define home(r) ((r) / 2)
#define is_preferred(r) ((r) % 2 == 0)
#define other(r) ((r) + 1 - 2 * ((r) % 2))

byte st[2 * NODES + 1];
bit armed[2 * NODES + 1];
byte losses[2 * NODES];
bit on[2 * NODES];        /* the daemon has turned the radio on */
short links[NODES];
byte backup[NODES];
bit eth_active;

/* A step: */
byte who;          /* whose reaction, */
byte what;         /* to what, */
bit in_loop;       /* whether the topology tells of a loop, */
bit unconfigured;  /* whether the station has no SSID yet, */
bit cause_known;   /* whether the count may go wrong */
short pair;
byte chosen;
byte was;
byte released;

#define linked(r) (st[r] == CONNECT_WITH_BACKHAUL_AP || st[r] == BACKHAUL_READY || \
                   st[r] == CONNECTING_TARGET_BACKHAUL_AP)

inline step_forget() {
    who = 0; what = 0; in_loop = 0; unconfigured = 0; cause_known = 0;
    pair = 0; chosen = 0; was = 0; released = 0
}

inline timer_set(r, value) { armed[r] = value }

inline state_change(r, requested) {
    pair = PAIR(st[r], requested);
    if
    :: TRANSITION_ARMS(pair) -> st[r] = requested; timer_set(r, 1)
    :: TRANSITION_CLEARS(pair) -> st[r] = requested; timer_set(r, 0)
    :: else
    fi
}

/* An interface that is attached already is taken away first. */
inline enable(r) { leave(r); on[r] = 1 }
inline disable(r) { leave(r); on[r] = 0 }

inline station_start(r) {
    state_change(r, CONNECTING_BACKHAUL_AP);
    enable(r)
}

inline backup_search(r) {
    if
    :: st[r] != CONNECT_PENDING -> st[r] = ETH_BACKHAUL_STANDBY
    :: else
    fi;
    if
    :: !BACKUP_IS_FREE(st[other(r)]) -> station_start(r)
    :: else ->
        backup[home(r)] = other(r);
        station_start(other(r));
        if
        :: st[r] == CONNECT_PENDING
        :: else ->
            if
            :: is_preferred(r) -> station_start(r)
            :: else -> st[r] = INIT
            fi
        fi
    fi
}

inline find_backup(r) {
    if
    :: is_preferred(r) && losses[r] == MOST_LOSSES -> state_change(r, CONNECT_PENDING)
    :: else
    fi;
    if
    :: backup[home(r)] == NOBODY || !is_preferred(r) -> backup_search(r)
    :: else ->
        if
        :: losses[r] < MOST_LOSSES -> station_start(r)
        :: else
        fi
    fi
}

inline backup_release(r) {
    released = backup[home(r)];
    state_change(released, INIT);
    disable(released);
    backup[home(r)] = NOBODY
}

inline connected(r) {
    links[home(r)]++;
    chosen = CONNECT_VIEW((links[home(r)] == 1), (is_preferred(r)), (backup[home(r)] != NOBODY), st[r - r % 2]);
    if
    :: CONNECT_FIRST_LINK(chosen) ->
        state_change(r, CONNECT_WITH_BACKHAUL_AP);
        if
        :: is_preferred(r) && backup[home(r)] != NOBODY ->
            if
            :: st[backup[home(r)]] == CONNECTING_BACKHAUL_AP -> backup_release(r)
            :: else
            fi
        :: else
        fi
    :: CONNECT_PREFERRED_BACK(chosen) ->
        if
        :: in_loop ->
            losses[r] = MOST_LOSSES;
            state_change(r, CONNECT_PENDING);
            disable(r);
            links[home(r)]--
        :: else ->
            links[home(r)]--;
            was = st[backup[home(r)]];
            backup_release(r);
            if
            :: was == CONNECT_WITH_BACKHAUL_AP -> state_change(r, CONNECT_WITH_BACKHAUL_AP)
            :: was == BACKHAUL_READY -> state_change(r, BACKHAUL_READY)
            :: else
            fi
        fi
    :: CONNECT_UNKNOWN_STATUS(chosen) -> cause_known = 1
    :: CONNECT_PREFERRED_HAS_LINK(chosen) ->
        links[home(r)]--;
        state_change(r, INIT);
        disable(r);
        backup[home(r)] = NOBODY
    fi
}

#define loss_counts(r) ((is_preferred(r) || B_COUNTS) && LOSS_COUNTS_5G(st[r]) || \
                        (!is_preferred(r) && !B_COUNTS) && LOSS_COUNTS_24G(st[r]))

inline disconnected(r) {
    links[home(r)]--;
    leave(r);
    if
    :: linked(r) ->
        if
        :: loss_counts(r) && losses[r] < MOST_LOSSES -> losses[r]++
        :: else
        fi;
        chosen = LOSS_VIEW(st[r], (losses[r] == MOST_LOSSES));
        if
        :: LOSS_RESTART_UNCONFIGURED(chosen) ->
            disable(r);
            enable(r);
            state_change(r, CONNECTING_BACKHAUL_AP)
        :: LOSS_RECONNECT(chosen) -> state_change(r, CONNECTING_BACKHAUL_AP)
        :: LOSS_PARK(chosen) ->
            /* During a switch a station cannot be parked. */
            cause_known = (st[r] == CONNECTING_TARGET_BACKHAUL_AP);
            disable(r);
            state_change(r, CONNECT_PENDING);
            find_backup(r)
        :: LOSS_NO_RETRY(chosen) -> skip
        fi
    :: else
    fi
}

inline wait_for_agent_failed(r) {
    timer_set(r, 0);
    if
    :: up(r) -> state_change(r, CONNECT_WITH_BACKHAUL_AP)
    :: else ->
        if
        :: links[home(r)] > 0 -> links[home(r)]--
        :: else -> cause_known = 1
        fi;
        state_change(r, CONNECTING_BACKHAUL_AP)
    fi
}

inline react() {
    if
    :: st[who] == INIT && what == START ->
        timer_set(who, 0);
        if
        :: eth_active ->
            state_change(ETH, ETH_BACKHAUL_CONNECTED);
            state_change(who, ETH_BACKHAUL_STANDBY)
        :: !eth_active && !unconfigured ->
            state_change(who, CONNECTING_BACKHAUL_AP);
            enable(who)
        :: !eth_active && unconfigured -> state_change(who, INIT)
        fi
    :: st[who] == CONNECTING_BACKHAUL_AP && what == ASSOC ->
        timer_set(who, 0);
        connected(who)
    :: st[who] == CONNECTING_BACKHAUL_AP && what == TIMEOUT ->
        timer_set(who, 0);
        disable(who);
        find_backup(who)
    :: st[who] == CONNECT_WITH_BACKHAUL_AP && what == AP_DISASSOC ->
        timer_set(who, 0);
        disconnected(who)
    :: st[who] == CONNECT_WITH_BACKHAUL_AP && what == AUTO_CONFIG_SUCCESS ->
        timer_set(who, 0);
        state_change(who, BACKHAUL_READY)
    :: st[who] == CONNECT_WITH_BACKHAUL_AP && what == TIMEOUT -> wait_for_agent_failed(who)
    :: st[who] == BACKHAUL_READY && what == AP_DISASSOC ->
        timer_set(who, 0);
        disconnected(who)
    :: st[who] == BACKHAUL_READY && what == CONFIG_BEST_AP ->
        state_change(who, CONNECTING_TARGET_BACKHAUL_AP);
        leave(who)
    :: st[who] == CONNECTING_TARGET_BACKHAUL_AP && what == ASSOC ->
        timer_set(who, 0);
        state_change(who, BACKHAUL_READY)
    :: st[who] == CONNECTING_TARGET_BACKHAUL_AP && what == TIMEOUT ->
        timer_set(who, 0);
        disconnected(who)
    :: st[who] == ETH_BACKHAUL_CONNECTED && what == AUTO_CONFIG_SUCCESS ->
        timer_set(who, 0);
        state_change(who, ETH_BACKHAUL_READY)
    :: st[who] == ETH_BACKHAUL_STANDBY && what == ASSOC -> disable(who)
    :: else
    fi
}

/* Another scan was asked for, of a node with these two stations (link/backup_link). No command runs
 * before the preferred one is started. */
inline release_parked(preferred, second) {
    losses[preferred] = 0;
    losses[second] = 0;
    if
    :: st[second] == CONNECT_PENDING -> st[second] = INIT
    :: else
    fi;
    if
    :: st[preferred] == CONNECT_PENDING -> st[preferred] = INIT; station_start(preferred)
    :: else
    fi
}
