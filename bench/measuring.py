# SPDX-License-Identifier: MIT
"""What the scripts that measure have in common: runs of commands, and tables in docs/benchmarks.md."""

import os
import platform
import re
import subprocess
import sys
from pathlib import Path
from statistics import median

Root = Path(sys.argv[1])
Rounds = int(sys.argv[2])
Programs = Root / "build-bench"
Brown = Root / "out" / "brown"


def output(*command, **options):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True, **options).stdout


def measure(command):
    """Seconds of processor time, seconds passed, peak megabytes."""
    return [float(x) for x in output(Programs / "bench" / "bench_measure", *command).split()]


def middle(runs, column):
    return median(run[column] for run in runs)


def table(head, rows):
    lines = ["| " + " | ".join(row) + " |" for row in [head, ["---"] + ["---:"] * (len(head) - 1), *rows]]
    return "\n".join(lines) + "\n"


def where(kind="medians"):
    processor = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text(encoding="utf-8"))
    name = processor.group(1) if processor else platform.machine()
    compiler = output("g++", "--version").splitlines()[0]
    try:
        commit = output("git", "-C", Root, "rev-parse", "--short", "HEAD").strip()
        if output("git", "-C", Root, "status", "--porcelain", "src", "bench").strip():
            commit += " with changes"
    except subprocess.CalledProcessError:
        commit = "unknown"
    return (f"{name}, {os.cpu_count()} processors, Linux {platform.release().split('-')[0]}; {compiler}; release build"
            f" of commit {commit}; {kind} of {Rounds} rounds of processor time.\n")  # fmt: skip


def put(maker, text):
    """Writes a text to where the document keeps what this maker makes."""
    print(text)
    begin, end = f"<!-- made by {maker} -->\n", f"<!-- end of what {maker} made -->\n"
    document = Root / "docs" / "benchmarks.md"
    before, _, rest = document.read_text(encoding="utf-8").partition(begin)
    _, found, after = rest.partition(end)
    if not found:
        sys.exit(f"{document.name} has no place for the tables of {maker}")
    document.write_text(before + begin + text + end + after, encoding="utf-8")
