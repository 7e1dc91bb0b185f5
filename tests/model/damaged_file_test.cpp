// A damaged parameter file ends in a message, whatever the damage: never in a signal, and never in much
// memory.
#include <climits>
#include <functional>

#include "affix/affix_lookup.h"
#include "context/context_tree.h"
#include "driver/parameter_file.h"
#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/tagset.h"
#include "loading/sample_file.h"
#include "test_support.h"

namespace orvelle {

namespace {

volatile double Sink;

// Reads all that a lookup can lead to, for the sanitizers.
void use_tables() {
  const auto add_leaf = [](const ANODE* leaf) {
    for (int i = 0; leaf != nullptr && i < leaf->number; ++i)
      Sink = leaf->tagprob[i].prob + Tag[leaf->tagprob[i].tag][0];
  };
  for (int i = First_Entry; i < Fullform_Lexicon_Size; ++i) {
    const entrydata_t& data = *Fullform_Lexicon[i].data;
    for (int k = 0; k < data.n; ++k) Sink = data.prob[k] + Tag[data.tag[k]][0] + Lemma[data.lemma[k]][0];
  }
  for (const char* word : {"", "w", "w\xE9", "walking", "\xE9w"})
    add_leaf(prefix_leaf(word)), add_leaf(suffix_leaf(word));
  add_leaf(Open_Class_Node);
  if (Context_Tree.context_size > 1000) return;
  std::vector<int32_t> preceding(Context_Tree.context_size);
  for (int tag = 0; tag < Number_of_Tags; ++tag) {
    preceding.back() = tag;
    Sink = tag_probability(context_leaf(Context_Tree, preceding.data()), tag);
  }
}

outcome_t load(const TempDir& dir, const std::string& content) {
  const std::string path = dir.write("file", content);
  return run_in_child([&] {
    read_parameter_file(path.c_str());
    use_tables();
  });
}

// A run that ended by itself: loaded, or refused with a message, and not because it asked for memory.
bool is_orderly(const outcome_t& outcome) {
  const std::string_view text = outcome.text;
  if (outcome.status == 0) return text.empty();
  return outcome.status == 1 && text.starts_with("\nERROR: ") && text.ends_with("\naborted.\n") &&
         text != error_text("Not enough memory");
}

}  // namespace

TEST(DamagedFileDeathTest, CutAtEveryLength) {
  const TempDir dir;
  const std::string whole = sample_file_t().bytes();
  ASSERT_EQ(load(dir, whole).status, 0);
  for (size_t length = 0; length < whole.size(); ++length) {
    const outcome_t outcome = load(dir, whole.substr(0, length));
    EXPECT_EQ(outcome.status, 1) << length;
    EXPECT_TRUE(outcome.text == error_text("Can't read from input file") ||
                outcome.text == error_text("while reading string from binary file"))
        << length << outcome.text;
  }
}

TEST(DamagedFileDeathTest, EveryWordReplaced) {
  const TempDir dir;
  const std::string whole = sample_file_t().bytes();
  int refused = 0;
  for (size_t offset = 0; offset + 4 <= whole.size(); ++offset) {
    for (const int32_t value : {-1, 0, 3, INT_MAX}) {
      std::string damaged = whole;
      damaged.replace(offset, 4, raw(value));
      const outcome_t outcome = load(dir, damaged);
      EXPECT_TRUE(is_orderly(outcome)) << value << " at " << offset << ": " << outcome.status << outcome.text;
      refused += outcome.status == 1;
    }
  }
  EXPECT_GT(refused, 500);
}

TEST(DamagedFileDeathTest, IsRefusedByName) {
  struct row_t {
    const char* fault;
    std::function<void(sample_file_t&)> damage;
  };
  const row_t rows[] = {
      {"first value, which must be 32", [](auto& f) { f.mark = 33; }},
      {"encoding flag", [](auto& f) { f.utf8 = 2; }},
      {"number of the sentence tag", [](auto& f) { f.sent_tag = 3; }},
      {"order of the tags", [](auto& f) { f.tags[1] = "DT"; }},
      {"order of the lemmas", [](auto& f) { f.lemmas[3] = "\xC3"; }},
      {"order of the word forms", [](auto& f) { f.entries[3].word = "."; }},
      {"word form of a number entry", [](auto& f) { f.entries[1].word = "x"; }},
      {"tags of an entry", [](auto& f) { f.entries[3].tags[1] = 0; }},  // twice
      {"tags of an entry", [](auto& f) { f.entries[3].tags[1] = 3; }},
      {"frequency of an entry", [](auto& f) { f.entries[3].freq = -1; }},
      {"lemma number of an entry", [](auto& f) { f.entries[3].lemmas[1] = 5; }},
      {"nodes of the suffix tree", [](auto& f) { f.suffix.nodes.clear(); }},
      {"root of the prefix tree", [](auto& f) { f.prefix.nodes[0].symbol = 256; }},
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[1].first_child = 1; }},  // its own child
      {"children in the prefix tree",
       [](auto& f) { f.prefix.nodes[1].number = f.prefix.nodes[1].first_child = 2; }},  // shared
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[0].number = 1; }},   // unreachable
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[1].number = 2; }},   // past the end
      {"symbols in the prefix tree", [](auto& f) { f.prefix.nodes[2].symbol = 'w'; }},
      {"tags in the prefix tree", [](auto& f) { f.prefix.pairs[2].tag = 3; }},
      {"negative number of tag pairs of an affix", [](auto& f) { f.suffix.nodes[0].number = -1; }},
      {"open-class node", [](auto& f) { f.open_class.nodes[0].symbol = 256; }},
      {"tags of the open-class node", [](auto& f) { f.open_class.pairs[0].tag = -1; }},
      {"number of preceding tags", [](auto& f) { f.context_size = 0; }},
      {"position in the decision tree", [](auto& f) { f.context_size = 1; }},
      {"position in the decision tree", [](auto& f) { f.nodes.replace(16, 4, raw(1)); }},  // asked for above
      {"tag in the decision tree", [](auto& f) { f.nodes.replace(8, 4, raw(3)); }},
      {"tags of a decision tree leaf", [](auto& f) { f.nodes.replace(36, 4, raw(3)); }},
      {"leaf flag of a decision tree node", [](auto& f) { f.nodes.replace(0, 4, raw(2)); }},
      {"data behind the decision tree", [](auto& f) { f.nodes += '\0'; }},
  };
  const TempDir dir;
  for (const row_t& row : rows) {
    sample_file_t sample;
    row.damage(sample);
    const outcome_t outcome = load(dir, sample.bytes());
    EXPECT_EQ(outcome.status, 1) << row.fault;
    EXPECT_EQ(outcome.text, error_text(std::string("in parameter file: ") + row.fault));
  }
  sample_file_t without_marker;
  without_marker.first_entry = -1;
  EXPECT_EQ(load(dir, without_marker.bytes()).text, error_text("in parameter file"));
  EXPECT_ERROR(read_parameter_file(dir.path().c_str()), "Can't read from input file: " + dir.path());
}

}  // namespace orvelle
