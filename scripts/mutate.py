#!/usr/bin/env python3
"""Puts one small fault at a time into the daemon's sources and says whether a test notices it.

The faults go into a copy of the tree below build/mutate, never into the tree itself. For each one
the programs of TESTS are built again and their cases run; with --sandbox the whole-daemon suites
run for a fault that survives these. Results are kept: a run that is ended goes on where it was.
"""

import argparse
import fnmatch
import json
import random
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TREE = ROOT / "build/mutate/tree"
BUILD = ROOT / "build/mutate/build"
TIMEOUT = 120  # seconds for the cases of one fault

# Test programs that can see a fault in a folder, and the sandbox suites that go through it.
TESTS = {
    "core": (["kavel_kevent_thread_test", "kavel_kevent_decoding_test",
              "kavel_binder_service_test", "kavel_storm_test"],
             "KernelTest|RawTest|RestartTest"),
    "dig": (["kavel_dig_test"], "RawTest"),
    "dump": (["kavel_dump_test", "dump_data_test", "framework_call_test"],
             "ReportTest|CaptureTest|CommercialTest|RestartTest"),
    "event": (["kavel_event_test", "kavel_binder_service_test", "kavel_handler_test"], "ReportTest"),
    "handler": (["kavel_handler_test", "kavel_storm_test", "dump_data_test"],
                "ReportTest|CommercialTest|RecoveryTest"),
    "platform": (["kavel_platform_test", "phone_platform_test", "framework_call_test",
                  "kavel_handler_test"], "ReportTest|RecoveryTest"),
    "recovery": (["kavel_recovery_test", "kavel_handler_test"], "RecoveryTest|PanicTest"),
    "tools": (["kavelctl_test"], "ReportTest|RawTest"),
}

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
STATEMENT = re.compile(r"^\s+(?!return\b|const\b|auto\b|using\b|static\b|case\b|break\b|throw\b)"
                       r"[\w:.>()*\[\]-]+(\(.*\)| [-+|&]?= .*);\s*$")


def masked(text):
    """The text with every comment blanked out, and with the places of its string literals."""
    literals, out, i = [], list(text), 0
    while i < len(text):
        if text.startswith(("//", "/*"), i):
            end = text.find("\n" if text[i + 1] == "/" else "*/", i)
            end = len(text) if end < 0 else end + (0 if text[i + 1] == "/" else 2)
            out[i:end] = [c if c == "\n" else " " for c in text[i:end]]
            i = end
        elif text[i] in "\"'":
            end = i + 1
            while end < len(text) and text[end] != text[i]:
                end += 2 if text[end] == "\\" else 1
            if text[i] == '"':
                literals.append((i + 1, end))
            out[i + 1:end] = " " * (end - i - 1)
            i = end + 1
        else:
            i += 1
    return "".join(out), literals


def faults_of(path):
    """All faults of one file: (offset, length, replacement, operator)."""
    text = (ROOT / path).read_text()
    code, literals = masked(text)

    def each(pattern, operator, replacement, group=0):
        for match in re.finditer(pattern, code, re.M):
            line = code[code.rfind("\n", 0, match.start()) + 1:match.end()]
            if line.lstrip().startswith(("#", "static_assert")):
                continue
            start, end = match.span(group)
            yield start, end - start, replacement(match), operator

    yield from each(r" (<=|>=|==|!=|<|>) ", "comparison", lambda m: COMPARISONS[m[1]], 1)
    yield from each(r" (&&|\|\|) ", "logic", lambda m: {"&&": "||", "||": "&&"}[m[1]], 1)
    yield from each(r"\b(?:if|while) \((.*)\) (?:\{|\w.*;)$", "condition", lambda m: f"!({m[1]})", 1)
    yield from each(r"(?<![\w.'])(\d+)(?![\w.'])", "constant", lambda m: str(int(m[1]) + 1), 1)
    yield from each(r"(?:seconds|milliseconds)\((\d+)\)", "duration", lambda m: m[1] + "0", 1)
    yield from each(r"^ +if \(.*\) (?:return\b.*|continue|break);$", "early exit", lambda m: "")
    yield from each(r"\w\((\w+), (\w+)(?=[,)])", "arguments",
                    lambda m: f"{m[0][:2]}{m[2]}, {m[1]}")
    for start, end in literals:
        line = text[text.rfind("\n", 0, start) + 1:start]
        if end > start and not line.lstrip().startswith("#"):
            yield start, 0, "~", "literal"

    lines, offset, previous = code.split("\n"), 0, None
    for line in lines:
        if STATEMENT.match(line):
            yield offset, len(line), "", "removed statement"
            if previous is not None:
                start, other = previous
                here = text[offset:offset + len(line)]
                there = text[start:start + len(other)]
                yield start, offset + len(line) - start, f"{here}\n{there}", "exchanged statements"
            previous = (offset, line)
        else:
            previous = None
        offset += len(line) + 1


def changed_lines(commit):
    """The lines of each file that are not as in the commit."""
    diff = subprocess.run(["git", "diff", "-U0", commit], cwd=ROOT, text=True, check=True,
                          capture_output=True).stdout
    lines, name = {}, None
    for line in diff.splitlines():
        if line.startswith("+++ "):
            name = line[6:]
        elif match := re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line):
            first, count = int(match[1]), int(match[2] or 1)
            lines.setdefault(name, set()).update(range(first, first + count))
    return lines


def all_faults(options):
    files = subprocess.run(["git", "ls-files", *TESTS], cwd=ROOT, text=True, check=True,
                           capture_output=True).stdout.split()
    changed = changed_lines(options.since) if options.since else None
    for path in sorted(files):
        if not path.endswith((".cpp", ".h")):
            continue
        if options.files and not any(fnmatch.fnmatch(path, each) for each in options.files):
            continue
        text = (ROOT / path).read_text()
        for offset, length, replacement, operator in faults_of(path):
            line = text.count("\n", 0, offset) + 1
            if changed is None or line in changed.get(path, ()):
                yield {"file": path, "line": line, "offset": offset, "length": length,
                       "operator": operator, "was": text[offset:offset + length],
                       "is": replacement}


def copy_tree():
    """Brings the copy up to date, and leaves alone what is as it was, so that little is built."""
    files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, text=True,
                           check=True, capture_output=True).stdout.splitlines()
    for name in files:
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            target.unlink(missing_ok=True)
        elif not target.exists() or source.read_bytes() != target.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    if not (BUILD / "build.ninja").exists():
        subprocess.run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja",
                        "-DCMAKE_CXX_COMPILER=clang++", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS=-O0 -Wno-error"], check=True, stdout=subprocess.DEVNULL)


def build(targets):
    return subprocess.run(["ninja", "-C", BUILD, *targets], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0


def ctest(arguments):
    """Whether the cases pass; None if they take too long."""
    try:
        return subprocess.run(["ctest", "--test-dir", BUILD, "--stop-on-failure", "--timeout",
                               "60", *arguments], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=TIMEOUT).returncode == 0
    except subprocess.TimeoutExpired:
        return None


def cases_of(programs):
    """The numbers of the CTest cases that run one of the programs."""
    listing = json.loads(subprocess.run(["ctest", "--test-dir", BUILD, "--show-only=json-v1"],
                                        text=True, check=True, capture_output=True).stdout)
    return [str(number) for number, test in enumerate(listing["tests"], 1)
            if any(Path(word).name in programs for word in test.get("command", []))]


def try_fault(fault, options):
    programs, suites = TESTS[fault["file"].split("/")[0]]
    target = TREE / fault["file"]
    text = target.read_text()
    end = fault["offset"] + fault["length"]
    target.write_text(text[:fault["offset"]] + fault["is"] + text[end:])
    try:
        if not build(programs):
            return "not compiled"
        result = ctest(["-j2", "-I", "0,0,0," + ",".join(cases_of(programs))])
        if result and options.sandbox:
            build(["all"])
            result = ctest(["-R", f"^sandbox\\.({suites})$"])
        return {True: "survived", False: "killed", None: "timed out"}[result]
    finally:
        target.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--files", nargs="+", metavar="GLOB", help="only these, as dump/*.cpp")
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
            print(f"{fault['file']}:{fault['line']} {fault['operator']}: "
                  f"{fault['was'].strip()!r} -> {fault['is'].strip()!r}")
        return
    copy_tree()
    if not build(sorted({program for programs, _ in TESTS.values() for program in programs})):
        sys.exit("the tree does not build without a fault")
    results = ROOT / "build/mutate/results.jsonl"
    known = {}
    if results.exists():
        known = {line["key"]: line["result"]
                 for line in map(json.loads, results.read_text().splitlines())}
    score = {}
    with results.open("a") as log:
        for fault in faults:
            text = (ROOT / fault["file"]).read_text()
            key = json.dumps([fault, options.sandbox, hash_of(text)])
            result = known.get(key) or try_fault(fault, options)
            if key not in known:
                log.write(json.dumps({"key": key, "result": result}) + "\n")
                log.flush()
            print(f"{result:12} {fault['file']}:{fault['line']} {fault['operator']}: "
                  f"{fault['was'].strip()!r} -> {fault['is'].strip()!r}", flush=True)
            score.setdefault(fault["file"].split("/")[0], []).append(result)
    for folder, found in sorted(score.items()):
        noticed = sum(result in ("killed", "timed out") for result in found)
        tried = noticed + found.count("survived")
        print(f"{folder}: {noticed} of {tried} killed, {len(found) - tried} not compiled")


def hash_of(text):
    """A number for the text that is the same in each run, unlike hash()."""
    value = 0
    for char in text:
        value = (value * 31 + ord(char)) % 2**61
    return value


if __name__ == "__main__":
    main()
