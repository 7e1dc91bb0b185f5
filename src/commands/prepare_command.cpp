// orvelle prepare: from a treebank to the three files of a training.
//
//   1. read the files into sentences of tokens (treebank.h)
//   2. set every n-th sentence aside
//   3. sort the remaining tokens by form, tag and lemma: equal ones stand together, so one pass over them
//   gives the
//      lexicon with the most frequent lemma of each form and tag
//   4. choose the open classes
//   5. write
//
// Nothing is written before all is known to be sound, and what is written is what the trainer can read.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "commands/command.h"
#include "commands/escape.h"
#include "commands/text_io.h"
#include "commands/treebank.h"
#include "lexicon/tagset.h"
#include "support/errors.h"
#include "support/strings.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle prepare [OPTION...] [FILE...]\n"
    "\n"
    "Makes the files of a training from a treebank: lexicon, open-classes and corpus. The\n"
    "input is CoNLL-U, or columns: form, TAB, tag and, if there are lemmas, TAB, lemma, an\n"
    "empty line behind each sentence. Without a FILE, or for -, standard input is read.\n"
    "\n"
    "  --into DIR            where to write (the current folder)\n"
    "  --format FORMAT       conllu or columns (what the first line looks like)\n"
    "  --tag KIND            of CoNLL-U: xpos, upos or upos+feats (xpos)\n"
    "  --sentence-tag TAG    the tag of sentence ends (SENT)\n"
    "  --sentence-end FORMS  the tokens that get it, separated by blanks ('. ! ?');\n"
    "                        '' if the input has it already\n"
    "  --only-last           they get it only as the last token of a sentence\n"
    "  --open HOW            open classes: upos, the tags whose tokens are mostly adjectives,\n"
    "                        adverbs, interjections, nouns or verbs by their universal tags;\n"
    "                        or once, the tags that many forms have that occur once\n"
    "                        (upos for CoNLL-U, once for columns)\n"
    "  --once N              for once: more than N such forms (10)\n"
    "  --lexicon FILE        more entries, in the trainer's format; may be repeated\n"
    "  --held-out SHARE      set this share of the sentences aside, spread evenly, in the\n"
    "                        file test, with an empty line behind each sentence (0)\n"
    "\n"
    "White space that the files cannot hold is repaired, with a remark; everything else that\n"
    "they cannot hold is refused, with file and line, and then nothing is written.\n";

constexpr option_t Options[] = {
    {"into", "DIR"},           {"format", "FORMAT"},   {"tag", "KIND"}, {"sentence-tag", "TAG"},
    {"sentence-end", "FORMS"}, {"only-last", nullptr}, {"open", "HOW"}, {"once", "N"},
    {"lexicon", "FILE"},       {"held-out", "SHARE"}};

enum open_t { By_Universal_Tag, By_Forms_Seen_Once };

// ---- the parts of the treebank

struct range_t {
  size_t first, end;  // tokens
};

struct parts_t {
  std::vector<range_t> training, test;  // sentences
};

parts_t split(const Treebank& treebank, double share) {
  parts_t parts;
  size_t first = 0;
  for (size_t i = 0; i < treebank.sentence_ends.size(); ++i) {
    const bool aside =
        std::floor(static_cast<double>(i + 1) * share) > std::floor(static_cast<double>(i) * share);
    (aside ? parts.test : parts.training).push_back({first, treebank.sentence_ends[i]});
    first = treebank.sentence_ends[i];
  }
  return parts;
}

// ---- the lexicon

struct pair_t {
  int tag;
  int lemma;  // -1: no token had one
};

struct entry_line_t {
  int form;
  std::vector<pair_t> pairs;  // by tag in byte order
};

class LexiconMaker {
 public:
  explicit LexiconMaker(Treebank& treebank) : treebank_(treebank) {}

  void add(const token_t& token) { readings_.push_back({token.form, token.tag, token.lemma}); }

  std::vector<entry_line_t> make() {
    rank_strings();
    const auto key = [this](const reading_t& r) {
      return std::tuple(rank(r.form), rank(r.tag), rank(r.lemma));
    };
    std::sort(readings_.begin(), readings_.end(),
              [&](const auto& a, const auto& b) { return key(a) < key(b); });
    std::vector<entry_line_t> lines;
    for (size_t i = 0; i < readings_.size();) {
      const size_t first = i;
      for (; i < readings_.size() && readings_[i].form == readings_[first].form; ++i) continue;
      lines.push_back({readings_[first].form, pairs(first, i)});
    }
    return lines;
  }

 private:
  struct reading_t {
    int form, tag, lemma;
  };

  int rank(int string) const { return string < 0 ? -1 : ranks_[string]; }

  void rank_strings() {
    std::vector<int> order(treebank_.strings.size());
    for (int i = 0; i < treebank_.strings.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(), [this](int a, int b) {
      return str_cmp(treebank_.strings.text(a), treebank_.strings.text(b)) < 0;
    });
    ranks_.resize(order.size());
    for (size_t i = 0; i < order.size(); ++i) ranks_[order[i]] = static_cast<int>(i);
  }

  // Of one form's readings, sorted by tag and lemma. Among lemmas that are equally frequent the first in byte
  // order wins; without any, the form.
  std::vector<pair_t> pairs(size_t first, size_t end) const {
    std::vector<pair_t> result;
    size_t best = 0;
    for (size_t i = first; i < end;) {
      const size_t run = i;
      for (; i < end && readings_[i].tag == readings_[run].tag && readings_[i].lemma == readings_[run].lemma;
           ++i)
        continue;
      if (result.empty() || result.back().tag != readings_[run].tag) {
        result.push_back({readings_[run].tag, -1});
        best = 0;
      }
      if (readings_[run].lemma < 0 || i - run <= best) continue;
      result.back().lemma = readings_[run].lemma;
      best = i - run;
    }
    return result;
  }

  Treebank& treebank_;
  std::vector<reading_t> readings_;
  std::vector<int> ranks_;  // place in byte order, by string number
};

// An extra lexicon adds the forms, tags and lemmas that the tokens lack; it does not outvote their lemmas.
std::vector<entry_line_t> merge_lexicons(Treebank& treebank, const parts_t& parts) {
  LexiconMaker seen(treebank), all(treebank);
  for (const range_t& sentence : parts.training)
    for (size_t i = sentence.first; i < sentence.end; ++i) seen.add(treebank.tokens[i]);
  std::vector<entry_line_t> lines = seen.make();
  if (treebank.entries.empty()) return lines;

  std::set<std::tuple<int, int>> known;
  for (const entry_line_t& line : lines)
    for (const pair_t& pair : line.pairs) {
      all.add({line.form, pair.tag, pair.lemma, false});
      if (pair.lemma >= 0) known.emplace(line.form, pair.tag);
    }
  for (const token_t& entry : treebank.entries)
    if (!known.contains({entry.form, entry.tag})) all.add(entry);
  return all.make();
}

// The form stands for a lemma that nothing gives.
std::vector<entry_line_t> make_lexicon(Treebank& treebank, const parts_t& parts) {
  std::vector<entry_line_t> lines = merge_lexicons(treebank, parts);
  for (entry_line_t& line : lines)
    for (pair_t& pair : line.pairs)
      if (pair.lemma < 0) pair.lemma = line.form;
  return lines;
}

// ---- the open classes

class OpenClassChooser {
 public:
  OpenClassChooser(const Treebank& treebank, const parts_t& parts, const std::vector<entry_line_t>& lexicon)
      : treebank_(treebank), lexicon_(lexicon), tallies_(treebank.strings.size()) {
    for (const range_t& sentence : parts.training)
      for (size_t i = sentence.first; i < sentence.end; ++i) count(treebank.tokens[i]);
  }

  // Tags in the byte order of their names, without the sentence tag.
  std::vector<const char*> choose(open_t how, int64_t once, const char* sentence_tag) const {
    std::vector<int> forms_seen_once(treebank_.strings.size(), 0);
    for (const entry_line_t& line : lexicon_)
      for (const pair_t& pair : line.pairs)
        if (tallies_[line.form].as_form == 1) ++forms_seen_once[pair.tag];
    std::vector<const char*> chosen;
    for (int tag = 0; tag < treebank_.strings.size(); ++tag) {
      const tally_t& tally = tallies_[tag];
      const bool open =
          how == By_Universal_Tag ? 2 * tally.as_open_tag > tally.as_tag : forms_seen_once[tag] > once;
      const char* name = treebank_.strings.text(tag);
      if (open && tally.as_tag > 0 && std::strcmp(name, sentence_tag) != 0) chosen.push_back(name);
    }
    std::sort(chosen.begin(), chosen.end(), [](const char* a, const char* b) { return str_cmp(a, b) < 0; });
    return chosen;
  }

 private:
  // How many tokens have a string as their form, as their tag, as their tag with an open universal tag.
  struct tally_t {
    int as_form = 0, as_tag = 0, as_open_tag = 0;
  };

  void count(const token_t& token) {
    ++tallies_[token.form].as_form;
    ++tallies_[token.tag].as_tag;
    tallies_[token.tag].as_open_tag += token.open;
  }

  const Treebank& treebank_;
  const std::vector<entry_line_t>& lexicon_;
  std::vector<tally_t> tallies_;  // by string number
};

// ---- what the trainer would refuse

int count_tags(const Treebank& treebank, const std::vector<entry_line_t>& lexicon) {
  std::vector<char> is_tag(treebank.strings.size(), 0);
  for (const entry_line_t& line : lexicon)
    for (const pair_t& pair : line.pairs) is_tag[pair.tag] = 1;
  return static_cast<int>(std::count(is_tag.begin(), is_tag.end(), 1));
}

size_t line_length(const Treebank& treebank, const entry_line_t& line) {
  size_t length = std::strlen(treebank.strings.text(line.form)) + 1;
  for (const pair_t& pair : line.pairs)
    length +=
        std::strlen(treebank.strings.text(pair.tag)) + std::strlen(treebank.strings.text(pair.lemma)) + 2;
  return length;
}

void require_soundness(const Treebank& treebank, const std::vector<entry_line_t>& lexicon,
                       const std::vector<token_t>& tokens, const char* sentence_tag) {
  if (treebank.refused > 0) stop(std::to_string(treebank.refused) + " lines refused, nothing written");
  if (tokens.empty()) stop("no tokens, nothing written");
  for (const entry_line_t& line : lexicon)
    if (line_length(treebank, line) > Max_Line_Length)
      stop(formatted("the entry of '%s' would be longer than %d bytes, nothing written",
                     printable(treebank.strings.text(line.form)).c_str(), Max_Line_Length));
  if (count_tags(treebank, lexicon) > Max_Number_of_Tags)
    stop(formatted("more than %d tags (are tags and lemmas swapped?), nothing written", Max_Number_of_Tags));
  for (const entry_line_t& line : lexicon)
    for (const pair_t& pair : line.pairs)
      if (std::strcmp(treebank.strings.text(pair.tag), sentence_tag) == 0) return;
  stop(formatted("no token gets the sentence tag %s, nothing written (see --sentence-end)", sentence_tag));
}

// ---- writing

class Writer {
 public:
  Writer(const Treebank& treebank, std::filesystem::path folder)
      : treebank_(treebank), folder_(std::move(folder)) {}

  std::string path(const char* name) const { return (folder_ / name).lexically_normal().string(); }

  void write_lexicon(const std::vector<entry_line_t>& lexicon) const {
    write("lexicon", [&](TextOutput& out) {
      for (const entry_line_t& line : lexicon) {
        out.put(treebank_.strings.text(line.form));
        for (const pair_t& pair : line.pairs) {
          out.put('\t');
          out.put(treebank_.strings.text(pair.tag));
          out.put(' ');
          out.put(treebank_.strings.text(pair.lemma));
        }
        out.put('\n');
      }
    });
  }

  void write_open_classes(const std::vector<const char*>& tags) const {
    write("open-classes", [&](TextOutput& out) {
      for (const char* tag : tags) {
        out.put(tag);
        out.put('\n');
      }
    });
  }

  void write_sentences(const char* name, const std::vector<range_t>& sentences, const char* end) const {
    write(name, [&](TextOutput& out) {
      for (const range_t& sentence : sentences) {
        for (size_t i = sentence.first; i < sentence.end; ++i) {
          out.put(treebank_.strings.text(treebank_.tokens[i].form));
          out.put('\t');
          out.put(treebank_.strings.text(treebank_.tokens[i].tag));
          out.put('\n');
        }
        out.put(end);
      }
    });
  }

 private:
  template <class Action>
  void write(const char* name, Action action) const {
    const std::string path_name = path(name);
    TextOutput out(path_name.c_str());
    action(out);
    out.close();
  }

  const Treebank& treebank_;
  std::filesystem::path folder_;
};

// The input must not be one of the files that will be written.
void protect_inputs(const Writer& writer, const std::vector<const char*>& inputs) {
  for (const char* input : inputs)
    for (const char* output : {"lexicon", "open-classes", "corpus", "test"}) {
      std::error_code missing;
      if (std::filesystem::equivalent(input, writer.path(output), missing))
        stop(std::string(input) + " would be overwritten; choose another folder with --into");
    }
}

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  std::string copy(text);
  char* cursor = copy.data();
  for (const char* word = next_string(&cursor); *word != '\0'; word = next_string(&cursor))
    result.push_back(word);
  return result;
}

treebank_options_t treebank_options(const CommandLine& line) {
  treebank_options_t options;
  if (line.has("format"))
    options.format =
        static_cast<treebank_options_t::format_t>(line.choice("format", 0, {"conllu", "columns"}) + 1);
  options.tag = static_cast<treebank_options_t::tag_t>(line.choice("tag", 0, {"xpos", "upos", "upos+feats"}));
  options.sentence_tag = line.value("sentence-tag", "SENT");
  if (words(options.sentence_tag) != std::vector<std::string>{options.sentence_tag})
    misuse("--sentence-tag is one word");
  options.sentence_ends = words(line.value("sentence-end", ". ! ?"));
  options.only_last = line.has("only-last");
  return options;
}

void print_summary(const Treebank& treebank, const parts_t& parts, const std::vector<entry_line_t>& lexicon,
                   size_t open_classes, const Writer& writer) {
  const auto tokens = [](const std::vector<range_t>& sentences) {
    size_t count = 0;
    for (const range_t& sentence : sentences) count += sentence.end - sentence.first;
    return count;
  };
  TextOutput out("-");
  out.print("%s: %zu word forms, %d tags\n", writer.path("lexicon").c_str(), lexicon.size(),
            count_tags(treebank, lexicon));
  out.print("%s: %zu tags\n", writer.path("open-classes").c_str(), open_classes);
  out.print("%s: %zu tokens in %zu sentences\n", writer.path("corpus").c_str(), tokens(parts.training),
            parts.training.size());
  if (!parts.test.empty())
    out.print("%s: %zu tokens in %zu sentences\n", writer.path("test").c_str(), tokens(parts.test),
              parts.test.size());
  out.close();
}

int prepare_command(const CommandLine& line, Remarks& remarks) {
  const treebank_options_t options = treebank_options(line);
  const double share = line.number("held-out", 0.0, 0.0, 0.9);
  const int64_t once = line.integer("once", 10, 0, 1000000000);
  std::vector<const char*> inputs = line.operands();
  if (inputs.empty()) inputs.push_back("-");

  Treebank treebank(options, remarks);
  const std::filesystem::path folder = line.value("into", ".");
  const Writer writer(treebank, folder);
  protect_inputs(writer, inputs);
  protect_inputs(writer, line.values("lexicon"));
  for (const char* input : inputs) treebank.read(input);
  for (const char* lexicon : line.values("lexicon")) treebank.read_lexicon(lexicon);
  treebank.close_remarks();

  const parts_t parts = split(treebank, share);
  const std::vector<entry_line_t> lexicon = make_lexicon(treebank, parts);
  require_soundness(treebank, lexicon, treebank.tokens, options.sentence_tag);
  const OpenClassChooser chooser(treebank, parts, lexicon);
  const open_t how = static_cast<open_t>(line.choice(
      "open", treebank.has_universal_tags ? By_Universal_Tag : By_Forms_Seen_Once, {"upos", "once"}));
  const std::vector<const char*> open = chooser.choose(how, once, options.sentence_tag);
  if (open.empty()) remarks.say("no open classes: nothing will be learnt about unknown words (see --open)");

  std::error_code failure;
  std::filesystem::create_directories(folder, failure);  // a failure shows when the first file is opened
  writer.write_lexicon(lexicon);
  writer.write_open_classes(open);
  writer.write_sentences("corpus", parts.training, "");
  if (share > 0.0) writer.write_sentences("test", parts.test, "\n");
  print_summary(treebank, parts, lexicon, open.size(), writer);
  return 0;
}

}  // namespace

const command_t Prepare_Command = {
    "prepare", "from a treebank to the files of a training", Help, Options, 0, -1, prepare_command};

}  // namespace orvelle
