// SPDX-License-Identifier: MIT
// A second look at the tags that the first pass leaves open: a log-linear model over the words around.
//
//   score(tag) = scale * log p(tag) + sum over the features f of the word's place of weight(f, tag)
//
//   first pass   Time  magazine          p: NN .61  NNP .37  JJ .02         left open: NN NNP JJ
//   features     w0=Time  w+1=magazine  h+1=NN  shape=Xx,first  s3=ime ...
//   second look  NN -.49 + (-.31 + .08 ...)     NNP -.99 + (.42 + .27 ...)      (at a scale of 1)
//
// The best tag is chosen for each word by itself, from left to right; what was chosen is what the features of the words
// around see from then on. A second round looks again where that has changed what was seen in the first. A feature and a
// tag are hashed to a place in the table of weights, and nobody looks whether another pair has the same.
#pragma once

#include <orvelle/tagger.h>

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "model/tables.h"
#include "tagger/candidates.h"

namespace orvelle {

// What has weights of the tags of a word that are left open: the tags; of their parts, those that not all of them have;
// and that the lexicon does not list a tag. Tags have parts in common, so each part stands once.
struct open_parts_t {
  std::vector<uint32_t> hashes;   // of the parts
  std::vector<uint32_t> members;  // the parts of each tag by their places, one tag behind the other
  std::vector<size_t> ends;       // of each tag's

  size_t tags() const { return ends.size(); }
  std::span<const uint32_t> of(size_t tag) const {
    const size_t start = tag > 0 ? ends[tag - 1] : 0;
    return std::span(members).subspan(start, ends[tag] - start);
  }
};

// Features and tags as the model that is trained and the one that is used see them.
class SecondLookView {
 public:
  static constexpr size_t Reach = 3;          // words before and behind a place
  static constexpr size_t Reach_of_Tags = 2;  // those whose tag matters

  // `splits_tags`: the parts of a tag have weights too.
  SecondLookView(const Tables& tables, bool splits_tags);

  // Sees a text whose words have these candidates and these posteriors, one word behind the other. The words before it
  // are those that were settled.
  void see(std::span<const Candidates::word_t> words, std::span<const double> posteriors);
  // As in Tagger.
  void settle(size_t words);
  void end_sentence();

  // The tag that a word was given stands for it from now on; returns whether another one did.
  bool take(size_t word, const candidate_t& chosen);

  // The candidates of a word that are left open, by their places.
  std::span<const uint16_t> open_candidates(size_t word) const {
    return std::span(open_).subspan(open_starts_[word], open_starts_[word + 1] - open_starts_[word]);
  }

  // Hashes of the features of a word's place. Valid until: the next call.
  std::span<const uint32_t> features(size_t word);

  // The parts of the candidates that are left open. Valid until: the next call.
  const open_parts_t& parts(const Candidates::word_t& word, std::span<const uint16_t> open);

 private:
  struct part_t {
    uint32_t hash;
    uint32_t tags = 0;          // of those open, that have it
    uint32_t place = No_Place;  // in open_parts_
  };
  static constexpr uint32_t No_Place = UINT32_MAX;

  uint32_t tag_hash(int32_t tag) const { return tag_hashes_[static_cast<size_t>(tag)]; }
  void add_part(part_t& part);
  void view_open_tags(candidates_t candidates, const double* posteriors, word_view_t& view);

  std::vector<part_t> parts_;                     // of all tags
  std::vector<uint32_t> tag_hashes_;              // by tag, of its name
  std::vector<std::vector<uint32_t>> tag_parts_;  // by tag its parts, each once; the tag itself first
  std::array<word_view_t, Reach> before_{};       // what was settled, the nearest last
  bool is_start_ = true;                          // nothing of the sentence was settled
  std::vector<word_view_t> views_;                // before_, the words, and as many that are not there
  std::vector<uint16_t> open_;
  std::vector<size_t> open_starts_;
  std::vector<uint32_t> features_;
  open_parts_t open_parts_;
};

// Where the weight of a feature and a tag's part stands in a table of 2^bits.
inline uint32_t place_of(uint32_t feature, uint32_t part, int bits) {
  return ((feature ^ part) * 0x9E3779B1u) >> (32 - bits);
}

// Gives the tags that are left open the probabilities of a second look.
class SecondLook {
 public:
  // The tables must outlive the object and have weights.
  explicit SecondLook(const Tables& tables);

  // Replaces the probabilities of the tags left open, which keep their sum. `posteriors` are those of all candidates, one
  // word behind the other.
  void look(std::span<const Candidates::word_t> words, std::span<double> posteriors);
  // Brings what look gave to the temperature of the model, so that probabilities are right as often as they say.
  void temper(std::span<const Candidates::word_t> words, std::span<double> posteriors) const;

  void settle(size_t words) { view_.settle(words); }
  void end_sentence() { view_.end_sentence(); }

 private:
  void sum_weights(std::span<const uint32_t> features, std::span<const uint32_t> parts);
  bool look_at(size_t word, const Candidates::word_t& candidates, const double* first, double* posteriors);

  const second_look_weights_t& weights_;
  int bits_;
  SecondLookView view_;
  std::vector<int> sums_;  // of the weights of each part
  std::vector<double> scores_;
  std::vector<double> first_;  // the posteriors of the first pass
  std::vector<char> changed_;  // by word, and as many behind them as reach: whether its tag was another one
};

}  // namespace orvelle
