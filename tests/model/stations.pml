/* One extender: two stations and the cable, its socket thread, its timer thread and its driver.
 *
 * A reaction of the dispatcher is one step. What runs without state_mutex is a step for each record:
 * the detection of a cable, the recovery from it, the tick of a ready station. Between two steps of one
 * thread the other one may come, once, and the driver. Time is left out: an armed timeout may fall due
 * at any moment.
 *
 * Trouble is anything: associations, losses, cables, requests for scans, loops, an agent without an
 * answer, a worker that is killed. It may end at any moment, for good ("peace"): what hears an AP then
 * associates before a time limit passes, the agent answers, and nothing else happens.
 *
 * Followed are at most two events of a station that the socket thread has not read, and a count of
 * links that is wrong by at most one.
 *
 * -DCOUNT checks the count of links, -DTIMEOUTS that armed timeouts fall due, -DPEACE that trouble may
 * end and the node comes back. -DKILLS: the worker may be killed. -DSTRAY: "eth_lost" may come without
 * a cable. -DLEFT_OUT=N takes one of the known ways out, to see the check fail.
 */
#define NODES 1
#define A 0 /* preferred */
#define B 1
#define ETH 2
#define up(r) joined[r]

#include "reactions.pml"

/* Driver and world. */
bit joined[2];
byte queued[2];   /* events that the socket thread has not read; they alternate, the last is `joined` */
bit hears[2];     /* in peace: an AP */
bit cable;        /* plugged in, as the agent knows it */
bit peace;

/* Where the threads stand. */
byte timer_at;        /* 0 waits, 1 event chosen, 2 and 3 tick of what is ready */
byte timer_record;
byte timer_event;
bit overtaken;        /* the socket thread has come between two steps of the timer thread */
byte socket_at;       /* 0 waits, 1 to 3 detection, 4 and 5 recovery */
byte last = NOBODY;   /* in peace: the station whose time was up last */

short off;     /* links counted less stations in a linked state */
byte stale;    /* armed timeouts that never fall due */
bit rearms;    /* this step is the last one of a tick */
bit too_far;

#ifndef QUEUE
#define QUEUE 2
#endif
#ifdef STRAY
#define MAY_BE_LOST true
#else
#define MAY_BE_LOST cable
#endif
#ifdef COUNT
#define COUNT_ASSERT(holds) assert(holds)
#else
#define COUNT_ASSERT(holds) skip
#endif
#ifdef TIMEOUTS
#define TIMEOUTS_ASSERT(holds) assert(holds)
#else
#define TIMEOUTS_ASSERT(holds) skip
#endif

#define linked_stations (linked(A) + linked(B))
#define never_due(r) (armed[r] && !HAS_LIMIT(st[r]))
#define carries(r) (st[r] == BACKHAUL_READY && up(r))
#define usable (carries(A) || carries(B) || (st[ETH] == ETH_BACKHAUL_READY && cable))
#define may_join(r) (on[r] && !up(r) && hears[r])
#define quiet (queued[A] + queued[B] == 0 && !may_join(A) && !may_join(B))

inline leave(r) {
    if
    :: up(r) -> joined[r] = 0; queued[r]++
    :: else
    fi
}

inline move_aside(r) {
    timer_set(r, 0);
    if
    :: st[r] == CONNECTING_BACKHAUL_AP || st[r] == CONNECT_WITH_BACKHAUL_AP ->
        state_change(ETH, ETH_BACKHAUL_CONNECTED);
        state_change(r, ETH_BACKHAUL_STANDBY)
    :: st[r] == BACKHAUL_READY ->
        state_change(ETH, ETH_BACKHAUL_READY);
        state_change(r, ETH_BACKHAUL_STANDBY)
    :: else
    fi;
    disable(r)
}

inline worker_start() {
    st[A] = INIT; st[B] = INIT; st[ETH] = ETH_BACKHAUL_DOWN;
    armed[A] = 0; armed[B] = 0; armed[ETH] = 0;
    losses[A] = 0; losses[B] = 0;
    queued[A] = 0; queued[B] = 0;
    links[0] = 0; off = 0; backup[0] = NOBODY; eth_active = 0;
    socket_at = 0; overtaken = 0;
    /* The first START comes from the main thread, which becomes the timer thread. */
    timer_record = A; timer_event = START; timer_at = 1
}

#define room(r) (queued[r] < QUEUE)
#define due(r) (timer_at == 0 && socket_at == 0 && armed[r] && HAS_LIMIT(st[r]) && (!peace || in_turn(r)))
/* In peace: nothing else is about to happen, and of two stations the one that has waited. */
#define in_turn(r) (quiet && (r == ETH || !awaits(ETH) && (r != last || !awaits(other(r)))))
#define awaits(r) (armed[r] && HAS_LIMIT(st[r]))
#define event_is_up(r) (queued[r] % 2 == joined[r])

/* A station's time is up. */
inline timeout_choose(r) {
    timer_record = r;
    timer_at = 1;
    last = (peace && r != ETH -> r : NOBODY);
    if
    :: st[r] == INIT -> timer_event = START
    :: st[r] == CONNECTING_BACKHAUL_AP && up(r) -> timer_event = ASSOC
    :: st[r] == CONNECTING_BACKHAUL_AP && !up(r) -> timer_event = TIMEOUT
    :: st[r] == CONNECTING_TARGET_BACKHAUL_AP -> timer_event = TIMEOUT
    :: st[r] == CONNECT_WITH_BACKHAUL_AP || st[r] == ETH_BACKHAUL_CONNECTED ->
        timer_event = AUTO_CONFIG_SUCCESS
    :: st[r] == CONNECT_PENDING -> timer_set(r, 0); timer_at = 0; timer_record = 0
    :: st[r] == BACKHAUL_READY || st[r] == ETH_BACKHAUL_READY -> timer_set(r, 0); timer_at = 2
    fi
}

inline timer_fires() {
    who = timer_record; what = timer_event;
    timer_at = 0; timer_record = 0; timer_event = 0; overtaken = 0
}

/* A line of a trace: armed timeouts, radios, joined stations, queued events. */
#define say(text) \
    printf(text); \
    printf(":   a %d t%d on%d up%d q%d l%d   b %d t%d on%d up%d q%d l%d   eth %d t%d   links %d backup %d\n", \
           st[A], armed[A], on[A], joined[A], queued[A], losses[A], st[B], armed[B], on[B], joined[B], queued[B], losses[B], \
           st[ETH], armed[ETH], links[0], backup[0])

/* The driver: a station joins an AP or loses it. */
inline driver(s) {
    if
    :: on[s] && !up(s) && room(s) && (!peace || hears[s] && queued[s] == 0) -> joined[s] = 1; queued[s]++; say("joins")
    :: up(s) && room(s) && !peace -> leave(s); say("loses its AP")
    fi
}

/* The socket thread reads an event of a station. */
inline event_read(s) {
    if
    :: !overtaken && socket_at == 0 && queued[s] > 0 && event_is_up(s) -> overtaken = (timer_at != 0);
        queued[s]--; who = s; what = ASSOC; say("is told to have joined")
    :: !overtaken && socket_at == 0 && queued[s] > 0 && event_is_up(s) && !peace -> overtaken = (timer_at != 0);
        queued[s]--; who = s; what = ASSOC; in_loop = 1; say("is told to have joined, in a loop")
    :: !overtaken && socket_at == 0 && queued[s] > 0 && !event_is_up(s) -> overtaken = (timer_at != 0);
        queued[s]--; who = s; what = (st[s] == CONNECTING_TARGET_BACKHAUL_AP -> NOTHING : AP_DISASSOC);
        say("is told to have lost its AP")
    fi
}

/* The ways in which a node that hears an AP may stay without its backhaul. -DLEFT_OUT=N leaves one out. */
#ifndef LEFT_OUT
#define LEFT_OUT 0
#endif
#define unplaced(r) (st[r] == CONNECTING_BACKHAUL_AP && !armed[r])
#define deaf(r) (st[r] == CONNECT_PENDING || !hears[r])
#define KNOWN \
    (LEFT_OUT != 1 && (unplaced(A) || unplaced(B)) || \
     LEFT_OUT != 2 && deaf(A) && deaf(B) || \
     LEFT_OUT != 3 && cable && st[ETH] == ETH_BACKHAUL_DOWN || \
     LEFT_OUT != 4 && backup[0] == B && st[B] == INIT)
#ifdef PEACE
ltl back { [] (peace -> <> (usable || too_far || KNOWN)) }
#endif

active proctype node() {
    worker_start();
    do
    :: too_far -> break
    :: else ->
        atomic {
            what = NOTHING;
            if
            :: driver(A)
            :: driver(B)
            :: event_read(A)
            :: event_read(B)

            /* The socket thread takes a cable, without the mutex. */
            :: !overtaken && socket_at == 0 && !peace && !cable -> overtaken = (timer_at != 0);
                cable = 1; eth_active = 1; links[0] = 0; cause_known = 1; socket_at = 1; say("cable found")
            :: !overtaken && socket_at == 1 -> overtaken = (timer_at != 0); move_aside(A); cause_known = 1; socket_at = 2; say("a set aside")
            :: !overtaken && socket_at == 2 -> overtaken = (timer_at != 0); move_aside(B); cause_known = 1; socket_at = 3; say("b set aside")
            :: !overtaken && socket_at == 3 -> overtaken = (timer_at != 0); backup[0] = NOBODY; socket_at = 0; say("cable taken")

            /* The same for its loss. */
            :: !overtaken && socket_at == 0 && !peace && MAY_BE_LOST -> overtaken = (timer_at != 0);
                cable = 0; eth_active = 0; state_change(ETH, ETH_BACKHAUL_DOWN); socket_at = 4; say("cable lost")
            :: !overtaken && socket_at == 4 -> overtaken = (timer_at != 0);
                timer_set(A, 0); st[A] = INIT; timer_set(B, 0); st[B] = INIT;
                cause_known = 1; socket_at = 5; say("all idle")
            :: !overtaken && socket_at == 5 -> overtaken = (timer_at != 0); socket_at = 0; who = A; what = START; say("a started")

            /* The same for a request to scan: no command runs in between. */
            :: !overtaken && socket_at == 0 && !peace -> overtaken = (timer_at != 0);
                release_parked(A, B); say("scan asked for")

            /* The timer thread: a time is up, then the event is handled. */
            :: due(A) -> timeout_choose(A); say("a: time is up")
            :: due(B) -> timeout_choose(B); say("b: time is up")
            :: due(ETH) -> timeout_choose(ETH); say("eth: time is up")
            :: timer_at == 1 -> timer_fires(); say("timer thread acts")
            :: timer_at == 1 && timer_event == AUTO_CONFIG_SUCCESS && !peace ->
                timer_fires(); what = TIMEOUT; say("agent has no answer")
            :: timer_at == 1 && timer_event == START && !peace ->
                timer_fires(); unconfigured = 1; say("not configured yet")

            /* A tick of what is ready. */
            :: timer_at == 2 -> timer_at = 3; overtaken = 0; say("tick: no better AP")
            :: timer_at == 2 && !peace && timer_record != ETH && losses[timer_record % 2] > 0 ->
                losses[timer_record % 2]--; timer_at = 3; overtaken = 0; say("tick: a loss is forgiven")
            :: timer_at == 2 && !peace && timer_record != ETH ->
                timer_event = CONFIG_BEST_AP; timer_at = 1; overtaken = 0; say("tick: a better AP")
            :: timer_at == 3 ->
                timer_set(timer_record, 1); rearms = 1;
                timer_event = (timer_record == ETH || up(timer_record % 2) -> NOTHING : AP_DISASSOC);
                timer_at = 1; overtaken = 0;
                say("tick: waits again")

#ifdef KILLS
            :: !peace -> worker_start(); say("worker killed")
#endif
#ifdef PEACE
            :: !peace && room(A) && room(B) ->
                peace = 1;
                if
                :: hears[A] = 1; hears[B] = 1
                :: hears[A] = 1; leave(B)
                :: hears[B] = 1; leave(A)
                fi;
                say("peace")
#endif
            fi;
            d_step {
                react();
                if
                :: what != NOTHING -> say("    now")
                :: else
                fi;
                if
                :: links[0] - linked_stations != off -> COUNT_ASSERT(cause_known); off = links[0] - linked_stations
                :: else
                fi;
                too_far = (off > 1 || off < -1);
                /* The last step of a tick arms whatever became of the record meanwhile. */
                if
                :: never_due(A) + never_due(B) + never_due(ETH) > stale -> TIMEOUTS_ASSERT(rearms)
                :: else
                fi;
                stale = never_due(A) + never_due(B) + never_due(ETH);
                rearms = 0;
                step_forget()
            }
        }
    od
}
