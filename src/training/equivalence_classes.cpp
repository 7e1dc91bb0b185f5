// SPDX-License-Identifier: MIT
#include "training/equivalence_classes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/string_index.h"

namespace orvelle {

namespace {

struct class_t {
  int n;               // number of tags
  const int32_t* tag;  // the tag list of the class's first entry
  size_t first;        // index of the first of its n values in Classes::prob_
};

class Classes {
 public:
  Classes(const Lexicon& lexicon, int Max_Number_of_Classes) {
    classes_.reserve(static_cast<size_t>(Max_Number_of_Classes));
    class_of_.reserve(static_cast<size_t>(lexicon.Fullform_Lexicon_Size));
    for (int i = 0; i < lexicon.Fullform_Lexicon_Size; ++i) collect(*lexicon.Fullform_Lexicon[i].data);
    for (const class_t& c : classes_) normalise(c);
  }

  // Distribution of the class of entry i, parallel to its tags.
  const double* of_entry(int i) const { return prob_.data() + classes_[class_of_[i]].first; }

 private:
  static std::string_view bytes_of(const int32_t* tag, int n) {
    return {reinterpret_cast<const char*>(tag), static_cast<size_t>(n) * sizeof *tag};
  }

  int get_class(const entrydata_t& data) {
    const auto tags_at = [this](int c) { return bytes_of(classes_[c].tag, classes_[c].n); };
    const std::string_view key = bytes_of(data.tag, data.n);
    const uint32_t hash = hash_bytes(key);
    int number = index_.find(key, hash, tags_at);
    if (number >= 0) return number;
    number = static_cast<int>(classes_.size());
    classes_.push_back({data.n, data.tag, prob_.size()});
    prob_.insert(prob_.end(), static_cast<size_t>(data.n), 0.1);
    index_.insert(key, hash, number);
    return number;
  }

  void collect(const entrydata_t& data) {
    const int number = get_class(data);
    class_of_.push_back(number);
    if (data.freq <= 0) return;
    double* prob = prob_.data() + classes_[number].first;
    for (int k = 0; k < data.n; ++k) prob[k] += data.prob[k];
  }

  void normalise(const class_t& c) {
    double* prob = prob_.data() + c.first;
    double sum = 0.0;
    for (int k = 0; k < c.n; ++k) sum += prob[k];
    const double factor = 1.0 / sum;
    for (int k = 0; k < c.n; ++k) prob[k] *= factor;
  }

  std::vector<class_t> classes_;
  std::vector<double> prob_;
  std::vector<int> class_of_;
  StringIndex index_;  // from a tag list, as bytes, to its class
};

// `prob` and `count` are those of the entry.
void smooth(const entrydata_t& data, float* prob, const int32_t* count, const double* class_prob,
            double Word_Class_Weight) {
  const auto seen = std::count_if(count, count + data.n, [](int32_t c) { return c > 0; });
  const double factor = seen > 0 ? static_cast<double>(seen) : 1.0;
  double sum = 0.0;
  for (int k = 0; k < data.n; ++k) {
    prob[k] = static_cast<float>(class_prob[k] * Word_Class_Weight * factor + count[k]);
    sum += prob[k];
  }
  // Weight 0 and a word form that was never counted: nothing to normalise, the class speaks alone.
  if (sum == 0.0) {
    for (int k = 0; k < data.n; ++k) prob[k] = static_cast<float>(class_prob[k]);
    return;
  }
  const double scale = 1.0 / sum;
  for (int k = 0; k < data.n; ++k) prob[k] = static_cast<float>(prob[k] * scale);
}

}  // namespace

void smooth_with_classes(TrainingLexicon& lexicon, const std::vector<int32_t>& readings,
                         const Settings& settings) {
  const Lexicon& entries = lexicon.lexicon;
  const Classes classes(entries, settings.Max_Number_of_Classes);
  for (int i = 0; i < entries.Fullform_Lexicon_Size; ++i) {
    const entrydata_t& data = *entries.Fullform_Lexicon[i].data;
    const size_t first = lexicon.first_reading(data);
    smooth(data, lexicon.probs + first, readings.data() + first, classes.of_entry(i),
           settings.Word_Class_Weight);
  }
}

}  // namespace orvelle
