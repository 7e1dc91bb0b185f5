// SPDX-License-Identifier: MIT
// A damaged parameter file ends in a message, whatever the damage: never in undefined behaviour, and never in
// much memory.
#include <gtest/gtest.h>

#include <climits>
#include <functional>

#include "sample_file.h"

namespace orvelle {
namespace {

volatile double Sink;

// Reads all that a lookup can lead to, for the sanitizers.
void use(const Model& model) {
  const auto add_leaf = [&](const ANODE* leaf) {
    for (int i = 0; leaf != nullptr && i < leaf->number; ++i)
      Sink = leaf->tagprob[i].prob + model.Tag(leaf->tagprob[i].tag)[0];
  };
  for (int i = First_Entry; i < model.Fullform_Lexicon_Size(); ++i) {
    const entry_t& entry = model.Fullform_Lexicon(i);
    for (int k = 0; k < entry.data->n; ++k)
      Sink = entry.data->prob[k] + model.Tag(entry.data->tag[k])[0] + model.lemma(entry, k)[0];
  }
  for (const char* word : {"", "w", "w\xE9", "walking", "\xE9w"})
    add_leaf(model.prefix_leaf(word)), add_leaf(model.suffix_leaf(word));
  add_leaf(&model.Open_Class_Node());
  if (model.Context_Size() > 1000) return;
  std::vector<int32_t> preceding(model.Context_Size());
  for (int tag = 0; tag < model.Number_of_Tags(); ++tag) {
    preceding.back() = tag;
    Sink = Model::tag_probability(model.context_leaf(preceding.data()), tag);
  }
}

// The bytes in memory of exactly their size, so that the sanitizer sees what is read behind them.
std::string load(const std::string& content) {
  return error_of([&] {
    const std::vector<char> exact(content.begin(), content.end());
    use(model_of({exact.data(), exact.size()}));
  });
}

constexpr const char* No_Error = "(no error)";

bool is_cut_short(const std::string& text) {
  return text == error_text("Can't read from input file") ||
         text == error_text("while reading string from binary file");
}

TEST(DamagedFile, CutAtEveryLength) {
  const std::string whole = sample_file_t().bytes();
  ASSERT_EQ(load(whole), No_Error);
  const TempDir dir;
  for (size_t length = 0; length < whole.size(); ++length) {
    const std::string text = load(whole.substr(0, length));
    EXPECT_TRUE(is_cut_short(text)) << length << text;
    if (length % 7 > 0) continue;
    EXPECT_FATAL(read_parameter_file(dir.write("cut", whole.substr(0, length)).c_str()), text);
  }
}

TEST(DamagedFile, EveryWordReplaced) {
  const std::string whole = sample_file_t().bytes();
  int refused = 0;
  for (size_t offset = 0; offset + 4 <= whole.size(); ++offset) {
    for (const int32_t value : {-1, 0, 3, INT_MAX}) {
      std::string damaged = whole;
      damaged.replace(offset, 4, raw(value));
      const std::string text = load(damaged);
      EXPECT_TRUE(text == No_Error || is_cut_short(text) || text.starts_with("\nERROR: in parameter file"))
          << value << " at " << offset << text;
      refused += text != No_Error;
    }
  }
  EXPECT_GT(refused, 500);
}

TEST(DamagedFile, IsRefusedByName) {
  const struct {
    const char* fault;
    std::function<void(sample_file_t&)> damage;
  } cases[] = {
      {"first value, which must be 32", [](auto& f) { f.mark = 33; }},
      {"encoding flag", [](auto& f) { f.utf8 = 2; }},
      {"number of the sentence tag", [](auto& f) { f.sent_tag = 3; }},
      {"order of the tags", [](auto& f) { f.tags[1] = "DT"; }},
      {"order of the lemmas", [](auto& f) { f.lemmas[3] = "\xC3"; }},
      {"name of a tag", [](auto& f) { f.tags[1] = "NN\tx"; }},
      {"name of a tag", [](auto& f) { f.tags[1] = "NN\r"; }},
      {"name of a tag", [](auto& f) { f.tags[0] = ""; }},
      {"TAB or line end in a lemma", [](auto& f) { f.lemmas[3] = "d\nog"; }},
      {"TAB or line end in a lemma", [](auto& f) { f.lemmas[3] = "dog\t"; }},
      {"order of the word forms", [](auto& f) { f.entries[3].word = "."; }},
      {"word form of a number entry", [](auto& f) { f.entries[1].word = "x"; }},
      {"tags of an entry", [](auto& f) { f.entries[3].tags[1] = 0; }},  // twice
      {"tags of an entry", [](auto& f) { f.entries[3].tags[1] = 3; }},
      {"frequency of an entry", [](auto& f) { f.entries[3].freq = -1; }},
      {"lemma number of an entry", [](auto& f) { f.entries[3].lemmas[1] = 5; }},
      {"nodes of the suffix tree", [](auto& f) { f.suffix.nodes.clear(); }},
      {"nodes of the prefix tree", [](auto& f) { f.prefix.nodes[2].leaf = 2; }},
      {"root of the prefix tree", [](auto& f) { f.prefix.nodes[0].symbol = 256; }},
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[1].first_child = 1; }},  // its own child
      {"children in the prefix tree",
       [](auto& f) { f.prefix.nodes[1].number = f.prefix.nodes[1].first_child = 2; }},  // shared
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[0].number = 1; }},   // unreachable
      {"children in the prefix tree", [](auto& f) { f.prefix.nodes[1].number = 2; }},   // past the end
      {"children in the prefix tree",
       [](auto& f) {
         f.prefix = {{{0, 257, 2, 1}, {1, 256, 0, 0}, {0, 'w', 0, 3}}, {}};
       }},  // none
      {"symbols in the prefix tree", [](auto& f) { f.prefix.nodes[2].symbol = 'w'; }},
      {"symbols in the prefix tree", [](auto& f) { f.prefix.nodes[2].symbol = 255; }},
      {"tags in the prefix tree", [](auto& f) { f.prefix.pairs[2].tag = 3; }},
      {"negative number of tag pairs of an affix", [](auto& f) { f.suffix.nodes[0].number = -1; }},
      {"open-class node", [](auto& f) { f.open_class.nodes[0].symbol = 256; }},
      {"open-class node",
       [](auto& f) {
         f.open_class = {{{0, 257, 1, 1}}, {}};
       }},
      {"tags of the open-class node", [](auto& f) { f.open_class.pairs[0].tag = -1; }},
      {"number of preceding tags", [](auto& f) { f.context_size = 0; }},
      {"position in the decision tree", [](auto& f) { f.context_size = 1; }},
      {"position in the decision tree", [](auto& f) { f.nodes.replace(16, 4, raw(1)); }},  // asked for above
      {"tag in the decision tree", [](auto& f) { f.nodes.replace(8, 4, raw(3)); }},
      {"tags of a decision tree leaf", [](auto& f) { f.nodes.replace(36, 4, raw(3)); }},
      {"number of tags of a decision tree leaf", [](auto& f) { f.nodes.replace(28, 4, raw(20001)); }},
      {"leaf flag of a decision tree node", [](auto& f) { f.nodes.replace(0, 4, raw(2)); }},
      {"data behind the decision tree", [](auto& f) { f.nodes += '\0'; }},
  };
  for (const auto& c : cases) {
    sample_file_t sample;
    c.damage(sample);
    EXPECT_EQ(load(sample.bytes()), error_text(std::string("in parameter file: ") + c.fault));
  }
  sample_file_t without_marker;
  without_marker.first_entry = -1;
  EXPECT_EQ(load(without_marker.bytes()), error_text("in parameter file"));
}

// The numbers entries hold more bytes than the file has: none of them is memory asked for.
TEST(DamagedFile, CountsAreNotBelieved) {
  const std::string head = raw(32, 0, 2);
  for (const std::string& content :
       {head + raw(20000), head + raw(0, INT_MAX), head + raw(0, 0, INT_MAX - 2, -2),
        head + raw(0, 0, 5, -2) + '\0' + raw(20000, 1)})
    EXPECT_TRUE(is_cut_short(load(content))) << content.size();
  EXPECT_EQ(load(head + raw(20001)), error_text("in parameter file: number of tags"));
  EXPECT_EQ(load(head + raw(0, -1)), error_text("in parameter file: number of lemmas"));
  EXPECT_EQ(load(head + raw(0, 0, -3)), error_text("in parameter file: number of entries"));
  EXPECT_EQ(load(head + raw(0, 0, 1, -2) + '\0' + raw(20001)),
            error_text("in parameter file: number of tags of an entry"));
}

TEST(DamagedFile, WhatIsNoFileIsReportedByItsName) {
  const TempDir dir;
  EXPECT_ERROR(read_parameter_file(dir.path().c_str()), "Can't read from input file: " + dir.path());
  EXPECT_ERROR(read_parameter_file(dir.path("none").c_str()), "Can't open for reading: " + dir.path("none"));
}

}  // namespace
}  // namespace orvelle
