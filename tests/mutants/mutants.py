"""./run mutants: changes the product in one place after another and sees whether a test fails.

    mutants.py [COUNT] [--seed N] [--folder ROOM]... [--again] [--place FOLDER] [--before WORDS]

What was tried is kept in build/mutants/results.json: a run that was interrupted goes on, and one
with a larger COUNT tries only what is new. Survivors that no test can see stand in accepted.json
beside this file, each with its reason. Ends with 1 when anything else has survived.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import difflib
import fcntl
import json
import os
import pathlib
import queue
import subprocess
import sys
import time

import places
import tree

HERE = pathlib.Path(__file__).resolve().parent
# What says nothing about the tests.
UNCOUNTED = ("does not compile", "same code")


def arguments():
    parser = argparse.ArgumentParser(prog="./run mutants")
    parser.add_argument("count", nargs="?", type=int, default=300, metavar="COUNT")
    parser.add_argument("--seed", type=int, default=1, help="chooses other mutants")
    parser.add_argument("--folder", action="append", choices=tree.ROOMS, metavar="ROOM",
                        help="only this folder's; may be repeated")
    parser.add_argument("--only", metavar="TEXT", help="only those whose file and lines hold TEXT")
    parser.add_argument("--again", action="store_true", help="try survivors and timeouts once more")
    parser.add_argument("--until", choices=tree.STAGES, default=tree.STAGES[-1],
                        help="leave the later stages out (unit and process tests are run without "
                        "sanitizers first)")
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--before", default="nice", metavar="WORDS",
                        help="put before each worker's command (nice)")
    parser.add_argument("--place", type=pathlib.Path, default=tree.ROOT / "build" / "mutants",
                        help="where trees and results are kept (build/mutants)")
    parser.add_argument("--turn", type=float, default=float("inf"), metavar="SECONDS",
                        help="start a worker's command anew after so long (never)")
    parser.add_argument("--work", type=pathlib.Path, help=argparse.SUPPRESS)
    return parser.parse_args()


def write_whole(path, value):
    new = path.with_suffix(".new")
    new.write_text(json.dumps(value, indent=1))
    new.replace(path)


# --- All mutants there are

def all_mutants(place, folders):
    """The mutants of all sources. To parse takes a second a file, so what was found is kept."""
    kept_at = place / "places.json"
    kept = json.loads(kept_at.read_text()) if kept_at.exists() else {}
    finder = tree.digest(HERE / "places.py")
    now, found, jobs = {}, [], []
    with concurrent.futures.ProcessPoolExecutor() as pool:
        for folder in folders:
            for path in sorted((tree.ROOT / folder).glob("*.cpp")) + sorted((tree.ROOT / folder).glob("*.h")):
                name = str(path.relative_to(tree.ROOT))
                stamp = finder + tree.digest(path)
                if kept.get(name, {}).get("stamp") == stamp:
                    now[name] = kept[name]
                else:
                    jobs.append((name, stamp, pool.submit(places.find, name, path.read_text())))
        for name, stamp, job in jobs:
            now[name] = {"stamp": stamp, "mutants": [dataclasses.asdict(m) for m in job.result()]}
    write_whole(kept_at, {**kept, **now})
    for entry in now.values():
        found += [places.Mutant(**fields) for fields in entry["mutants"]]
    return found


def accepted():
    """Reasons by what is changed, as it stands in accepted.json."""
    entries = json.loads((HERE / "accepted.json").read_text())
    return {(e["path"], e["function"], e["before"], e["after"]): e["reason"] for e in entries}


def accepted_reason(reasons, mutant):
    return reasons.get((mutant.path, mutant.function, mutant.before, mutant.after))


# --- A worker: a process of its own, so that it can be queued behind other work and made nice

class Worker:
    """Asks the process for one mutant after another, and starts a new one when its turn is over."""

    def __init__(self, options, number):
        self.tree = options.place / f"tree-{number}"
        self.before = options.before.split()
        self.turn = options.turn
        self.process = None
        self.begin = 0.0

    def start(self):
        self.process = subprocess.Popen(
            [*self.before, sys.executable, __file__, "--work", str(self.tree)], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        # The copy is up to date, and whoever stood before us in the queue is done.
        self.answer()
        self.begin = time.monotonic()

    def end(self):
        if self.process is not None:
            self.process.stdin.close()
            self.process.wait()
            self.process = None

    def answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise tree.BuildFailed(f"the worker of {self.tree} has ended")
        return json.loads(line)

    def attempt(self, mutant, stage):
        """Returns the outcome, and the seconds that it took."""
        if self.process is not None and time.monotonic() - self.begin > self.turn:
            self.end()
        if self.process is None:
            self.start()
        begin = time.monotonic()
        self.process.stdin.write(json.dumps([stage, dataclasses.asdict(mutant)]) + "\n")
        self.process.stdin.flush()
        return self.answer(), time.monotonic() - begin


class Workers:
    """All workers; whoever asks gets one that is free."""

    def __init__(self, options):
        self.all = [Worker(options, number + 1) for number in range(options.workers)]
        self.count = len(self.all)
        self.free = queue.SimpleQueue()
        for worker in self.all:
            self.free.put(worker)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for worker in self.all:
            worker.end()

    def attempt(self, mutant, stage):
        worker = self.free.get()
        try:
            return mutant, *worker.attempt(mutant, stage)
        finally:
            self.free.put(worker)


def work(place):
    """A worker's process: a mutant a line in, an outcome a line out."""
    copy = tree.Tree(place, tree.ROOT)
    copy.take()
    copy.update()
    print("{}", flush=True)
    for line in sys.stdin:
        stage, fields = json.loads(line)
        outcome = copy.try_mutant(places.Mutant(**fields), stage)
        print(json.dumps(dataclasses.asdict(outcome)), flush=True)


# --- The run

class Run:
    def __init__(self, options):
        self.options = options
        self.kept_at = options.place / "results.json"
        self.results = json.loads(self.kept_at.read_text()) if self.kept_at.exists() else {}
        self.reasons = accepted()
        # Those that are to begin once more, for a test may see them now.
        self.again = {key for key, result in self.results.items()
                      if options.again and result["verdict"] in ("survived", "timeout")}

    def chosen(self):
        options = self.options
        found = all_mutants(options.place, options.folder or tree.ROOMS)
        if options.only:
            return [m for m in found if options.only in f"{m.path}\n{m.before}\n{m.after}"]
        return places.choose(found, 10 * options.count, options.seed)

    def stages_left(self, mutant):
        """The stages that it has not been through; none once it was killed or nobody can see it."""
        if accepted_reason(self.reasons, mutant):
            return []
        last = tree.STAGES.index(self.options.until) + 1
        result = self.results.get(mutant.key)
        if result is None:
            return tree.STAGES[:last]
        if result["verdict"] not in ("survived", "timeout"):
            return []
        done = tree.STAGES.index(result["stage"]) + 1 if mutant.key not in self.again else 0
        return tree.STAGES[done:last]

    def is_counted(self, mutant):
        return self.results.get(mutant.key, {}).get("verdict") not in UNCOUNTED

    def note(self, mutant, outcome, seconds):
        before = {} if mutant.key in self.again else self.results.get(mutant.key, {})
        if before.get("verdict") == "timeout" and outcome["verdict"] == "survived":
            outcome = {**outcome, "verdict": "timeout", "hung": before["hung"]}
        self.results[mutant.key] = {**dataclasses.asdict(mutant), **outcome,
                                    "seconds": round(seconds, 1)}
        self.again.discard(mutant.key)
        write_whole(self.kept_at, self.results)
        print(f"{len(self.results):4} {outcome['verdict']:8} {mutant.path}:{mutant.line} "
              f"{mutant.kind}{', ' + outcome['by'] if outcome['by'] else ''} ({seconds:.0f} s)",
              flush=True)

    def go(self):
        """Takes all through one stage after the other; returns the mutants that count."""
        candidates = self.chosen()
        wanted = len(candidates) if self.options.only else self.options.count
        with Workers(self.options) as workers:
            for stage in tree.STAGES[:tree.STAGES.index(self.options.until) + 1]:
                candidates = self.go_through(workers, stage, candidates, wanted)
        return candidates

    def go_through(self, workers, stage, candidates, wanted):
        """Tries the candidates in turn until so many count, which are returned."""
        counted = []
        left = iter(candidates)
        with concurrent.futures.ThreadPoolExecutor(workers.count) as pool:
            jobs = set()
            while True:
                while len(jobs) < workers.count and len(counted) + len(jobs) < wanted:
                    mutant = next(left, None)
                    if mutant is None:
                        break
                    if stage in self.stages_left(mutant):
                        jobs.add(pool.submit(workers.attempt, mutant, stage))
                    elif self.is_counted(mutant):
                        counted.append(mutant)
                if not jobs:
                    return counted
                done, jobs = concurrent.futures.wait(
                    jobs, return_when=concurrent.futures.FIRST_COMPLETED)
                for job in done:
                    self.note(*job.result())
                    if self.is_counted(job.result()[0]):
                        counted.append(job.result()[0])

    def report(self, mutants):
        """Prints what survived and the shares; returns the number of survivors without reason."""
        verdicts = collections.Counter()
        unknown = 0
        for mutant in mutants:
            reason = accepted_reason(self.reasons, mutant)
            verdict = "accepted" if reason else self.results[mutant.key]["verdict"]
            verdicts[verdict] += 1
            if verdict == "killed":
                continue
            unknown += verdict == "survived"
            print(f"\n{verdict}: {mutant.path}:{mutant.line} {mutant.function} ({mutant.kind})")
            lines = difflib.ndiff(mutant.before.split("\n"), mutant.after.split("\n"))
            print("\n".join(f"    {line}" for line in lines if not line.startswith("?")))
            if reason:
                print(f"  {reason}")
            for test in self.results.get(mutant.key, {}).get("hung", []):
                print(f"  hangs {test}")
        total = max(len(mutants), 1)
        survived = verdicts["survived"] + verdicts["accepted"]
        print(f"\n{len(mutants)} mutants: {verdicts['killed']} killed, {survived} survived "
              f"({100 * survived / total:.1f} %; {verdicts['accepted']} of them accepted), "
              f"{verdicts['timeout']} timeouts")
        return unknown


def main():
    options = arguments()
    os.chdir(tree.ROOT)
    if options.work:
        return work(options.work)
    options.place.mkdir(parents=True, exist_ok=True)
    lock = (options.place / "lock").open("w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        sys.exit(f"mutants: another run uses {options.place}")
    run = Run(options)
    return 1 if run.report(run.go()) > 0 else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except tree.BuildFailed as error:
        sys.exit(f"mutants: {error}")
