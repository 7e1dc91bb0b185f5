# SPDX-License-Identifier: MIT
"""Measures how time and memory grow with an input: growth.py ROOT ROUNDS [INPUT...]

Every input is made at n, 2n and 4n. The time of a run is the least of the rounds, less that of a run that does nothing; the
exponent is that of the last doubling. Memory is the peak, less that of a run that does nothing.
"""

import math
import sys
import tempfile
from pathlib import Path

import growth_inputs as inputs
from measuring import Programs, Rounds, measure, output, put, table, where

Wanted = sys.argv[3:]
Least_Seconds = 0.02  # what is shorter tells nothing of its growth
Nothing = "orvelle --version"

Three = "lexicon open-classes corpus"
Train = f"train-orvelle -quiet -st T0 {Three} result"
Check = f"orvelle check --sentence-tag T0 {Three}"
Prepare = "orvelle prepare --force --into {folder} treebank.conllu"
Tag = "orvelle tag model words"
Files = {*Three.split(), "result", "model", "words", "gold", "transducer", "treebank.conllu"}

# What it is, its maker, n, and commands.
# fmt: off
Inputs = [
    ("text, n words", inputs.text, 100_000, [Train, Tag]),
    ("treebank, n words", inputs.sentences, 30_000, ["orvelle train treebank.conllu result", Prepare]),
    ("a treebank's sentence of n words", inputs.endless_sentence, 100_000, ["orvelle train treebank.conllu result"]),
    ("n forms in random order", inputs.shuffled_forms, 100_000, [Train, Check, "orvelle show model"]),
    ("n forms in order", inputs.sorted_forms, 100_000, [Train]),
    ("n forms of one hash", inputs.forms_of_one_hash, 10_000, [Train, Check, "orvelle show model"]),
    ("n rare forms with one end", inputs.same_ends, 10_000, [Tag]),
    ("n tags once each", inputs.once, 5_000, [Train]),
    ("n tags once each, treebank", inputs.once_in_treebank, 4_000, ["orvelle train treebank.conllu result"]),
    ("n tags in a cycle", inputs.cycle, 500, [Train, Train + " -dtg -1"]),
    ("every one of n tags after every other", inputs.every_pair, 100, [Train, Train + " -dtg -1"]),
    ("n tags of context, one tag", inputs.one_tag, 50_000, [Train + " -cl {n}"]),
    ("n tags of context, two tags", inputs.two_tags, 50_000, [Train + " -cl {n}"]),
    ("n tags of context, a period", inputs.period, 4_000, [Train + " -cl {n}", Train + " -cl {n} -dtg -1"]),
    ("a word of n bytes", inputs.long_word, 1_000_000, [Tag]),
    ("a sentence of n words", inputs.long_sentence, 100_000, [Tag]),
    ("n sentences of a word", inputs.short_sentences, 100_000, [Tag]),
    ("a chain of n tests", inputs.chain, 4_000, ["orvelle show --tree model", "orvelle show --all model", Tag,
                                                  "orvelle evaluate model gold"]),
    ("n word classes and tags", inputs.word_classes, 4_000, ["orvelle tag --wordclass transducer model words"]),
]
# fmt: on


def parse(command, folder, n):
    """The words of a command, and its files."""
    words = command.format(n=n, folder=folder).split()
    files = {word: folder / word for word in words if word in Files}
    return [Programs / words[0], *(files.get(word, word) for word in words[1:])], files


def run(command, folder, n):
    """Least seconds and megabytes of the rounds; bytes read and written."""
    if "model" in command and not (folder / "model").exists():
        output(*parse(Train.replace("result", "model"), folder, n)[0])
    words, files = parse(command, folder, n)
    printed = len(output(*words, errors="replace"))
    read = sum(file.stat().st_size for name, file in files.items() if name != "result")
    written = files["result"].stat().st_size if "result" in files else printed
    runs = [measure(words) for _ in range(Rounds)]
    return min(x[0] for x in runs), min(x[2] for x in runs), read, written


def rows(name, make, n, commands, nothing):
    runs = {command: [] for command in commands}
    for size in (n, 2 * n, 4 * n):
        with tempfile.TemporaryDirectory() as folder:
            make(Path(folder), size)
            for command in commands:
                runs[command].append(run(command, Path(folder), size))
    for command in commands:
        seconds = [max(x[0] - nothing[0], 1e-3) for x in runs[command]]
        exponent = f"{math.log2(seconds[2] / seconds[1]):.1f}" if seconds[2] >= Least_Seconds else ""
        _, peak, read, written = runs[command][-1]
        memory = max(peak - nothing[1], 0) * 1e6 / max(read, written)
        yield [f"{name}: `{shown(command)}`", f"{4 * n:,}", f"{read / 1e6:.1f}", f"{written / 1e6:.1f}",
               *(f"{s:.2f}" for s in seconds), exponent, f"{memory:.1f}"]  # fmt: skip


def shown(command):
    """What is special about it."""
    words = " ".join(word for word in command.split() if word not in Files)
    for usual in (" -quiet -st T0", " --sentence-tag T0", " --force --into {folder}"):
        words = words.replace(usual, "")
    return words.format(n="n")


def main():
    words, _ = parse(Nothing, Path(), 0)
    nothing = [min(column) for column in zip(*(measure(words)[::2] for _ in range(Rounds)))]
    lines = [row for each in Inputs if not Wanted or each[0] in Wanted for row in rows(*each, nothing)]
    head = ["input and command", "n", "MB read", "MB written", "s at n/4", "s at n/2", "s at n", "exponent",
            "memory, bytes a byte"]  # fmt: skip
    text = where("least") + "\n" + table(head, lines)
    print(text) if Wanted else put("bench/growth", text)


main()
