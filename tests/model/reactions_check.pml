/* Holds the reactions that the models go by (reactions.pml) against the daemon's own: of each row of
 * reaction_cases.h, which model_reactions prints, the node before is set, the model's reaction is made,
 * and the node after must be the same. What differs is printed. Nothing is explored here: it is one
 * course from the first row to the last. */
#define NODES 1
#define ETH 2
#define up(r) joined[r]
#define SCAN_AGAIN 7

bit joined[2];
inline leave(r) { joined[r] = 0 }

#include "reactions.pml"

c_decl {
\#include "reaction_cases.h"
}

int row;
bit differs;

active proctype check() {
    do
    :: c_expr { now.row < REACTION_COUNT } ->
        d_step {
            c_code {
                const struct reaction *r = &REACTIONS[now.row];
                int i;
                for (i = 0; i < 3; i++) {
                    now.st[i] = r->before.state[i];
                    now.armed[i] = r->before.armed[i];
                }
                for (i = 0; i < 2; i++) {
                    now.losses[i] = r->before.losses[i];
                    now.on[i] = r->before.on[i];
                    now.joined[i] = r->before.joined[i];
                }
                now.links[0] = r->before.links;
                now.backup[0] = r->before.backup;
                now.eth_active = r->eth_active;
                now.who = r->who;
                now.what = r->what;
                now.in_loop = r->in_loop;
                now.unconfigured = r->unconfigured;
            };
            if
            :: what == SCAN_AGAIN -> release_parked(0, 1)
            :: else -> react()
            fi;
            c_code {
                const struct reaction *r = &REACTIONS[now.row];
                int i;
                int same = now.links[0] == r->after.links && now.backup[0] == r->after.backup;
                for (i = 0; i < 3; i++) {
                    same = same && now.st[i] == r->after.state[i] && now.armed[i] == r->after.armed[i];
                }
                for (i = 0; i < 2; i++) {
                    same = same && now.losses[i] == r->after.losses[i] && now.on[i] == r->after.on[i] &&
                           now.joined[i] == r->after.joined[i];
                }
                if (!same && !now.differs) {
                    printf("differs: station %d, event %d in states %d %d %d, armed %d%d%d, losses %d %d, "
                           "links %d, backup %d, loop %d, unconfigured %d, cable %d\n",
                           r->who, r->what, r->before.state[0], r->before.state[1], r->before.state[2],
                           r->before.armed[0], r->before.armed[1], r->before.armed[2],
                           r->before.losses[0], r->before.losses[1], r->before.links,
                           r->before.backup, r->in_loop, r->unconfigured, r->eth_active);
                    printf("differs: the model has states %d %d %d, armed %d%d%d, losses %d %d, on %d%d, "
                           "joined %d%d, links %d, backup %d\n",
                           now.st[0], now.st[1], now.st[2], now.armed[0], now.armed[1],
                           now.armed[2], now.losses[0], now.losses[1], now.on[0], now.on[1],
                           now.joined[0], now.joined[1], now.links[0], now.backup[0]);
                    printf("differs: the daemon has states %d %d %d, armed %d%d%d, losses %d %d, on %d%d, "
                           "joined %d%d, links %d, backup %d\n",
                           r->after.state[0], r->after.state[1], r->after.state[2],
                           r->after.armed[0], r->after.armed[1], r->after.armed[2],
                           r->after.losses[0], r->after.losses[1], r->after.on[0], r->after.on[1],
                           r->after.joined[0], r->after.joined[1], r->after.links, r->after.backup);
                }
                now.differs = now.differs || !same;
            };
            assert(!differs);
            step_forget();
            row++
        }
    :: else -> break
    od
}
