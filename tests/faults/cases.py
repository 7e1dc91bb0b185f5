# SPDX-License-Identifier: MIT
"""The commands that are made to fail, and the small files that they work on."""

import gzip
import lzma
import subprocess
from dataclasses import dataclass, field
from pathlib import Path

Universal_Tags = {"NN": "NOUN", "NNS": "NOUN", "NP": "PROPN", "JJ": "ADJ", "RB": "ADV", "VBD": "VERB"}
Sentences = 12  # of the sample corpus


@dataclass
class Case:
    name: str
    command: list  # program and arguments
    stdin: Path = Path("/dev/null")
    before: dict = field(default_factory=dict)  # files that lie in the folder of the run, by name
    reader: list = None  # what tells a whole output from another; for a program that writes in place
    may_choose: bool = False  # without some of its trials it may choose another whole output, and tell
    reports: bool = False  # what is wrong with a file is its output
    as_good: "Case" = None  # a failing read may give what this gives


def sentences_of(corpus):
    result = [[]]
    for line in corpus.read_text(encoding="utf-8").splitlines():
        result[-1].append(line.split("\t"))
        if result[-1][-1][1] == "SENT":
            result.append([])
    return result[:-1][:Sentences]


def conllu(sentences, lemmas):
    rows = []
    for sentence in sentences:
        for i, (form, tag) in enumerate(sentence, 1):
            lemma = lemmas.get((form, tag), form.lower())
            rows.append(f"{i}\t{form}\t{lemma}\t{Universal_Tags.get(tag, 'X')}\t{tag}\t_\t0\troot\t_\t_\n")
        rows.append("\n")
    return "".join(rows)


def make_inputs(folder, programs, examples):
    """Everything that the cases read."""

    def put(name, text):
        (folder / name).write_bytes(text if isinstance(text, bytes) else text.encode())

    sentences = sentences_of(examples / "corpus")
    entries = [line.split("\t") for line in (examples / "lexicon").read_text(encoding="utf-8").splitlines()]
    lemmas = {(form, r.split(" ")[0]): r.split(" ")[1] for form, *readings in entries for r in readings}
    used = {word[0] for sentence in sentences for word in sentence}
    kept = [entry for entry in entries if entry[0] in used]
    tags = {r.split(" ")[0] for _, *readings in kept for r in readings}
    put("lexicon", "".join("\t".join(entry) + "\n" for entry in kept))
    put("open-classes", " ".join(tag for tag in ("NN", "NNS", "NP", "JJ", "VB", "VBD") if tag in tags) + "\n")
    put("corpus", "".join(f"{form}\t{tag}\n" for sentence in sentences for form, tag in sentence))
    put("treebank", conllu(sentences, lemmas))
    put("dev", conllu(sentences[:5], lemmas))
    put("columns", conllu_to_columns(conllu(sentences, lemmas)))
    put("words", "".join(form + "\n" for sentence in sentences[:5] for form, _ in sentence) + "unheard-of\n")
    put("lines", "".join(" ".join(form for form, _ in sentence) + "\n" for sentence in sentences[:5]))
    put("words.gz", gzip.compress((folder / "words").read_bytes()))
    put("words.xz", lzma.compress((folder / "words").read_bytes()))
    put("added", "unheard-of\tJJ unheard-of\n")
    put("transducer", "0 u 1\n1 n 2\n2 h 2\n0 wordclass 1\n2 wordclass 2\n")
    inputs = [folder / name for name in ("lexicon", "open-classes", "corpus")]
    subprocess.run([programs / "train-orvelle", "-quiet", *inputs, folder / "parameters"], check=True)
    command = [programs / "orvelle", "train", "--dev", folder / "dev", folder / "treebank", folder / "model"]
    subprocess.run(command, check=True, capture_output=True)


def conllu_to_columns(text):
    rows = [line.split("\t") for line in text.splitlines()]
    return "".join("\t".join((row[1], row[4], row[2])) + "\n" if len(row) > 1 else "\n" for row in rows)


def make_cases(folder, programs):
    """`folder` is where the inputs lie."""
    old = {"out": b"what was there before\n"}
    three = [folder / name for name in ("lexicon", "open-classes", "corpus")]
    named = ["--lexicon", three[0], "--open-classes", three[1], "--corpus", three[2]]
    model, parameters, words = folder / "model", folder / "parameters", folder / "words"
    old_model = {"out": parameters.read_bytes()}
    treebanks = [folder / "dev", folder / "treebank", "out"]
    show = [programs / "orvelle", "show"]
    choosing = {"reader": show, "may_choose": True}

    # Of the list of open classes what could be read counts: for the trainer its end is where reading ends.
    def trainer(name, *options):
        command = [programs / "train-orvelle", *options]
        without = Case(name, [*command, three[0], "/dev/null", three[2], "out"], before=old)
        return Case(name, [*command, *three, "out"], before=old, reader=show, as_good=without)

    def orvelle(line, *operands, **more):
        return Case(line, [programs / "orvelle", *line.split(" "), *operands], **more)

    return [
        trainer("train-orvelle"),
        trainer("train-orvelle -quiet -cl 3", "-quiet", "-cl", "3"),
        orvelle("--help"),
        orvelle("help tag"),
        orvelle("train --jobs 1 --dev", *treebanks, before=old_model),
        orvelle("train --jobs 2 --no-second-look", folder / "columns", "out", before=old_model),
        orvelle("train --tune --no-second-look --dev", *treebanks, before=old_model, **choosing),
        orvelle("train --jobs 1 --no-second-look", *named, "out"),
        orvelle("tag", model, stdin=folder / "words"),
        orvelle("tag --output out", model, folder / "treebank", before=old),
        orvelle("tag --format lines --probabilities 0.01", parameters, folder / "lines"),
        orvelle("tag --decode word --lexicon", folder / "added", model, words),
        orvelle("tag --wordclass", folder / "transducer", parameters, words),
        orvelle("tag --jobs 2", model, folder / "words.gz"),
        orvelle("tag --markup", parameters, folder / "words.xz"),
        orvelle("evaluate", model, folder / "treebank"),
        orvelle("evaluate --json --jobs 2", parameters, stdin=folder / "corpus"),
        orvelle("show", model),
        orvelle("show --card --json", model),
        orvelle("show --parameter-file out", model, before=old),
        orvelle("show --word unheard-of --word light", parameters),
        orvelle("show --context DT --tree --all", model),
        orvelle("show --dot --depth 3", parameters),
        orvelle("prepare --force --held-out 0.2", folder / "treebank", before={"lexicon": b"old\n"}),
        orvelle("prepare --into new --lexicon", folder / "added", stdin=folder / "columns"),
        orvelle("check", *three, "out", reports=True),
        orvelle("check --all", three[0], three[1], "-", stdin=folder / "corpus", reports=True),
        orvelle("tune --jobs 1 --quick --folds 2", *three),
        orvelle("tune --jobs 2 --quick --dev", folder / "dev", *three),
    ]
