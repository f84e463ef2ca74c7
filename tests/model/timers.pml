/* The timeouts and the count that wakes the timer thread (intf/intf_timer): two threads arm and clear
 * the timeouts of two records, in any order and at any time, while the timer thread waits and sweeps.
 *
 * Checked: the count is that of the armed timeouts whenever the mutex is free, and where nothing goes on
 * any more (both threads have ended, the timer thread waits) no timeout is armed.
 *
 * -DNO_SIGNAL=1 takes the signal away, to see the check fail.
 */
#define RECORDS 2

#ifndef NO_SIGNAL
#define NO_SIGNAL 0
#endif

bit armed[RECORDS];
byte pending;      /* active_timer_count */
bit locked;       /* timer_mutex */
bit waiting;      /* the timer thread is in pthread_cond_wait */
bit signalled;

inline lock() { atomic { !locked -> locked = 1 } }
inline unlock() { assert(pending == armed[0] + armed[1]); locked = 0 }

/* As intf_timer_set, a statement each. */
inline timer_set(r, on) {
    lock();
    if
    :: armed[r] -> pending--
    :: else
    fi;
    if
    :: on -> pending++
    :: else
    fi;
    armed[r] = on;
    if
    :: pending == 1 && waiting && !NO_SIGNAL -> signalled = 1
    :: else
    fi;
    unlock()
}

active [2] proctype setter() {
end:
    do
    :: timer_set(0, 1)
    :: timer_set(0, 0)
    :: timer_set(1, 1)
    :: timer_set(1, 0)
    :: break
    od
}

active proctype timer_thread() {
    byte at;
    do
    :: lock();
       do
       :: pending == 0 ->
           atomic { waiting = 1; signalled = 0; unlock() };
           if
           :: atomic { signalled -> waiting = 0; signalled = 0 }
           :: atomic { timeout -> assert(pending == 0); goto rest }
           fi;
           lock()
       :: else -> break
       od;
       unlock();
       at = 0;
       do
       :: at < RECORDS ->
           if
           :: armed[at] -> timer_set(at, 0)   /* acted on */
           :: !armed[at]
           fi;
           at++
       :: else -> break
       od
    od;
rest:
    skip
}
