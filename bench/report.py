# SPDX-License-Identifier: MIT
"""Runs the benchmarks that bench/run has built and writes their tables: report.py ROOT ROUNDS [--long]

Every round runs each command once, each beside the one that it is compared with, so that a busy machine hits both.
Times are processor time. A ratio is the median of the ratios of the rounds.
"""

import json
import sys
import tempfile
from pathlib import Path
from statistics import median

from measuring import Brown, Programs, Root, Rounds, measure, middle, output, put, table, where

Long = "--long" in sys.argv
Data = Root / "out" / "bench"

Tree_Runs = [("large", "0.5"), ("large", "0.1"), ("medium", "0.5"), ("medium", "0.1")]  # set, -dtg
# Weights at the limits of the arithmetic, where trees stay small: compared, but no measure of speed. A gain that is
# always large enough makes them as deep as they can be.
Odd_Weights = ("0", "1e-320", "0.3", "1e7", "inf", "nan")
Always_Split = "-1e300"
Long_Copies = 96


def files(folder):
    return [folder / "lexicon", folder / "open-classes", folder / "corpus"]


def train(folder, *options, result="/dev/null"):
    return [Programs / "train-orvelle", "-quiet", *options, *files(folder), result]


def floor(folder):
    return [Programs / "bench" / "bench_floor", folder / "lexicon", folder / "corpus"]


def fresh(command, file):
    """What the command takes that makes the file, if that is not there before."""
    file.unlink(missing_ok=True)
    return measure(command)


def sort(folder):
    return ["env", "LC_ALL=C", "sort", "-u", folder / "lexicon"]


def ratio(runs, others):
    """Median over the rounds of the ratio of processor times."""
    return median(run[0] / other[0] for run, other in zip(runs, others))


def whole_runs():
    large, million, two_million = Data / "large", Data / "million", Data / "two-million"
    pairs = [
        ("Brown, defaults", train(Brown), floor(Brown)),
        ("large tagset, defaults", train(large), floor(large)),
        ("large tagset, `-dtg 0.1`", train(large, "-dtg", "0.1"), floor(large)),
        ("large tagset, `-dtg 0`", train(large, "-dtg", "0"), floor(large)),
        ("large tagset, `-cl 4 -dtg 0.1`", train(large, "-cl", "4", "-dtg", "0.1"), floor(large)),
        ("a million forms and lemmas", train(million), sort(million)),
        ("two million forms and lemmas", train(two_million), sort(two_million)),
    ]
    runs = {name: ([], []) for name, _, _ in pairs}
    for _ in range(Rounds):
        for name, command, other in pairs:
            runs[name][0].append(measure(command))
            runs[name][1].append(measure(other))
    rows = [
        [name, f"{middle(own, 0):.3f} s", f"{middle(other, 0):.3f} s", f"{ratio(own, other):.2f}",
         f"{middle(own, 2):.0f} MB"]
        for name, (own, other) in runs.items()
    ]  # fmt: skip
    growth = ratio(runs[pairs[6][0]][0], runs[pairs[5][0]][0])
    text = table(["run", "training", "compared with", "ratio", "peak memory"], rows)
    text += f"\nTwice as many forms take {growth:.2f} times as long.\n"
    return text


def heavy_runs(file):
    """Trainings bound by the size of the file that they write, against the floor and as many zeros in a file."""
    rows = []
    for options in (["-dtg", "0"], ["-cl", "4", "-dtg", "0.1"]):
        command = train(Data / "large", *options, result=file)
        output(*command)
        size = file.stat().st_size
        own, zeros = [], []
        for _ in range(Rounds):
            own.append(fresh(command, file))
            zeros.append(fresh([*floor(Data / "large"), size, file], file))
        rows.append([f"large tagset, `{' '.join(options)}`", f"{size / 1e6:.0f} MB", f"{middle(own, 0):.3f} s",
                     f"{middle(zeros, 0):.3f} s", f"{ratio(own, zeros):.2f}"])  # fmt: skip
    return "\n" + table(["run", "file", "training", "floor and zeros", "ratio"], rows)


def long_corpus():
    folder = Data / "long"
    folder.mkdir(exist_ok=True)
    try:
        for name in ("lexicon", "open-classes"):
            (folder / name).write_bytes((Brown / name).read_bytes())
        text = (Brown / "corpus").read_bytes()
        with open(folder / "corpus", "wb") as corpus:
            for _ in range(Long_Copies):
                corpus.write(text)
        tokens = text.count(b"\n")
        shorter = [measure(train(Brown)) for _ in range(Rounds)]
        longer = [measure(train(folder)) for _ in range(3)]
    finally:
        for file in folder.iterdir():
            file.unlink()
    rows = []
    for name, runs, n in (("Brown", shorter, tokens), ("Brown 96 times", longer, tokens * Long_Copies)):
        rows.append([name, f"{n:,}", f"{middle(runs, 0):.2f} s", f"{1e9 * middle(runs, 0) / n:.0f} ns",
                     f"{middle(runs, 2):.0f} MB"])  # fmt: skip
    return "\n" + table(["corpus", "tokens", "training", "a token", "peak memory"], rows)


def grow_both(name, options, scratch):
    """Nodes, plain seconds and the trainer's seconds; bench_plain_tree fails if the trees are not the same."""
    output(*train(Data / name, *options, result=scratch))
    found = output(Programs / "bench" / "bench_plain_tree", *options, *files(Data / name), scratch).split()
    return int(found[0]), float(found[1]), float(found[2])


def trees(scratch):
    rows = []
    for name, threshold in Tree_Runs:
        nodes, plain, fast = grow_both(name, ["-dtg", threshold], scratch)
        rows.append([f"{name} tagset, `-dtg {threshold}`", f"{nodes:,}", f"{plain:.2f} s", f"{fast:.4f} s",
                     f"{plain / fast:.1f}"])  # fmt: skip
    text = table(["tree", "nodes", "plain", "trainer", "ratio"], rows)
    rows = []
    for weight in Odd_Weights:
        medium, *_ = grow_both("medium", ["-dtg", "0.1", "-sw", weight], scratch)
        small, *_ = grow_both("small", ["-dtg", Always_Split, "-sw", weight], scratch)
        rows.append([f"`-sw {weight}`", str(medium), str(small)])
    text += "\nAlso the same trees, in nodes:\n\n"
    return text + table(["weight", "medium tagset, `-dtg 0.1`", f"small tagset, `-dtg {Always_Split}`"], rows)


def stages():
    columns = {}
    sets = (("Brown", Brown, []), ("large tagset", Data / "large", []), ("`-dtg 0`", Data / "large", ["-dtg", "0"]),
            ("a million forms", Data / "million", []))  # fmt: skip
    for name, folder, options in sets:
        command = [Programs / "bench" / "bench_stages", *options, *files(folder), "/dev/null"]
        runs = [[line.split("\t") for line in output(*command).splitlines()] for _ in range(Rounds)]
        columns[name] = {stage: median(float(run[i][0]) for run in runs) for i, (_, stage) in enumerate(runs[0])}
    rows = [
        [stage, *(f"{columns[name][stage]:.1f} ms" for name, _, _ in sets)] for stage in next(iter(columns.values()))
    ]
    rows.append(["sum", *(f"{sum(columns[name].values()):.1f} ms" for name, _, _ in sets)])
    return table(["stage", *columns], rows)


def kernels():
    command = [Programs / "bench" / "bench_kernels", "--benchmark_format=json", "--benchmark_min_time=0.1",
               f"--benchmark_repetitions={max(Rounds, 3)}", "--benchmark_report_aggregates_only=true"]  # fmt: skip
    results = json.loads(output(*command))["benchmarks"]
    unit = {"line_reader": "line", "logarithm/library": "logarithm", "logarithm/approximate": "logarithm",
            "ngram_counting/2": "token", "ngram_counting/4": "token", "node_tables": "n-gram and position",
            "node_scores": "candidate test"}  # fmt: skip
    medians = {r["run_name"]: r["items_per_second"] for r in results if r.get("aggregate_name") == "median"}
    rows = [[f"`{name}`", f"{1e9 / speed:.1f} ns", unit.get(name, "lookup")] for name, speed in medians.items()]
    return table(["kernel", "time", "per"], rows)


def main():
    with tempfile.TemporaryDirectory(dir=Data) as scratch:
        parts = [where(), "\n### Whole trainings\n\n", whole_runs(), heavy_runs(Path(scratch) / "fresh.par")]
        if Long:
            parts.append(long_corpus())
        parts += ["\n### The context tree against the plain one\n\n", trees(Path(scratch) / "trained.par")]
    parts += ["\n### Stages\n\n", stages(),
              "\n### Kernels\n\n", kernels()]  # fmt: skip
    put("bench/run", "".join(parts))


main()
