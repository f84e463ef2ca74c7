"""A worker's private copy of the project, in which one mutant after another is built and tried.

`build-plain` and `build-asan` are its builds, `build-notes` is what is kept about them. A mutant goes
through the stages one by one, the quick ones first: the unit tests and then the real daemon's,
without sanitizers; then both again as they run in CI. The changed source is there only while the product's own objects are compiled. Then the old one
is put back with its old time, so that the tests are compiled from what the user wrote, and nothing
but the product's change is linked into them.

A kill is a test that fails twice: once among the others and once alone. A test that reaches its
time limit is tried alone with three times that limit, and if it reaches that too it is no kill.
"""

import dataclasses
import fcntl
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
ROOMS = "runtime intf device topology radar msg link root intake daemon".split()
BUILDS = {
    "plain": ["-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g0"],
    "asan": ["-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g0", "-DBACKHAUL_SANITIZE=address"],
}
# What a mutant goes through, until a test fails: a build and the label of its tests.
STAGES = ["plain unit", "plain process", "asan unit", "asan process"]
DAEMON = "backhaul_monitor"
# Most of a long program's time is waiting: so many parts of it run at once.
SHARDS = 4
LONG_PROGRAM = 2.0
# Hung tests of one program that are left out, one after the other, to see what the others say.
HANGS_MAX = 3
LIMIT_MIN = 30.0


class BuildFailed(Exception):
    """A build that should work did not."""


@dataclasses.dataclass
class Program:
    name: str
    folder: str
    label: str


@dataclasses.dataclass
class Outcome:
    """`verdict`: killed, survived, timeout, "same code" or "does not compile"."""
    verdict: str
    by: str = ""
    stage: str = ""
    hung: tuple = ()


@dataclasses.dataclass
class Prepared:
    """What a stage was before any change: the programs' digests, and how long they take."""
    digests: dict
    seconds: dict


def tested(program):
    """The names of the files that the tests of a program are about."""
    return [program.name] if program.label == "unit" else [program.name, DAEMON]


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def test_programs(root):
    """The unit and process programs of the daemon, as the CMakeLists.txt declare them. Whole meshes
    and the lab's own tests are left out: they say nothing of a line that these do not reach."""
    programs = []
    for folder in ROOMS + ["process", "mesh"]:
        text = (root / "tests" / folder / "CMakeLists.txt").read_text()
        for name, label in re.findall(r"backhaul_test\((\w+)\s+LABEL (unit|process)\b", text):
            programs.append(Program(name, folder, label))
    return programs


def in_order(programs, room):
    """Who is asked first about a change in `room`: its own unit tests, the others from the rooms
    above it, those below, then the real daemon's."""
    def place(program):
        if program.label == "process":
            return (2, program.folder != room, 0)
        distance = ROOMS.index(program.folder) - ROOMS.index(room)
        return (int(distance != 0), distance if distance >= 0 else len(ROOMS) - distance, 0)
    return sorted(programs, key=place)


class Tree:
    def __init__(self, place, root):
        self.place = pathlib.Path(place).resolve()
        self.root = pathlib.Path(root)
        self.notes = self.place / "build-notes"
        self.programs = test_programs(self.root)
        # How long each program takes without a change.
        self.seconds = {}
        self.lock = None

    def take(self):
        """Waits until nobody else works in the copy. Whoever stops a run leaves workers and compilers
        behind, which would put their change beside those of the next run."""
        self.notes.mkdir(parents=True, exist_ok=True)
        self.lock = (self.notes / "lock").open("w")
        fcntl.flock(self.lock, fcntl.LOCK_EX)

    # --- The copy and its builds

    def build(self, build):
        return self.place / f"build-{build}"

    def update(self):
        """Makes the copy like the user's tree, without touching what is the same already."""
        listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"],
                                cwd=self.root, check=True, capture_output=True).stdout
        names = {os.fsdecode(name) for name in listed.split(b"\0") if name}
        names = {name for name in names if (self.root / name).is_file()}
        changed = False
        for name in names:
            here, there = self.root / name, self.place / name
            if not there.exists() or there.read_bytes() != here.read_bytes():
                there.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(here, there)
                changed = True
        for top in self.place.iterdir():
            for there in top.rglob("*") if not top.name.startswith("build-") else []:
                if there.is_file() and str(there.relative_to(self.place)) not in names:
                    there.unlink()
                    changed = True
        if changed:
            (self.notes / "updated").touch()

    def configure(self, build):
        words = ["cmake", "-S", self.place, "-B", self.build(build), "-G", "Ninja",
                 "-DCMAKE_BUILD_TYPE=Debug", "-DBACKHAUL_TESTS=ON", *BUILDS[build]]
        if shutil.which("ld.lld"):
            words.append("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
        if shutil.which("ccache"):
            words.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.run(words)

    def run(self, words):
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env=self.build_environment(), check=False,
                              pass_fds=[self.lock.fileno()] if self.lock else [])
        if done.returncode != 0:
            raise BuildFailed(done.stdout[-4000:])

    def build_environment(self):
        return dict(os.environ, CCACHE_SLOPPINESS="pch_defines,time_macros", CCACHE_NOHASHDIR="1",
                    CCACHE_BASEDIR=str(self.place))

    def make(self, build, targets):
        self.run(["cmake", "--build", self.build(build), "--target", *targets])

    def objects(self, build):
        """The product's object files and what is in them."""
        found = {}
        for folder in [self.build(build) / "CMakeFiles" / f"{DAEMON}.dir"] + [
                self.build(build) / room for room in ROOMS]:
            for path in folder.rglob("*.cpp.o"):
                found[path] = digest(path)
        return found

    def file_of(self, build, name):
        return self.build(build) / ("" if name == DAEMON else "tests") / name

    def prepare(self, stage):
        """Builds what the stage needs, without a change, and sees that its tests pass and how long
        they take. Returns the names and content of what was built, and the seconds."""
        build, label = stage.split()
        kept_at = self.notes / f"{stage.replace(' ', '-')}.json"
        if (self.notes / "halfway").exists():
            for path in [p for name in BUILDS for p in self.objects(name)]:
                path.unlink()
            (self.notes / "halfway").unlink()
        elif kept_at.exists() and not self.is_newer_than(kept_at):
            return Prepared(**json.loads(kept_at.read_text()))
        old = Prepared(**json.loads(kept_at.read_text())) if kept_at.exists() else Prepared({}, {})
        self.configure(build)
        programs = [p for p in self.programs if p.label == label]
        names = [p.name for p in programs] + [DAEMON]
        self.make(build, names)
        now = Prepared({name: digest(self.file_of(build, name)) for name in names}, old.seconds)
        for program in programs:
            if all(old.digests.get(n) == now.digests[n] for n in tested(program)):
                continue
            begin = time.monotonic()
            failed, hung = self.run_program(build, program, 600.0)
            if failed or hung:
                raise BuildFailed(f"{program.name}: {failed or hung} fails without any change")
            now.seconds[program.name] = time.monotonic() - begin
        kept_at.write_text(json.dumps(dataclasses.asdict(now), indent=1))
        return now

    def is_newer_than(self, notes):
        """Whether the copy has changed since the notes about its build were taken."""
        stamp = self.notes / "updated"
        return stamp.exists() and stamp.stat().st_mtime_ns > notes.stat().st_mtime_ns

    # --- Tests

    def test_run(self, build, program, limit, tests="*", shard=None):
        """Starts the program. What it says goes to a file that test_end() reads."""
        environment = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_FILTER=tests,
                           UBSAN_OPTIONS="print_stacktrace=1")
        if shard is not None:
            environment.update(GTEST_TOTAL_SHARDS=str(SHARDS), GTEST_SHARD_INDEX=str(shard))
        output = self.notes / f"{program.name}.{shard or 0}.out"
        with output.open("wb") as out:
            process = subprocess.Popen(
                ["setarch", "-R", self.file_of(build, program.name)], cwd=self.build(build),
                stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT, env=environment,
                start_new_session=True)
        return process, output, time.monotonic() + limit

    @staticmethod
    def test_kill(process):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()

    @staticmethod
    def last_test(output, sign):
        """The last test that the output names after the given sign, or else the whole program."""
        named = re.findall(rf"^\[{sign}\] (\w+\.\w+(?:/\w+)*)", output.read_text(errors="replace"),
                           re.MULTILINE)
        return named[-1] if named else "*"

    def tests_run(self, build, program, limit, tests="*"):
        """Runs until the first failure. Returns (failed test, hung test), "" where there is none."""
        is_long = self.seconds.get(program.name, 0) > LONG_PROGRAM and tests[:1] in "*-"
        shards = range(SHARDS) if is_long else [None]
        running = [self.test_run(build, program, limit, tests, shard) for shard in shards]
        failed = hung = ""
        while running and not failed:
            for one in list(running):
                process, output, end = one
                if process.poll() is not None:
                    running.remove(one)
                    if process.returncode != 0:
                        failed = self.last_test(output, "  FAILED  ")
                        failed = self.last_test(output, " RUN      ") if failed == "*" else failed
                        break
                elif time.monotonic() > end:
                    self.test_kill(process)
                    running.remove(one)
                    hung = self.last_test(output, " RUN      ")
            time.sleep(0.01)
        for process, _, _ in running:
            self.test_kill(process)
        shutil.rmtree(self.build(build) / "evidence", ignore_errors=True)
        shutil.rmtree(self.build(build) / "contract", ignore_errors=True)
        return failed, hung

    def run_program(self, build, program, limit):
        """The program with all its tests: (test that failed twice, tests that hung twice)."""
        left_out, hangs = [], []
        for _ in range(HANGS_MAX):
            tests = "*" if not left_out else "-" + ":".join(left_out)
            failed, hung = self.tests_run(build, program, limit, tests)
            if failed:
                again, hung_again = self.tests_run(build, program, limit, failed)
                if again:
                    return failed, hangs
                hung, failed = hung_again or failed, ""
            if not hung:
                break
            failed, hung_again = self.tests_run(build, program, 3 * limit, hung)
            if failed:
                return failed, hangs
            if hung_again:
                hangs.append(hung)
            if hung == "*":
                break
            left_out.append(hung)
        return "", hangs

    # --- One mutant

    def compiled(self, build, mutant):
        """Compiles the product with the change; the source is as before when this returns."""
        path = self.place / mutant.path
        times = path.stat()
        old = path.read_text()
        if not mutant.fits(old):
            raise BuildFailed(f"{mutant.path} has changed since its places were looked for")
        room = mutant.path.split("/")[0]
        targets = [f"backhaul_{room}"] if mutant.path.endswith(".cpp") else [
            f"backhaul_{name}" for name in ROOMS[ROOMS.index(room):]]
        try:
            path.write_text(mutant.apply(old))
            self.make(build, targets + [DAEMON])
            return True
        except BuildFailed:
            return False
        finally:
            path.write_text(old)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))

    def try_in(self, stage, mutant, prepared):
        build, label = stage.split()
        before = self.objects(build)
        changed = []
        try:
            is_compiled = self.compiled(build, mutant)
            after = self.objects(build)
            changed = [path for path in before if after.get(path) != before[path]]
            if not is_compiled:
                return Outcome("does not compile")
            if not changed:
                return Outcome("same code")
            return self.tests_of(build, label, mutant, prepared)
        finally:
            # Compiled anew from the old source before the next mutant.
            for path in changed:
                path.unlink(missing_ok=True)

    def tests_of(self, build, label, mutant, prepared):
        """A program that the change has not reached is not run."""
        room = mutant.path.split("/")[0]
        programs = [p for p in in_order(self.programs, room) if p.label == label]
        own = [p for p in programs if p.folder == room]
        hung = []
        for group in (own, [p for p in programs if p not in own]):
            self.make(build, [name for p in group for name in tested(p)] or [DAEMON])
            for program in group:
                if all(digest(self.file_of(build, name)) == prepared.digests[name]
                       for name in tested(program)):
                    continue
                limit = max(LIMIT_MIN, 5 * self.seconds[program.name])
                failed, hangs = self.run_program(build, program, limit)
                if failed:
                    return Outcome("killed", f"{program.name}: {failed}")
                hung += [f"{program.name}: {test}" for test in hangs]
        return Outcome("timeout" if hung else "survived", hung=tuple(hung))

    def same_when_optimised(self, mutant):
        """Whether the change is gone after -O2, so that no test could see it."""
        commands = json.loads((self.build("plain") / "compile_commands.json").read_text())
        path = self.place / mutant.path
        command = next((c["command"] for c in commands if c["file"] == str(path)), None)
        if command is None:
            return False
        words = [w for w in command.split() if w not in ("-O1", "-g0")]
        out = self.notes / "optimised.o"
        words = words[:words.index("-o")] + ["-o", str(out), "-O2", "-c", "-x", "c++", "-"]
        texts = [path.read_text(), mutant.apply(path.read_text())]
        digests = []
        for text in texts:
            subprocess.run(words, input=f'#line 1 "{path}"\n{text}', text=True, check=True,
                           cwd=self.build("plain"), capture_output=True)
            digests.append(digest(out))
        return digests[0] == digests[1]

    def try_mutant(self, mutant, stage):
        prepared = self.prepare(stage)
        self.seconds = prepared.seconds
        # Stays behind when this ends halfway; then the objects are not what the source says.
        halfway = self.notes / "halfway"
        halfway.touch()
        outcome = self.try_in(stage, mutant, prepared)
        halfway.unlink()
        if outcome.verdict == "survived" and stage == STAGES[0] and self.same_when_optimised(mutant):
            outcome = Outcome("same code")
        return dataclasses.replace(outcome, stage=stage)
