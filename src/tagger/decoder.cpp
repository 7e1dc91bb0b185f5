// SPDX-License-Identifier: MIT
#include "tagger/decoder.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace orvelle {

void Decoder::best_path(std::span<const candidates_t> words, const int32_t* preceding,
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
void Decoder::best_path_of_pairs(std::span<const candidates_t> words, const int32_t* preceding,
                                 std::vector<int>& chosen) {
  const int order = context_.order();
  std::array<candidate_t, 2> start{};
  for (int i = 0; i < order; ++i) start[2 - order + i].tag = preceding[i];
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

void Decoder::posteriors(std::span<const candidates_t> words, const int32_t* preceding,
                         std::vector<double>& result) {
  if (words.empty()) return;
  if (context_.order() <= 1) return posteriors_of_pairs(words, preceding, result);
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

void Decoder::prefetch_pairs(candidates_t from, candidates_t to) {
  for (const candidate_t& a : from) {
    const context_leaf_t& leaf = context_.leaf(&a.tag);
    for (const candidate_t& b : to) context_.prefetch(leaf, b.tag);
  }
}

// With one preceding tag, or none, the states of a word are its candidates, and all lies in flat arrays.
void Decoder::posteriors_of_pairs(std::span<const candidates_t> words, const int32_t* preceding,
                                  std::vector<double>& result) {
  const candidate_t start{context_.order() > 0 ? preceding[0] : 0, 0, 1.0};
  const auto before = [&](size_t i) { return i > 0 ? words[i - 1] : candidates_t(&start, 1); };
  const auto scale = [](std::span<double> values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    const double factor = 1.0 / sum;
    for (double& value : values) value *= factor;
  };
  transitions_.clear();
  forward_.assign(1, 1.0);
  size_t last = 0;  // where the word before begins in forward_
  for (size_t i = 0; i < words.size(); ++i) {
    const candidates_t from = before(i), to = words[i];
    if (i + 1 < words.size()) prefetch_pairs(to, words[i + 1]);
    const size_t first = last + from.size();
    forward_.resize(first + to.size(), 0.0);
    for (size_t a = 0; a < from.size(); ++a) {
      if (from.size() * to.size() == 1) {  // no choice, whatever the contexts say
        transitions_.push_back(1.0);
        forward_[first] = 1.0;
        break;
      }
      const context_leaf_t& leaf = context_.leaf(&from[a].tag);
      for (size_t b = 0; b < to.size(); ++b) {
        const double p = context_.probability(leaf, to[b].tag) * to[b].score;
        transitions_.push_back(p);
        forward_[first + b] += forward_[last + a] * p;
      }
    }
    scale(std::span(forward_).subspan(first));
    last = first;
  }
  backward_.assign(forward_.size(), 1.0);
  size_t end = forward_.size(), edge = transitions_.size();
  for (size_t i = words.size(); i-- > 1;) {
    const size_t to = end - words[i].size(), from = to - words[i - 1].size();
    edge -= words[i].size() * words[i - 1].size();
    const double* p = &transitions_[edge];
    for (size_t a = from; a < to; ++a) {
      double sum = 0.0;
      for (size_t b = to; b < end; ++b) sum += *p++ * backward_[b];
      backward_[a] = sum;
    }
    scale(std::span(backward_).subspan(from, to - from));
    end = to;
  }
  size_t place = 1;
  for (const candidates_t candidates : words) {
    const size_t first = result.size();
    for (size_t k = 0; k < candidates.size(); ++k, ++place)
      result.push_back(forward_[place] * backward_[place]);
    scale(std::span(result).subspan(first));
  }
}

// The lattice: for each word its states, those of one word behind those of the word before. State 0 is the
// start.
void Decoder::make_lattice(std::span<const candidates_t> words, const int32_t* preceding) {
  states_.assign(1, {0, 1.0, 1.0, 0.0, 0, 0});
  histories_.assign(preceding, preceding + context_.order());
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

// Adds the states of a word. States before it that agree in all but their oldest tag meet in the same states.
void Decoder::extend(candidates_t candidates, size_t first, size_t end) {
  const int order = context_.order();
  const int shared = std::max(order - 1, 0);
  const auto shared_tags = [&](size_t state) {
    const int32_t* const tags = histories_.data() + (state + 1) * order - shared;
    return std::span<const int32_t>(tags, shared);
  };
  members_.resize(end - first);
  std::iota(members_.begin(), members_.end(), first);
  std::stable_sort(members_.begin(), members_.end(), [&](size_t a, size_t b) {
    return std::ranges::lexicographical_compare(shared_tags(a), shared_tags(b));
  });
  leaves_.clear();
  for (const size_t state : members_) leaves_.push_back(&context_.leaf(histories_.data() + state * order));

  double best = 0.0;
  double sum = 0.0;
  for (size_t group = 0, group_end; group < members_.size(); group = group_end) {
    group_end = group + 1;
    while (group_end < members_.size() &&
           std::ranges::equal(shared_tags(members_[group]), shared_tags(members_[group_end])))
      ++group_end;
    for (size_t c = 0; c < candidates.size(); ++c) {
      state_t state{static_cast<int>(c), 0.0, 0.0, 0.0, edges_.size(), group_end - group};
      for (size_t m = group; m < group_end; ++m) {
        const double probability = context_.probability(*leaves_[m], candidates[c].tag) * candidates[c].score;
        state.best = std::max(state.best, states_[members_[m]].best * probability);
        state.forward += states_[members_[m]].forward * probability;
        edges_.push_back({members_[m], probability});
      }
      best = std::max(best, state.best);
      sum += state.forward;
      states_.push_back(state);
      if (order == 0) continue;
      const size_t history = histories_.size();
      histories_.resize(history + order);
      std::ranges::copy(shared_tags(members_[group]), histories_.begin() + history);
      histories_.back() = candidates[c].tag;
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
  const int order = context_.order();
  size_t kept = first;
  size_t kept_edges = states_[first].first_edge;
  for (const size_t s : members_) {
    state_t state = states_[s];
    std::copy_n(edges_.begin() + state.first_edge, state.edges, edges_.begin() + kept_edges);
    std::copy_n(histories_.begin() + s * order, order, histories_.begin() + kept * order);
    state.first_edge = kept_edges;
    kept_edges += state.edges;
    states_[kept++] = state;
  }
  states_.resize(kept);
  edges_.resize(kept_edges);
  histories_.resize(kept * order);
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
