# SPDX-License-Identifier: MIT
"""Measures training and tagging: tagging.py ROOT ROUNDS [NAME COLUMN TRAIN TEST]...

The model is made by `orvelle train` without further options. The text that is tagged is eight times the test; the time
for an empty one is taken off.
"""

import re
import sys
import tempfile
from pathlib import Path
from statistics import median

from measuring import Brown, Programs, Rounds, measure, output, put, table, where

Orvelle = Programs / "orvelle"
Copies = 8
Ways = {"tagging": [], "no lemmas": ["--no-lemma"], "two threads": ["--jobs", "2"]}


def shares(model, test, options):
    """Accuracy of all, known and unknown words, in percent."""
    text = output(Orvelle, "evaluate", "--tags", 0, "--confusions", 0, *options, model, test)
    return [re.search(rf"^{words} words +(\S+%)", text, re.M).group(1) for words in ("all", "known", "unknown")]


def forms(test, is_conllu):
    """The words of a test, one a line."""
    if not is_conllu:
        return re.sub(r"\t.*", "", test.read_text(encoding="utf-8"))
    lines = test.read_text(encoding="utf-8").split("\n")
    return "".join(
        line.split("\t")[1] + "\n" if re.match(r"\d+\t", line) else "\n" for line in lines if line[:1] != "#"
    )


def speeds(model, text, empty, words):
    """Thousands of words a second for each way: of processor time, and for two threads of time that passed."""
    result = []
    for way, options in Ways.items():
        column = 1 if way == "two threads" else 0
        runs = [
            measure([Orvelle, "tag", *options, model, text])[column]
            - measure([Orvelle, "tag", *options, model, empty])[column]
            for _ in range(Rounds)
        ]
        result.append(f"{words / median(runs) / 1000:.0f}")
    return result


def row(name, train, test, is_conllu, column, scratch):
    model, text, empty = scratch / "model", scratch / "text", scratch / "empty"
    training = median(measure([Orvelle, "train", *train, model])[0] for _ in range(Rounds))
    text.write_text(forms(test, is_conllu) * Copies, encoding="utf-8")
    empty.write_text("")
    words = sum(1 for line in text.read_text(encoding="utf-8").split("\n") if line)
    megabytes = f"{model.stat().st_size / 1e6:.1f}"
    options = ["--column", column] if is_conllu else []
    return [name, *shares(model, test, options), f"{training:.1f}", *speeds(model, text, empty, words), megabytes]


def main():
    parts = ["--lexicon", Brown / "lexicon", "--open-classes", Brown / "open-classes", "--corpus", Brown / "corpus"]
    with tempfile.TemporaryDirectory() as folder:
        rows = [row("Brown", parts, Brown / "test", False, "", Path(folder))]
        for name, column, train, test in zip(*[iter(sys.argv[3:])] * 4):
            rows.append(row(name, ["--column", column, train], Path(test), True, column, Path(folder)))
    head = ["set", "right", "known", "unknown", "training, s", *(f"{way}, k words/s" for way in Ways), "model, MB"]
    put("bench/tagging", where() + "\n" + table(head, rows))


main()
