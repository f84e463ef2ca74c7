/* Two extenders, each with two stations, that can hear each other and the root. Only the preferred
 * stations hear the other extender; all of them may hear the root, each on its own band.
 *
 * A driver's event is handled at once and a reaction is one step. A station joins an AP that has a way
 * to the root (APs announce it), or the one AP that the daemon has set. The prober brings the topology
 * database of each node up to date at some moment: until then it tells what was.
 *
 * Trouble: any radio of the root falls silent or is heard again, the extenders come near each other and
 * part. It may end for good ("peace") with the root heard by all.
 *
 * -DPEACE checks that both come back to the root then, -DCIRCLE that a circle is closed in the known
 * way only. -DLEFT_OUT=1 takes that way out.
 */
#define NODES 2
#define ETH 4
#define MOST_LOSSES 1
#define NOWHERE 0
#define ROOT 1
#define OTHER 2 /* the other extender */
#define up(r) (at[r] != NOWHERE)

#include "reactions.pml"

byte at[4];
byte target[2];    /* of a switch, of the preferred station */
bit root_heard[2]; /* by preferred stations, by the others: the root's radios */
bit near;          /* the extenders hear each other */
bit known_below[2]; /* by node: its database tells that the other's way leads over it */
bit budget[2];     /* scans are left */
bit peace;
bit closed_unseen; /* the circle was closed while the database was behind */

inline leave(r) { at[r] = NOWHERE }

#define joined_to(n, place) (at[2 * (n)] == place || at[2 * (n) + 1] == place)
#define direct(n) joined_to(n, ROOT)
#define below(n) (joined_to(n, OTHER))
#define way(n) (direct(n) || below(n) && direct(1 - (n)))
#define ready(n) (st[2 * (n)] == BACKHAUL_READY || st[2 * (n) + 1] == BACKHAUL_READY)
#define over_me(n) (below(1 - (n)) && !direct(1 - (n)))
#define circle (below(0) && below(1) && !direct(0) && !direct(1))
#define heard(r, place) (place == ROOT && root_heard[(r) % 2] || place == OTHER && near && is_preferred(r))
#define searches(r) (on[r] && !up(r) && (st[r] == CONNECTING_BACKHAUL_AP || st[r] == CONNECTING_TARGET_BACKHAUL_AP))
#define switches(r) (st[r] == CONNECTING_TARGET_BACKHAUL_AP)
#define allowed(r, place) (switches(r) && target[home(r)] == place || \
                           !switches(r) && (place == ROOT || way(1 - home(r))))
#define joins_now(r) (searches(r) && (heard(r, ROOT) && allowed(r, ROOT) || heard(r, OTHER) && allowed(r, OTHER)))
#define calm (!joins_now(0) && !joins_now(1) && !joins_now(2) && !joins_now(3) && \
              known_below[0] == over_me(0) && known_below[1] == over_me(1))
#define due(r) (armed[r] && HAS_LIMIT(st[r]) && (!peace || calm))

#define say(text) \
    printf(text); \
    printf(":   e1 %d/%d %d/%d   e2 %d/%d %d/%d   db %d %d  links %d %d\n", st[0], at[0], st[1], at[1], st[2], at[2], \
           st[3], at[3], known_below[0], known_below[1], links[0], links[1])

inline join(r, place) {
    at[r] = place;
    who = r;
    what = ASSOC;
    in_loop = (place == OTHER && known_below[home(r)]);
    say("joins")
}

inline station(r) {
    if
    :: searches(r) && heard(r, ROOT) && allowed(r, ROOT) -> join(r, ROOT)
    :: searches(r) && heard(r, OTHER) && allowed(r, OTHER) -> join(r, OTHER)
    :: up(r) && !heard(r, at[r]) -> leave(r); who = r; what = (switches(r) -> NOTHING : AP_DISASSOC); say("loses its AP")
    :: due(r) && st[r] == INIT -> who = r; what = START; say("starts")
    :: due(r) && st[r] == CONNECTING_BACKHAUL_AP && !up(r) -> who = r; what = TIMEOUT; say("joins nobody in time")
    :: due(r) && st[r] == CONNECTING_TARGET_BACKHAUL_AP -> who = r; what = TIMEOUT; say("fails to switch")
    :: due(r) && st[r] == CONNECT_WITH_BACKHAUL_AP && way(home(r)) -> who = r; what = AUTO_CONFIG_SUCCESS; say("is configured")
    /* A tick: the other AP is better, as the driver sees it; it looks for no circle but its own. */
    :: due(r) && st[r] == BACKHAUL_READY && up(r) && is_preferred(r) && budget[home(r)] && at[r] != OTHER && heard(r, OTHER) &&
       way(1 - home(r)) && !over_me(home(r)) -> who = r; what = CONFIG_BEST_AP; budget[home(r)] = 0; target[home(r)] = OTHER; say("prefers the other")
    :: due(r) && st[r] == BACKHAUL_READY && up(r) && is_preferred(r) && budget[home(r)] && at[r] == OTHER && heard(r, ROOT) ->
       who = r; what = CONFIG_BEST_AP; budget[home(r)] = 0; target[home(r)] = ROOT; say("prefers the root")
    :: due(r) && st[r] == BACKHAUL_READY && !up(r) -> who = r; what = AP_DISASSOC; say("is seen to be lost")
    fi
}

inline node_start(n) {
    backup[n] = NOBODY; budget[n] = 1;
    st[2 * n] = CONNECTING_BACKHAUL_AP; armed[2 * n] = 1; on[2 * n] = 1
}

#ifndef LEFT_OUT
#define LEFT_OUT 0
#endif
#ifdef PEACE
ltl back { [] (peace -> <> (ready(0) && way(0) && ready(1) && way(1) || LEFT_OUT != 1 && circle)) }
#endif
#ifdef CIRCLE
#define CIRCLE_ASSERT(holds) assert(holds)
#else
#define CIRCLE_ASSERT(holds) skip
#endif

active proctype mesh() {
    node_start(0);
    node_start(1);
    do
    :: atomic {
        what = NOTHING;
        if
        :: station(0)
        :: station(1)
        :: station(2)
        :: station(3)
        :: known_below[0] != over_me(0) -> known_below[0] = over_me(0); say("e1 hears of the topology")
        :: known_below[1] != over_me(1) -> known_below[1] = over_me(1); say("e2 hears of the topology")
        :: !peace -> root_heard[0] = 1 - root_heard[0]; say("the root's first radio is switched")
        :: !peace -> root_heard[1] = 1 - root_heard[1]; say("the root's second radio is switched")
        :: !peace -> near = 1 - near; say("the extenders meet or part")
        :: !peace && budget[0] -> budget[0] = 0; say("e1 has no scans left")
        :: !peace && budget[1] -> budget[1] = 0; say("e2 has no scans left")
        :: !peace -> budget[0] = 1; release_parked(0, 1); say("e1 is asked to scan")
        :: !peace -> budget[1] = 1; release_parked(2, 3); say("e2 is asked to scan")
        :: !peace -> peace = 1; root_heard[0] = 1; root_heard[1] = 1; near = 1; say("peace")
        fi;
        d_step {
            was = circle;
            closed_unseen = (what == ASSOC && !in_loop);
            react();
            if
            :: circle -> CIRCLE_ASSERT(LEFT_OUT != 1 && (closed_unseen || was))
            :: else
            fi;
            closed_unseen = 0;
            if
            :: what != NOTHING -> say("    now")
            :: else
            fi;
            step_forget()
        }
    }
    od
}
