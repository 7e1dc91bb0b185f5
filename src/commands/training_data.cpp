// SPDX-License-Identifier: MIT
#include "commands/training_data.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <tuple>

#include "commands/escape.h"
#include "commands/remarks.h"
#include "lexicon/tagset.h"
#include "support/counting_sort.h"
#include "support/counts.h"
#include "support/errors.h"
#include "support/string_sort.h"
#include "support/strings.h"

namespace orvelle {

namespace {

class LexiconMaker {
 public:
  explicit LexiconMaker(const std::vector<uint32_t>& ranks) : ranks_(ranks) {}

  void add(const token_t& token) { readings_.push_back({token.form, token.tag, token.lemma}); }

  lexicon_entries_t make() {
    for (int reading_t::*const string : {&reading_t::lemma, &reading_t::tag, &reading_t::form})
      sort_by(string);
    lexicon_entries_t lines;
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

  // In byte order; readings without a lemma come first.
  void sort_by(int reading_t::*string) {
    counting_sort(readings_, ranks_.size() + 1, [&](const reading_t& reading) {
      return reading.*string < 0 ? 0 : 1 + ranks_[static_cast<size_t>(reading.*string)];
    });
  }

  // Of one form's readings, sorted by tag and lemma. Among lemmas that are equally frequent the first in byte
  // order wins; without any, the form.
  std::vector<lexicon_entry_t::pair_t> pairs(size_t first, size_t end) const {
    std::vector<lexicon_entry_t::pair_t> result;
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

  const std::vector<uint32_t>& ranks_;  // place in byte order, by string number
  std::vector<reading_t> readings_;
};

// An extra lexicon adds the forms, tags and lemmas that the tokens lack; it does not outvote their lemmas.
lexicon_entries_t merge_lexicons(Treebank& treebank, const sentences_t& sentences) {
  const std::vector<uint32_t> ranks = ranks_of(treebank.strings.texts());
  LexiconMaker seen(ranks), all(ranks);
  for (const range_t& sentence : sentences)
    for (size_t i = sentence.first; i < sentence.end; ++i) seen.add(treebank.tokens[i]);
  lexicon_entries_t lines = seen.make();
  if (treebank.entries.empty()) return lines;

  std::set<std::tuple<int, int>> known;
  for (const lexicon_entry_t& line : lines)
    for (const lexicon_entry_t::pair_t& pair : line.pairs) {
      all.add({line.form, pair.tag, pair.lemma, pair.tag, false});
      if (pair.lemma >= 0) known.emplace(line.form, pair.tag);
    }
  for (const token_t& entry : treebank.entries)
    if (!known.contains({entry.form, entry.tag})) all.add(entry);
  return all.make();
}

class OpenClassChooser {
 public:
  OpenClassChooser(const Treebank& treebank, const sentences_t& sentences, const lexicon_entries_t& lexicon)
      : treebank_(treebank), lexicon_(lexicon), tallies_(treebank.strings.size()) {
    for (const range_t& sentence : sentences)
      for (size_t i = sentence.first; i < sentence.end; ++i) count(treebank.tokens[i]);
  }

  // Tags in the byte order of their names, without the sentence tag.
  std::vector<const char*> choose(open_t how, int64_t once, const char* sentence_tag) const {
    std::vector<int> forms_seen_once(treebank_.strings.size(), 0);
    for (const lexicon_entry_t& line : lexicon_)
      for (const lexicon_entry_t::pair_t& pair : line.pairs)
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
  const lexicon_entries_t& lexicon_;
  std::vector<tally_t> tallies_;  // by string number
};

size_t line_length(const Treebank& treebank, const lexicon_entry_t& line) {
  size_t length = std::strlen(treebank.strings.text(line.form)) + 1;
  for (const lexicon_entry_t::pair_t& pair : line.pairs)
    length +=
        std::strlen(treebank.strings.text(pair.tag)) + std::strlen(treebank.strings.text(pair.lemma)) + 2;
  return length;
}

}  // namespace

parts_t split_by(const Treebank& treebank, const std::function<bool(size_t sentence)>& is_aside) {
  parts_t parts;
  size_t first = 0;
  for (size_t i = 0; i < treebank.sentence_ends.size(); ++i) {
    (is_aside(i) ? parts.test : parts.training).push_back({first, treebank.sentence_ends[i]});
    first = treebank.sentence_ends[i];
  }
  return parts;
}

parts_t split(const Treebank& treebank, double share) {
  return split_by(treebank, [share](size_t i) {
    return std::floor(static_cast<double>(i + 1) * share) > std::floor(static_cast<double>(i) * share);
  });
}

// The form stands for a lemma that nothing gives.
lexicon_entries_t make_lexicon(Treebank& treebank, const sentences_t& sentences) {
  lexicon_entries_t lines = merge_lexicons(treebank, sentences);
  for (lexicon_entry_t& line : lines)
    for (lexicon_entry_t::pair_t& pair : line.pairs)
      if (pair.lemma < 0) pair.lemma = line.form;
  return lines;
}

std::vector<const char*> choose_open_classes(const Treebank& treebank, const sentences_t& sentences,
                                             const lexicon_entries_t& lexicon, open_t how, int64_t once,
                                             const char* sentence_tag) {
  return OpenClassChooser(treebank, sentences, lexicon).choose(how, once, sentence_tag);
}

int count_tags(const Treebank& treebank, const lexicon_entries_t& lexicon) {
  std::vector<char> is_tag(treebank.strings.size(), 0);
  for (const lexicon_entry_t& line : lexicon)
    for (const lexicon_entry_t::pair_t& pair : line.pairs) is_tag[pair.tag] = 1;
  return static_cast<int>(std::count(is_tag.begin(), is_tag.end(), 1));
}

void require_soundness(const Treebank& treebank, const lexicon_entries_t& lexicon, const char* sentence_tag) {
  if (treebank.refused > 0) stop(counted(treebank.refused, "line") + " refused, nothing written");
  if (treebank.tokens.empty()) stop("no tokens, nothing written");
  size_t pairs = 0;
  for (const lexicon_entry_t& line : lexicon) {
    int_count(pairs += line.pairs.size(), "tags and lemmas in lexicon");
    if (line_length(treebank, line) > Max_Line_Length)
      stop(formatted("the entry of '%s' would be longer than %d bytes, nothing written",
                     printable(treebank.strings.text(line.form)).c_str(), Max_Line_Length));
  }
  if (count_tags(treebank, lexicon) > Max_Number_of_Tags)
    stop(formatted("more than %d tags (are tags and lemmas swapped?), nothing written", Max_Number_of_Tags));
  for (const lexicon_entry_t& line : lexicon)
    for (const lexicon_entry_t::pair_t& pair : line.pairs)
      if (std::strcmp(treebank.strings.text(pair.tag), sentence_tag) == 0) return;
  stop(formatted("no token gets the sentence tag %s, nothing written (see --sentence-end)", sentence_tag));
}

std::string lexicon_text(const Treebank& treebank, const lexicon_entries_t& lexicon) {
  std::string text;
  for (const lexicon_entry_t& entry : lexicon) {
    text += treebank.strings.text(entry.form);
    for (const auto& [tag, lemma] : entry.pairs)
      ((((text += '\t') += treebank.strings.text(tag)) += ' ') += treebank.strings.text(lemma));
    text += '\n';
  }
  return text;
}

std::string open_class_text(std::span<const char* const> tags) {
  std::string text;
  for (const char* tag : tags) (text += tag) += '\n';
  return text;
}

std::string corpus_text(const Treebank& treebank, const sentences_t& sentences, const char* sentence_end) {
  std::string text;
  for (const range_t& sentence : sentences) {
    for (size_t i = sentence.first; i < sentence.end; ++i) {
      (text += treebank.strings.text(treebank.tokens[i].form)) += '\t';
      (text += treebank.strings.text(treebank.tokens[i].tag)) += '\n';
    }
    text += sentence_end;
  }
  return text;
}

}  // namespace orvelle
