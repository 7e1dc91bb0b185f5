# SPDX-License-Identifier: MIT
"""Inputs of any size for bench/growth: what text is like, and what was made to be slow. Each writes its files into a folder."""

import random
import struct

# ---- the three files of a training


def write_training(folder, lexicon, tags, open_classes=()):
    """`lexicon`: pairs of form and tag. `tags`: of the corpus, by their numbers; each is that of a form w and its number."""
    forms = [f"w{tag}\tT{tag}\n" for tag in range(1 + max(tags))]
    lines = [f"w{tag}\tT{tag} w\n" for tag in range(len(forms))] + [f"{form}\t{tag} {form}\n" for form, tag in lexicon]
    (folder / "lexicon").write_text("".join(lines), encoding="latin-1")
    (folder / "open-classes").write_text("\n".join(["T0", *open_classes]) + "\n")
    (folder / "corpus").write_text("".join(forms[tag] for tag in tags))


def text(folder, n):
    """As natural text: few forms often and many once, tags that depend on the one before."""
    source = random.Random(n)
    tags, tag = [], 0
    for _ in range(n):
        tag = (3 * tag + min(source.randrange(40), source.randrange(40))) % 40
        tags.append(tag)
    write_training(folder, [], tags)
    forms = [f"{'abcdefghij'[tag % 10]}{int(source.paretovariate(0.5)) % n}{'klmnopqrst'[tag // 4]}" for tag in tags]
    pairs = sorted({(form, f"T{tag}") for form, tag in zip(forms, tags)})
    entries = {}
    for form, tag in pairs:
        entries.setdefault(form, []).append(f"\t{tag} {form}")
    with open(folder / "lexicon", "a", encoding="utf-8") as lexicon:
        lexicon.writelines(form + "".join(readings) + "\n" for form, readings in entries.items())
    (folder / "corpus").write_text("".join(f"{form}\tT{tag}\n" for form, tag in zip(forms, tags)))
    (folder / "words").write_text("\n".join(forms) + "\n")


def cycle(folder, n):
    write_training(folder, [], list(range(n)) * 20)


def once(folder, n):
    write_training(folder, [], list(range(n)))


def every_pair(folder, n):
    """A walk in which every tag follows every other once."""
    tags = []
    for i in range(n):
        for j in range(i + 1, n):
            tags += [i, j]
        tags.append(i)
    write_training(folder, [], tags)


def one_tag(folder, n):
    write_training(folder, [], [0] * n + [1] + [0] * n)


def two_tags(folder, n):
    source = random.Random(n)
    write_training(folder, [], [source.randrange(2) for _ in range(2 * n)])


def period(folder, n):
    write_training(folder, [], ([0] * (n // 3) + [1]) * 6)


def sorted_forms(folder, n):
    write_training(folder, [(form, "T0") for form in sorted(many_forms(n))], [0, 1, 2] * 100)


def shuffled_forms(folder, n):
    forms = many_forms(n)
    random.Random(n).shuffle(forms)
    write_training(folder, [(form, "T0") for form in forms], [0, 1, 2] * 100)


def many_forms(n):
    return [f"{i * 7919 % n:x}-{i}" for i in range(n)]


def forms_of_one_hash(folder, n):
    forms = same_hash(n)
    write_training(folder, [(form, "T0") for form in forms], [0, 1] * 10)
    with open(folder / "corpus", "a", encoding="latin-1") as corpus:
        corpus.writelines(form + "\tT0\n" for form in forms)


def same_hash(n):
    """Strings of 16 bytes with one value of hash_bytes: its two steps can be undone, but for the half that it drops."""
    multiplier, whole = 0x9E3779B97F4A7C15, (1 << 64) - 1
    inverse = pow(multiplier, -1, 1 << 64)

    def mixed(x):
        return ((x ^ (x >> 32)) * multiplier) & whole

    def unmixed(x):
        x = (x * inverse) & whole
        return x ^ (x >> 32)

    source, forms = random.Random(1), set()
    while len(forms) < n:
        first = bytes(source.choices(range(97, 123), k=8))
        before = mixed((16 * multiplier & whole) ^ int.from_bytes(first, "little"))
        second = (unmixed(unmixed(0x12345678 << 32 | source.getrandbits(32))) ^ before).to_bytes(8, "little")
        if all(byte > 32 and byte not in (0x7F, 0x85, 0xA0) for byte in second):
            forms.add((first + second).decode("latin-1"))
    return sorted(forms)


def same_ends(folder, n):
    forms = [f"{i:x}abcdefg" for i in range(n)]
    write_training(folder, [(form, f"T{i % 3}") for i, form in enumerate(forms)], [0, 1, 2] * 10, ["T1", "T2"])
    with open(folder / "corpus", "a", encoding="latin-1") as corpus:
        corpus.writelines(f"{form}\tT{i % 3}\n" for i, form in enumerate(forms))
    (folder / "words").write_text("".join(f"y{i:x}abcdefg\n" for i in range(n)))


# ---- texts for a small model


def small_model(folder):
    write_training(folder, [("dog", "T1")], [0, 1, 2, 0, 2, 1] * 50, ["T1", "T2"])


def long_word(folder, n):
    small_model(folder)
    (folder / "words").write_text("ab" * (n // 2) + "\n")


def long_sentence(folder, n):
    small_model(folder)
    (folder / "words").write_text("".join(f"dog\nx{i}\n" for i in range(n // 2)))


def short_sentences(folder, n):
    small_model(folder)
    (folder / "words").write_text("dog\n\n" * n)


def sentences(folder, n):
    """A treebank of n words, three a sentence."""
    source = random.Random(n)
    lines = []
    for i in range(n // 3):
        form = f"{source.choice('abc')}{source.randrange(n)}"
        tags = source.choice((("DT", "NN"), ("PRP", "VB"), ("DT", "JJ")))
        lines += [f"1\tthe\tthe\tX\t{tags[0]}\t_\t0\troot\t_\t_\n", f"2\t{form}\t{form}\tX\t{tags[1]}\t_\t1\tdep\t_\t_\n",
                  "3\t.\t.\tPUNCT\t.\t_\t1\tpunct\t_\t_\n\n"]  # fmt: skip
    (folder / "treebank.conllu").write_text("".join(lines))


def endless_sentence(folder, n):
    """A treebank with a sentence of n words behind short ones."""
    sentences(folder, 600)
    with open(folder / "treebank.conllu", "a") as treebank:
        for i in range(n):
            treebank.write(f"{i + 1}\tthe\tthe\tX\t{('DT', 'NN')[i % 2]}\t_\t0\tdep\t_\t_\n")
        treebank.write("\n")


def once_in_treebank(folder, n):
    """A treebank where each of n tags has a word of its own."""
    sentences(folder, 600)
    with open(folder / "treebank.conllu", "a") as treebank:
        for i in range(n):
            treebank.write(f"1\tx{i}\tx\tX\tT{i}\t_\t0\troot\t_\t_\n2\t.\t.\tPUNCT\t.\t_\t1\tpunct\t_\t_\n\n")


# ---- files for the companion


def chain(folder, n):
    """A parameter file whose tree asks n times whether the next tag is the second one, each time after a yes."""
    entry = b"\0" + struct.pack("<iiifi", 1, 1, 1, 1.0, 0)
    bare_root = struct.pack("<hhhHi", 1, 257, 0, 0, 0)
    content = struct.pack("<iiii", 32, 0, 0, 2) + b"T0\0T1\0"
    content += struct.pack("<i", 2) + b"@card@\0@ord@\0" + struct.pack("<ii", 0, -2) + 2 * entry
    content += struct.pack("<dd", 2.0, 2.0) + 2 * (b"\1\0" + bare_root)
    content += struct.pack("<hhhHi", 1, 257, 1, 0, 0) + struct.pack("<hhf", 1, 0, 1.0) + struct.pack("<i", n)
    content += b"".join(struct.pack("<iii", 0, n - 1 - i, 1) for i in range(n))
    content += b"".join(struct.pack("<iiIid", 1, 1, 1 + i, i % 2, 1.0) for i in range(n + 1))
    (folder / "model").write_bytes(content)
    (folder / "words").write_text("x\n" * n)
    (folder / "gold").write_text("x\tT1\n" * n)


def word_classes(folder, n):
    """n classes, and as many tags that each have one word."""
    write_training(folder, [], list(range(n)))
    words = [f"w{i}" for i in range(n)]
    prefixes = sorted({word[:k] for word in words for k in range(len(word) + 1)})
    state = {prefix: i for i, prefix in enumerate(prefixes)}
    lines = [f"{state[prefix]} {byte} {state[prefix + byte]}\n" for prefix in prefixes for byte in "0123456789w"
             if prefix + byte in state]  # fmt: skip
    lines.append(f"{len(prefixes) - 1} x 0\n")
    lines += [f"{state[word]} wordclass {i}\n" for i, word in enumerate(words)]
    (folder / "transducer").write_text("".join(lines))
    (folder / "words").write_text("w1\nv\n")
