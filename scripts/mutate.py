#!/usr/bin/env python3
"""Puts one small fault at a time into the daemon's sources and says whether a test notices it.

The faults go into copies of the tree below build/mutate, never into the tree itself. For each one
the test programs of TESTS are built again and run; with --sandbox the whole-daemon suites run for a
fault that survives these. Results are kept: an interrupted run continues where it stopped, as long
as no file of the tree changes.
"""

import argparse
import fnmatch
import hashlib
import json
import os
import queue
import random
import re
import shutil
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from faults import faults_of

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutate"
BASE = WORK / "base"  # the tree without a fault, and its build; a copy takes its place for a fault
TREE, BUILD = BASE / "tree", BASE / "build"
WORKERS = os.cpu_count() or 1
SHARDS = 3  # of each test program; many cases wait, few need the processor

# Test programs that can see a fault in a folder, and the sandbox suites that go through it.
TESTS = {
    "core": (["kavel_kevent_thread_test", "kavel_kevent_decoding_test",
              "kavel_binder_service_test", "kavel_start_test", "kavel_storm_test"],
             "KernelTest|RawTest|RestartTest|StatusTest"),
    "dig": (["kavel_dig_test", "kavel_binder_service_test"], "RawTest"),
    "dump": (["kavel_dump_test", "dump_data_test", "kavel_binder_service_test", "kavelctl_test"],
             "ReportTest|CaptureTest|CommercialTest|RestartTest|StatusTest"),
    "event": (["kavel_event_test", "kavel_binder_service_test", "kavel_handler_test",
               "kavel_storm_test", "kavelctl_test"], "ReportTest"),
    "handler": (["kavel_handler_test", "kavel_storm_test", "dump_data_test"],
                "ReportTest|CommercialTest|RecoveryTest|StatusTest"),
    "platform": (["kavel_platform_test", "phone_platform_test", "framework_call_test",
                  "kavel_handler_test", "kavel_dump_test", "kavelctl_test"],
                 "ReportTest|RecoveryTest"),
    "recovery": (["kavel_recovery_test", "kavel_handler_test"], "RecoveryTest|PanicTest"),
    "tools": (["kavelctl_test"], "ReportTest|RawTest"),
}


def run(command, **options):
    return subprocess.run(command, cwd=ROOT, text=True, capture_output=True, **options)


def changed_lines(commit):
    """The lines of each file that are not as in the commit."""
    lines, name = {}, None
    for line in run(["git", "diff", "-U0", commit], check=True).stdout.splitlines():
        if line.startswith("+++ "):
            name = line[6:]
        elif match := re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line):
            first, count = int(match[1]), int(match[2] or 1)
            lines.setdefault(name, set()).update(range(first, first + count))
    return lines


def all_faults(options):
    changed = changed_lines(options.since) if options.since else None
    for path in sorted(run(["git", "ls-files", *TESTS], check=True).stdout.split()):
        if not path.endswith((".cpp", ".h")) or not any(
                fnmatch.fnmatch(path, pattern) for pattern in options.files):
            continue
        text = (ROOT / path).read_text()
        for offset, length, replacement, operator in sorted(faults_of(text)):
            line = text.count("\n", 0, offset) + 1
            if changed is None or line in changed.get(path, ()):
                yield {"file": path, "line": line, "offset": offset, "operator": operator,
                       "was": text[offset:offset + length], "is": replacement}


def copy_tree():
    """Updates the changed files of the copy, so that only their dependents are built again.
    Returns a digest of all files."""
    files = run(["git", "ls-files", "-co", "--exclude-standard"], check=True).stdout.splitlines()
    digest = hashlib.sha256()
    for name in sorted(files):
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            target.unlink(missing_ok=True)
            continue
        digest.update(name.encode() + b"\0" + source.read_bytes())
        if not target.exists() or source.read_bytes() != target.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    return digest.hexdigest()


def build_base(targets):
    cache = BUILD / "CMakeCache.txt"
    if cache.exists() and f"CMAKE_HOME_DIRECTORY:INTERNAL={TREE}\n" not in cache.read_text():
        shutil.rmtree(BUILD)  # the checkout has moved
    if not (BUILD / "build.ninja").exists():
        run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++",
             "-DCMAKE_CXX_FLAGS=-O0", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld",
             "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST"], check=True)
    result = run(["ninja", "-C", BUILD, *targets])
    if result.returncode != 0:
        sys.exit(f"{result.stdout[-4000:]}\nthe tree does not build without a fault")


class Copy:
    """A copy of the base, where programs see it in place of the base."""

    def __init__(self, place):
        self.place = WORK / f"copy-{place}"
        shutil.rmtree(self.place, ignore_errors=True)
        subprocess.run(["cp", "-a", BASE, self.place], check=True)

    def build(self, targets):
        return run(["bwrap", "--dev-bind", "/", "/", "--bind", self.place, BASE,
                    "ninja", "-j", "2", "-C", BUILD, *targets]).returncode == 0

    def test(self, programs, limit):
        """Runs the programs until a case fails. Returns a result, and the case that failed."""
        box = ["bwrap", "--unshare-pid", "--unshare-net", "--die-with-parent", "--tmpfs", "/",
               "--dev", "/dev", "--proc", "/proc", "--ro-bind", "/usr", "/usr", "--tmpfs", "/tmp",
               "--tmpfs", "/data"]  # a net of its own: netlink ports are process ids
        for link in ("bin", "lib", "lib64"):
            box += ["--symlink", f"usr/{link}", f"/{link}"]
        running = []
        for path in (path for name in programs for path in BUILD.glob(f"tests/*/{name}")):
            for shard in range(SHARDS):
                log = self.place / f"{path.name}.{shard}"
                with log.open("w") as out:
                    process = subprocess.Popen(
                        [*box, "--bind", self.place, BASE, path, "--gtest_fail_fast"], stdout=out,
                        stderr=out, env={**os.environ, "GTEST_TOTAL_SHARDS": str(SHARDS),
                                         "GTEST_SHARD_INDEX": str(shard)})
                running.append((process, log))
        end = time.monotonic() + limit
        try:
            while running:
                for process, log in [each for each in running if each[0].poll() is not None]:
                    running.remove((process, log))
                    if process.returncode != 0:
                        return "killed", failed_case(log.read_text(errors="replace"))
                if time.monotonic() > end:
                    return "timed out", f"{limit:.0f} s"
                time.sleep(0.01)
            return "survived", ""
        finally:
            for process, _ in running:
                process.kill()
                process.wait()

    def test_sandbox(self, suites):
        """The same with the sandbox suites."""
        result = run(["bwrap", "--dev-bind", "/", "/", "--bind", self.place, BASE, "ctest",
                      "--test-dir", BUILD, "--stop-on-failure", "-R", f"^sandbox\\.({suites})$"])
        failed = re.search(r"(sandbox\.\w+) \(", result.stdout)
        return ("killed", failed and failed[1]) if result.returncode else ("survived", "")


def failed_case(log):
    if log.startswith("bwrap:"):
        sys.exit(log)  # no test has run
    cases = re.findall(r"^\[  FAILED  \] ([^\s,]+)", log, re.M) or re.findall(
        r"^\[ RUN      \] (\S+)", log, re.M)
    return cases[-1] if cases else "start"


def tests_of(faults):
    folders = sorted({fault["file"].split("/")[0] for fault in faults})
    programs = sorted({program for folder in folders for program in TESTS[folder][0]})
    return programs, "|".join(TESTS[folder][1] for folder in folders)


SANDBOX = ["kavel_phone", "sandbox_test", "sandbox_kernel_test"]


def check_base(place, faults, sandbox):
    """Ends the run if the tests fail without a fault. Returns the time they take."""
    begin = time.monotonic()
    programs, suites = tests_of(faults)
    copy = Copy(place)
    result, case = copy.test(programs, 300)
    took = time.monotonic() - begin
    if result == "survived" and sandbox:
        result, case = copy.test_sandbox(suites)
    if result != "survived":
        sys.exit(f"the tests fail without a fault: {case} ({copy.place})")
    return took


def try_fault(place, fault, limit, sandbox):
    programs, suites = tests_of([fault])
    copy = Copy(place)
    target = copy.place / "tree" / fault["file"]
    text = target.read_text()
    end = fault["offset"] + len(fault["was"])
    target.write_text(text[:fault["offset"]] + fault["is"] + text[end:])
    if not copy.build(programs):
        return "not compiled", ""
    result, case = copy.test(programs, limit)
    if result == "survived" and sandbox:
        result, case = copy.test_sandbox(suites) if copy.build(SANDBOX) else ("not compiled", "")
    return result, case


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--files", nargs="+", metavar="GLOB", default=["*"], help="as dump/*.cpp")
    parser.add_argument("--sample", type=int, metavar="N", help="only N faults, chosen by the seed")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--since", metavar="COMMIT", help="only lines that are not as in COMMIT")
    parser.add_argument("--sandbox", action="store_true", help="also run the whole-daemon suites")
    parser.add_argument("--list", action="store_true", help="print the faults, and try none")
    options = parser.parse_args()

    faults = list(all_faults(options))
    if options.sample is not None and options.sample < len(faults):
        faults = random.Random(options.seed).sample(faults, options.sample)
    if not faults:
        sys.exit("no faults: nothing fits --files and --since")
    if options.list:
        for fault in faults:
            print(described(fault))
        return
    digest = copy_tree()
    kept = WORK / "results.jsonl"
    known = dict(map(json.loads, kept.read_text().splitlines())) if kept.exists() else {}
    known = {key: result for key, result in known.items() if digest in key}
    kept.write_text("".join(json.dumps(each) + "\n" for each in known.items()))

    def key_of(fault):
        return json.dumps([digest, options.sandbox, fault])

    new = [fault for fault in faults if key_of(fault) not in known]
    limit = 0
    places = queue.SimpleQueue()
    with ThreadPoolExecutor(WORKERS) as pool, kept.open("a") as log:
        if new:
            build_base(tests_of(new)[0] + (SANDBOX if options.sandbox else []))
            limit = 15 + 3 * max(pool.map(lambda place: check_base(place, new, options.sandbox),
                                          range(WORKERS)))

        def attempt(fault):
            key = key_of(fault)
            if key not in known:
                place = places.get()
                known[key] = try_fault(place, fault, limit, options.sandbox)
                places.put(place)
                log.write(json.dumps([key, known[key]]) + "\n")
                log.flush()
            return known[key]

        for place in range(WORKERS):
            places.put(place)
        score = {}
        for fault, (result, case) in zip(faults, pool.map(attempt, faults)):
            print(f"{result:12} {described(fault)}{' by ' + case if case else ''}", flush=True)
            score.setdefault(fault["file"].split("/")[0], []).append(result)
    for folder, found in sorted(score.items()):
        noticed = sum(result in ("killed", "timed out") for result in found)
        tried = noticed + found.count("survived")
        print(f"{folder}: {noticed} of {tried} noticed, {len(found) - tried} not compiled")


def described(fault):
    return (f"{fault['file']}:{fault['line']} {fault['operator']}: "
            f"{' '.join(fault['was'].split())!r} -> {' '.join(fault['is'].split())!r}")


if __name__ == "__main__":
    main()
