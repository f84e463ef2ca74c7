/* One extender: two stations and the cable, its socket thread, its timer thread and its driver.
 *
 * A reaction of the dispatcher is one step, since state_mutex is held for all of it. What runs without
 * that mutex is a step for each record: the detection of a cable, the recovery from it, the release of
 * parked stations, the tick of a ready station. Between any two steps the other thread, the driver or
 * trouble may come. Time is left out: an armed timeout may fall due at any moment.
 *
 * Trouble is anything: associations, losses, cables, requests for scans, words of the agent out of
 * turn, a worker that is killed. It may end at any moment, for good ("peace"): what hears an AP then
 * associates before a time limit passes, the agent answers, and nothing else happens.
 *
 * `tables.pml` is printed from the daemon's tables. What is written here by hand, the reactions, is
 * compared with the daemon's own by tests/model/reactions_test.cpp.
 *
 * -DB_COUNTS=0: the second station is one of 2.4 GHz. -DSTRAY: "eth_lost" may come without a cable.
 * -DKILLS: the worker may be killed. -DPEACE: trouble may end.
 */
#include "tables.pml"

#define A 0   /* preferred */
#define B 1
#define ETH 2
#define NOBODY 3
#define MOST_LOSSES 2 /* stands for "at the limit" */

#define START 0
#define ASSOC 1
#define AP_DISASSOC 2
#define TIMEOUT 3
#define AUTO_CONFIG_SUCCESS 4
#define CONFIG_BEST_AP 5
#define NOTHING 6

#ifdef CHECK_TIMERS
#define TIMER_CHECK assert(!never_due(A) && !never_due(B) && !never_due(ETH));
#else
#define TIMER_CHECK
#endif
#define never_due(r) (armed[r] && !HAS_LIMIT(st[r]))

#ifndef B_COUNTS
#define B_COUNTS 1
#endif

/* The records and the runtime block. */
byte st[3];
bit armed[3];
byte losses[2];
short links;
byte backup = NOBODY;
bit eth_active;

/* Driver and world. */
bit on[2];        /* the daemon has turned it on */
bit up[2];        /* joined to an AP */
byte queued[2];   /* events of it that the socket thread has not read; they alternate, the last is `up` */
bit hears[2];     /* in peace: an AP */
bit cable;        /* plugged in, as the agent knows it */
bit peace;

/* Where the threads stand. */
byte timer_at = 0; /* 0 waits, 1 event chosen, 2 and 3 tick of what is ready */
byte timer_record;
byte timer_event;
byte socket_at = 0; /* 0 waits, 1 to 3 detection, 4 and 5 recovery */
bit restart_preferred;
bit overtaken;         /* the socket thread has come between two steps of the timer thread */
byte last = NOBODY; /* in peace: the station whose time was up last */

/* What the properties need. */
short off;     /* links counted less stations in a linked state, as known causes explain it */
bit too_far;   /* more is miscounted than is followed */
byte who;        /* a step: whose reaction, */
byte what;     /* to what, */
bit in_loop;       /* whether the topology tells of a loop, */
bit unconfigured;  /* whether the station has no SSID yet, */
byte cause_known; /* whether the count may go wrong */
short pair;
byte chosen;
byte was;

#ifdef STRAY
#define MAY_BE_LOST true
#else
#define MAY_BE_LOST cable
#endif

#define linked(r) (st[r] == CONNECT_WITH_BACKHAUL_AP || st[r] == BACKHAUL_READY || \
                   st[r] == CONNECTING_TARGET_BACKHAUL_AP)
#define linked_stations (linked(A) + linked(B))
#define carries(r) (st[r] == BACKHAUL_READY && up[r])
#define usable (carries(A) || carries(B) || (st[ETH] == ETH_BACKHAUL_READY && cable))
#define quiet (queued[A] + queued[B] == 0 && !may_join(A) && !may_join(B))
#define may_join(r) (on[r] && !up[r] && hears[r])

inline timer_set(r, value) { armed[r] = value }

inline state_change(r, requested) {
    pair = PAIR(st[r], requested);
    if
    :: TRANSITION_ARMS(pair) -> st[r] = requested; timer_set(r, 1)
    :: TRANSITION_CLEARS(pair) -> st[r] = requested; timer_set(r, 0)
    :: else
    fi
}

inline leave(r) {
    if
    :: up[r] -> up[r] = 0; queued[r]++
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
    :: !BACKUP_IS_FREE(st[1 - r]) -> station_start(r)
    :: else ->
        backup = 1 - r;
        station_start(1 - r);
        if
        :: st[r] == CONNECT_PENDING
        :: else ->
            if
            :: r == A -> station_start(r)
            :: else -> st[r] = INIT
            fi
        fi
    fi
}

inline find_backup(r) {
    if
    :: r == A && losses[r] == MOST_LOSSES -> state_change(r, CONNECT_PENDING)
    :: else
    fi;
    if
    :: backup == NOBODY || r != A -> backup_search(r)
    :: else ->
        if
        :: losses[r] < MOST_LOSSES -> station_start(r)
        :: else
        fi
    fi
}

inline backup_release() {
    state_change(backup, INIT);
    disable(backup);
    backup = NOBODY
}

inline connected(r) {
    links++;
    chosen = CONNECT_VIEW((links == 1), (r == A), (backup != NOBODY), st[A]);
    if
    :: CONNECT_FIRST_LINK(chosen) ->
        state_change(r, CONNECT_WITH_BACKHAUL_AP);
        if
        :: r == A && backup != NOBODY ->
            if
            :: st[backup] == CONNECTING_BACKHAUL_AP -> backup_release()
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
            links--
        :: else ->
            links--;
            was = st[backup];
            backup_release();
            if
            :: was == CONNECT_WITH_BACKHAUL_AP -> state_change(r, CONNECT_WITH_BACKHAUL_AP)
            :: was == BACKHAUL_READY -> state_change(r, BACKHAUL_READY)
            :: else
            fi
        fi
    :: CONNECT_UNKNOWN_STATUS(chosen) -> cause_known = 1
    :: CONNECT_PREFERRED_HAS_LINK(chosen) ->
        links--;
        state_change(r, INIT);
        disable(r);
        backup = NOBODY
    fi
}

#define loss_counts(r) ((r == A || B_COUNTS) && LOSS_COUNTS_5G(st[r]) || \
                        (r == B && !B_COUNTS) && LOSS_COUNTS_24G(st[r]))

inline disconnected(r) {
    links--;
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
    :: up[r] -> state_change(r, CONNECT_WITH_BACKHAUL_AP)
    :: else ->
        if
        :: links > 0 -> links--
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

inline release(r) {
    losses[r] = 0;
    if
    :: st[r] == CONNECT_PENDING ->
        st[r] = INIT;
        if
        :: r == A -> restart_preferred = 1
        :: else
        fi
    :: else
    fi
}

inline worker_start() {
    st[A] = INIT; st[B] = INIT; st[ETH] = ETH_BACKHAUL_DOWN;
    armed[A] = 0; armed[B] = 0; armed[ETH] = 0;
    losses[A] = 0; losses[B] = 0;
    queued[A] = 0; queued[B] = 0;
    links = 0; off = 0; backup = NOBODY; eth_active = 0;
    socket_at = 0; overtaken = 0; restart_preferred = 0;
    /* The first START comes from the main thread, which becomes the timer thread. */
    timer_record = A; timer_event = START; timer_at = 1
}

#ifndef QUEUE
#define QUEUE 2
#endif
#define room(r) (queued[r] < QUEUE)
#define due(r) (timer_at == 0 && socket_at == 0 && armed[r] && HAS_LIMIT(st[r]) && (!peace || in_turn(r)))
/* In peace: nothing else is about to happen, and of two stations the one that has waited. */
#define in_turn(r) (quiet && (r == ETH || !awaits(ETH) && (r != last || !awaits(1 - r))))
#define awaits(r) (armed[r] && HAS_LIMIT(st[r]))
#define event_is_up(r) (queued[r] % 2 == up[r])

/* A station's time is up. */
inline timeout_choose(r) {
    timer_record = r;
    timer_at = 1;
    last = (peace && r != ETH -> r : NOBODY);
    if
    :: st[r] == INIT -> timer_event = START
    :: st[r] == CONNECTING_BACKHAUL_AP && up[r] -> timer_event = ASSOC
    :: st[r] == CONNECTING_BACKHAUL_AP && !up[r] -> timer_event = TIMEOUT
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
           st[A], armed[A], on[A], up[A], queued[A], losses[A], st[B], armed[B], on[B], up[B], queued[B], losses[B], \
           st[ETH], armed[ETH], links, backup)

/* The driver: a station joins an AP or loses it. */
inline driver(s) {
    if
    :: on[s] && !up[s] && room(s) && (!peace || hears[s]) -> up[s] = 1; queued[s]++; say("joins")
    :: up[s] && room(s) && !peace -> leave(s); say("loses its AP")
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
#define given_up(r) (st[r] == CONNECTING_TARGET_BACKHAUL_AP && !armed[r] && !on[r])
#define deaf(r) (st[r] == CONNECT_PENDING || !hears[r])
#define KNOWN \
    (LEFT_OUT != 1 && (unplaced(A) || unplaced(B)) || \
     LEFT_OUT != 2 && given_up(A) || \
     LEFT_OUT != 3 && deaf(A) && deaf(B) || \
     LEFT_OUT != 4 && cable && st[ETH] == ETH_BACKHAUL_DOWN || \
     LEFT_OUT != 5 && backup == B && st[B] == INIT)
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
                cable = 1; eth_active = 1; links = 0; cause_known = 1; socket_at = 1; say("cable found")
            :: !overtaken && socket_at == 1 -> overtaken = (timer_at != 0); move_aside(A); cause_known = 1; socket_at = 2; say("a set aside")
            :: !overtaken && socket_at == 2 -> overtaken = (timer_at != 0); move_aside(B); cause_known = 1; socket_at = 3; say("b set aside")
            :: !overtaken && socket_at == 3 -> overtaken = (timer_at != 0); backup = NOBODY; socket_at = 0; say("cable taken")

            /* The same for its loss. */
            :: !overtaken && socket_at == 0 && !peace && MAY_BE_LOST -> overtaken = (timer_at != 0);
                cable = 0; eth_active = 0; state_change(ETH, ETH_BACKHAUL_DOWN); socket_at = 4; say("cable lost")
            :: !overtaken && socket_at == 4 -> overtaken = (timer_at != 0);
                timer_set(A, 0); st[A] = INIT; timer_set(B, 0); st[B] = INIT;
                cause_known = 1; socket_at = 5; say("all idle")
            :: !overtaken && socket_at == 5 -> overtaken = (timer_at != 0); socket_at = 0; who = A; what = START; say("a started")

            /* The same for a request to scan: no command runs in between. */
            :: !overtaken && socket_at == 0 && !peace -> overtaken = (timer_at != 0);
                release(A);
                release(B);
                if
                :: restart_preferred -> station_start(A); restart_preferred = 0
                :: else
                fi;
                say("scan asked for")

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
                timer_set(timer_record, 1);
                timer_event = (timer_record == ETH || up[timer_record % 2] -> NOTHING : AP_DISASSOC);
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
                :: links - linked_stations != off -> assert(cause_known); off = links - linked_stations
                :: else
                fi;
                too_far = (off > 1 || off < -1);
                TIMER_CHECK
                who = 0; what = 0; in_loop = 0; unconfigured = 0; cause_known = 0; pair = 0; chosen = 0; was = 0
            }
        }
    od
}
