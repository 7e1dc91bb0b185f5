// SPDX-License-Identifier: MIT
#include "tagger/decoder.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <span>

namespace orvelle {

namespace {

// Brings the sum to 1.
void scale(std::span<double> values) {
  double sum = 0.0;
  for (const double value : values) sum += value;
  const double factor = 1.0 / sum;
  for (double& value : values) value *= factor;
}

}  // namespace

void Decoder::best_path(std::span<const candidates_t> words, const preceding_t& preceding,
                        std::vector<int>& chosen) {
  chosen.assign(words.size(), 0);
  if (words.empty()) return;
  if (context_.order() <= Max_Exact_Order) {
    best_path_of_pairs(words, preceding, chosen);
    return;
  }
  make_lattice(words, preceding);
  const auto better = [](const state_t& a, const state_t& b) { return a.best < b.best; };
  size_t state =
      std::max_element(states_.begin() + columns_[words.size() - 1], states_.end(), better) - states_.begin();
  for (size_t i = words.size(); i-- > 0;) {
    chosen[i] = states_[state].candidate;
    if (i == 0) break;
    const edge_t* const edges = &edges_[states_[state].first_edge];
    const auto worse = [&](const edge_t& a, const edge_t& b) {
      return states_[a.from].best * a.probability < states_[b.from].best * b.probability;
    };
    state = std::max_element(edges, edges + states_[state].edges, worse)->from;
  }
}

// The table of pairs: score_[b * A + a] is that of the best path to the last two words with their candidates
// a and b, of A and B candidates.
void Decoder::best_path_of_pairs(std::span<const candidates_t> words, const preceding_t& preceding,
                                 std::vector<int>& chosen) {
  std::array<candidate_t, 2> start{};
  for (size_t n = 1; n <= start.size(); ++n) start[start.size() - n].tag = preceding.tag_before(n);
  candidates_t before{&start[0], 1};
  candidates_t last{&start[1], 1};
  score_.assign(1, 1.0);
  back_.clear();
  back_starts_.clear();
  for (const candidates_t now : words) {
    back_starts_.push_back(back_.size());
    back_.resize(back_.size() + now.size() * last.size(), 0);
    if (score_.size() > 1 || now.size() > 1) add_word(before, last, now);
    before = last;
    last = now;
  }
  // From the end: the pair of the last two words, then each time the word before.
  const size_t best = std::max_element(score_.begin(), score_.end()) - score_.begin();
  size_t second = best / before.size();
  size_t first = best % before.size();
  for (size_t i = words.size(); i-- > 0;) {
    chosen[i] = static_cast<int>(second);
    const size_t width = i > 0 ? words[i - 1].size() : 1;
    const size_t earlier = back_[back_starts_[i] + second * width + first];
    second = first;
    first = earlier;
  }
}

void Decoder::add_word(candidates_t before, candidates_t last, candidates_t now) {
  uint16_t* const back = &back_[back_starts_.back()];
  next_score_.assign(now.size() * last.size(), -1.0);
  std::array<int32_t, 2> tags;
  const int32_t* const context = tags.data() + (2 - context_.order());
  for (size_t b = 0; b < last.size(); ++b) {
    tags[1] = last[b].tag;
    for (size_t a = 0; a < before.size(); ++a) {
      tags[0] = before[a].tag;
      const double score = score_[b * before.size() + a];
      const context_leaf_t& leaf = context_.leaf(context);
      for (size_t c = 0; c < now.size(); ++c) {
        const double value = score * context_.probability(leaf, now[c].tag);
        const size_t pair = c * last.size() + b;
        if (value <= next_score_[pair]) continue;
        next_score_[pair] = value;
        back[pair] = static_cast<uint16_t>(a);
      }
    }
  }
  double largest = 0.0;
  for (size_t c = 0; c < now.size(); ++c)
    for (size_t b = 0; b < last.size(); ++b)
      largest = std::max(largest, next_score_[c * last.size() + b] *= now[c].score);
  const double scale = 1.0 / largest;
  for (double& score : next_score_) score *= scale;
  score_.swap(next_score_);
}

void Decoder::posteriors(std::span<const candidates_t> words, const preceding_t& preceding,
                         std::vector<double>& result) {
  if (words.empty()) return;
  if (context_.order() <= Max_Exact_Order) return posteriors_of_pairs(words, preceding, result);
  make_lattice(words, preceding);
  run_backward();
  for (size_t i = 0; i < words.size(); ++i) {
    const size_t start = result.size();
    result.resize(start + words[i].size(), 0.0);
    double sum = 0.0;
    for (size_t s = columns_[i]; s < columns_[i + 1]; ++s) {
      const double share = states_[s].forward * states_[s].backward;
      result[start + states_[s].candidate] += share;
      sum += share;
    }
    for (size_t k = start; k < result.size(); ++k) result[k] /= sum;
  }
}

void Decoder::find_leaves(candidates_t before, candidates_t last, candidates_t now) {
  next_pair_leaves_.clear();
  if (before.size() * last.size() * now.size() == 1) return;
  std::array<int32_t, 2> tags;
  for (const candidate_t& a : before) {
    tags[0] = a.tag;
    for (const candidate_t& b : last) {
      tags[1] = b.tag;
      next_pair_leaves_.push_back(&context_.leaf(tags.data() + (2 - context_.order())));
      for (const candidate_t& c : now) context_.prefetch(*next_pair_leaves_.back(), c.tag);
    }
  }
}

size_t Decoder::width_before(std::span<const candidates_t> words, size_t i) const {
  return context_.order() == 2 && i > 0 ? words[i - 1].size() : 1;
}

void Decoder::posteriors_of_pairs(std::span<const candidates_t> words, const preceding_t& preceding,
                                  std::vector<double>& result) {
  const int order = context_.order();
  std::array<candidate_t, 2> start{};
  for (size_t n = 1; n <= start.size(); ++n) start[start.size() - n].tag = preceding.tag_before(n);
  candidates_t before{&start[0], 1}, last{&start[1], 1};
  edges_of_pairs_ = 0;
  forward_.assign(1, 1.0);
  size_t first = 0;  // of the pairs of the last two words
  find_leaves(before, last, words[0]);
  for (size_t i = 0; i < words.size(); ++i) {
    pair_leaves_.swap(next_pair_leaves_);
    const candidates_t next_before = order == 2 ? last : before;
    if (i + 1 < words.size()) find_leaves(next_before, words[i], words[i + 1]);
    first = step_forward(before.size(), last.size(), words[i], first);
    before = next_before;
    last = words[i];
  }
  run_backward_of_pairs(words);
  size_t pair = 1;
  for (size_t i = 0; i < words.size(); ++i) {
    const size_t its_first = result.size();
    result.resize(its_first + words[i].size(), 0.0);
    for (size_t a = 0; a < width_before(words, i); ++a)
      for (size_t b = its_first; b < result.size(); ++b, ++pair)
        result[b] += forward_[pair] * backward_[pair];
    scale(std::span(result).subspan(its_first));
  }
}

size_t Decoder::step_forward(size_t before, size_t last, candidates_t now, size_t first) {
  const bool has_pairs = context_.order() == 2;
  const size_t next = first + before * last;
  const size_t edges = before * last * now.size();
  forward_.resize(next + (has_pairs ? last : 1) * now.size(), 0.0);
  if (transitions_.size() < edges_of_pairs_ + edges) transitions_.resize(2 * (edges_of_pairs_ + edges));
  double* p = &transitions_[edges_of_pairs_];
  edges_of_pairs_ += edges;
  if (edges == 1) {  // no choice, whatever the contexts say
    *p = forward_[next] = 1.0;
    return next;
  }
  const size_t stride = has_pairs ? now.size() : 0;
  const context_leaf_t* const* leaf = pair_leaves_.data();
  for (size_t a = 0; a < before; ++a)
    for (size_t b = 0; b < last; ++b, p += now.size()) {
      context_.weigh(**leaf++, now, p);
      const double forward = forward_[first++];
      double* const to = &forward_[next + b * stride];
      for (size_t c = 0; c < now.size(); ++c) to[c] += forward * p[c];
    }
  scale(std::span(forward_).subspan(next));
  return next;
}

void Decoder::run_backward_of_pairs(std::span<const candidates_t> words) {
  backward_.assign(forward_.size(), 1.0);
  size_t end = forward_.size();
  const double* p = transitions_.data() + edges_of_pairs_;
  for (size_t i = words.size(); i-- > 1;) {
    const size_t width = words[i].size(), last = words[i - 1].size();
    const size_t next = end - width_before(words, i) * width;
    const size_t first = next - width_before(words, i - 1) * last;
    const size_t stride = context_.order() == 2 ? width : 0;
    for (size_t pair = next; pair > first;)
      for (size_t b = last; b-- > 0;) {
        p -= width;
        const double* const to = &backward_[next + b * stride];
        double sum = 0.0;
        for (size_t c = 0; c < width; ++c) sum += p[c] * to[c];
        backward_[--pair] = sum;
      }
    scale(std::span(backward_).subspan(first, next - first));
    end = next;
  }
}

// The lattice: for each word its states, those of one word behind those of the word before. State 0 is the
// start.
void Decoder::make_lattice(std::span<const candidates_t> words, const preceding_t& preceding) {
  states_.assign(1, {0, 0, 0, 1.0, 1.0, 0.0, 0, 0});
  preceding_ = preceding;
  edges_.clear();
  columns_.clear();
  size_t first = 0;
  for (const candidates_t candidates : words) {
    const size_t end = states_.size();
    columns_.push_back(end);
    extend(candidates, first, end);
    if (context_.order() > Max_Exact_Order) prune(end);
    first = end;
  }
  columns_.push_back(states_.size());
}

// Of the histories of two states of a word but for their oldest tag, from the nearest tag on: below, equal to or above 0.
int Decoder::compare(size_t a, size_t b) const {
  for (int n = 1; n < context_.order() && a != b; ++n) {
    if (states_[a].tag != states_[b].tag) return states_[a].tag < states_[b].tag ? -1 : 1;
    a = states_[a].before;
    b = states_[b].before;
  }
  return 0;
}

// Goes back as far as the tests of the tree ask.
const context_leaf_t& Decoder::leaf_of(size_t state) {
  history_.clear();
  return context_.leaf_of([&](int32_t n) {
    const auto distance = static_cast<size_t>(n);
    for (; history_.size() < distance && state != 0; state = states_[state].before)
      history_.push_back(states_[state].tag);
    return distance <= history_.size() ? history_[distance - 1]
                                       : preceding_.tag_before(distance - history_.size());
  });
}

// Adds the states of a word. States before it that agree in all but their oldest tag meet in the same states.
void Decoder::extend(candidates_t candidates, size_t first, size_t end) {
  members_.resize(end - first);
  std::iota(members_.begin(), members_.end(), first);
  std::stable_sort(members_.begin(), members_.end(), [&](size_t a, size_t b) { return compare(a, b) < 0; });
  leaves_.clear();
  for (const size_t state : members_) leaves_.push_back(&leaf_of(state));

  double best = 0.0;
  double sum = 0.0;
  for (size_t group = 0, group_end; group < members_.size(); group = group_end) {
    group_end = group + 1;
    while (group_end < members_.size() && compare(members_[group], members_[group_end]) == 0) ++group_end;
    for (size_t c = 0; c < candidates.size(); ++c) {
      state_t state{static_cast<int>(c), candidates[c].tag, members_[group], 0.0, 0.0, 0.0,
                    edges_.size(),       group_end - group};
      for (size_t m = group; m < group_end; ++m) {
        const double probability = context_.probability(*leaves_[m], candidates[c].tag) * candidates[c].score;
        state.best = std::max(state.best, states_[members_[m]].best * probability);
        state.forward += states_[members_[m]].forward * probability;
        edges_.push_back({members_[m], probability});
      }
      best = std::max(best, state.best);
      sum += state.forward;
      states_.push_back(state);
    }
  }
  for (size_t s = end; s < states_.size(); ++s) {
    states_[s].best /= best;
    states_[s].forward /= sum;
  }
}

// Keeps the best states from `first` on, in their order.
void Decoder::prune(size_t first) {
  if (states_.size() - first <= beam_) return;
  members_.resize(states_.size() - first);
  std::iota(members_.begin(), members_.end(), first);
  std::nth_element(members_.begin(), members_.begin() + beam_, members_.end(), [&](size_t a, size_t b) {
    return states_[a].best != states_[b].best ? states_[a].best > states_[b].best : a < b;
  });
  members_.resize(beam_);
  std::sort(members_.begin(), members_.end());
  size_t kept = first;
  size_t kept_edges = states_[first].first_edge;
  for (const size_t s : members_) {
    state_t state = states_[s];
    std::copy_n(edges_.begin() + state.first_edge, state.edges, edges_.begin() + kept_edges);
    state.first_edge = kept_edges;
    kept_edges += state.edges;
    states_[kept++] = state;
  }
  states_.resize(kept);
  edges_.resize(kept_edges);
}

void Decoder::run_backward() {
  const size_t words = columns_.size() - 1;
  for (size_t s = columns_[words - 1]; s < states_.size(); ++s) states_[s].backward = 1.0;
  for (size_t i = words; i-- > 1;) {
    for (size_t s = columns_[i]; s < columns_[i + 1]; ++s)
      for (size_t e = states_[s].first_edge; e < states_[s].first_edge + states_[s].edges; ++e)
        states_[edges_[e].from].backward += edges_[e].probability * states_[s].backward;
    double largest = 0.0;
    for (size_t s = columns_[i - 1]; s < columns_[i]; ++s) largest = std::max(largest, states_[s].backward);
    for (size_t s = columns_[i - 1]; s < columns_[i]; ++s) states_[s].backward /= largest;
  }
}

}  // namespace orvelle
