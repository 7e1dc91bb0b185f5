// SPDX-License-Identifier: MIT
// Makes data for the benchmarks, the same in every run and on every machine.
//
//   generate tagged FOLDER TAGS FORMS TOKENS    lexicon, open-classes and corpus with a large tagset
//   generate lemmas FOLDER FORMS                a lexicon in random order whose every form has a lemma of its
//   own
//
// A tagged corpus is what counts for the context tree, so its tags come in an order that can be learnt: most
// tags are drawn from a short list that depends on the tag before, many others from one that depends on the
// tag before that. Frequencies are skewed as in text: the r-th tag and the r-th form of a tag come with a
// weight of about 1 / r, and a long tail of tags is rare.
//
// Forms are made of a beginning, a stem and an ending. The ending tells the tag; beginnings are few, so that
// the affix trees, which see five bytes from either side, stay below their 65,535 nodes however many forms
// there are.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace {

// The library's distributions and shuffles differ between implementations; these few lines do not.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t next() {
    uint64_t x = state_ += 0x9E3779B97F4A7C15;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return x ^ (x >> 31);
  }
  size_t below(size_t n) { return static_cast<size_t>(next() % n); }
  double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  // 0 to n - 1, i with a weight of about 1 / (i + 1).
  size_t skewed(size_t n) {
    const auto drawn = static_cast<size_t>(std::pow(static_cast<double>(n) + 1.0, unit()));
    return std::min(n, drawn) - 1;
  }

 private:
  uint64_t state_;
};

constexpr uint64_t Seed = 20240229;

template <class T>
void shuffle(std::vector<T>& list, Random& random) {
  for (size_t i = list.size(); i > 1; --i) std::swap(list[i - 1], list[random.below(i)]);
}

FILE* create(const std::string& folder, const char* name) {
  FILE* file = std::fopen((folder + "/" + name).c_str(), "w");
  if (file == nullptr) std::perror((folder + "/" + name).c_str()), std::exit(1);
  return file;
}

void close(FILE* file) {
  if (std::fclose(file) != 0) std::perror("close"), std::exit(1);
}

constexpr char Consonants[] = "bdfghjklmnprstvwxzcq", Vowels[] = "aeiou";

// One of 40 beginnings and five syllables; different for different numbers below 400,000,000. Four numbers in a row
// differ in the last syllable only, as the words of a family do.
std::string stem(uint64_t number) {
  const uint64_t last = number % 4;
  // Spreads the families; the factor shares no divisor with the modulus.
  number = number / 4 * 61'803'399 % 100'000'000;
  std::string result = {'o', Consonants[number / 1'000'000 % 20], Vowels[number / 20'000'000 % 2]};
  for (int i = 0; i < 4; ++i, number /= 100) {
    result += Consonants[number % 20];
    result += Vowels[number / 20 % 5];
  }
  return result + Consonants[last] + 'a';
}

// Four letters, different for different tags.
std::string ending(size_t tag) {
  std::string result;
  for (int i = 0; i < 4; ++i, tag /= 12) result += "nrstlmkdeaio"[(tag + 5 * i) % 12];
  return result;
}

// As long as the tags of a language with many inflections: CLASS:Case=..|Gender=..|... ; tag 0 ends
// sentences.
std::string tag_name(size_t tag) {
  if (tag == 0) return "SENT";
  constexpr const char* Features[] = {"Case=", "Gender=", "Number=", "Degree="};
  std::string result = "CLASS" + std::to_string(tag % 14);
  char sign = ':';
  for (size_t rest = tag / 14, i = 0; rest > 0; rest /= 6, ++i) {
    result += sign + std::string(Features[i % 4]) + "Value" + std::to_string(rest % 6);
    sign = '|';
  }
  return result;
}

// Draws tags.
class TagModel {
 public:
  explicit TagModel(size_t tags) : sum_(tags) {
    double sum = 0.0;
    for (size_t r = 0; r < tags; ++r) {
      const auto rank = static_cast<double>(r);
      sum += 1.0 / (rank + 5.0) * std::exp(-5.5 * rank / static_cast<double>(tags));
      sum_[r] = sum;
    }
  }
  size_t any(Random& random) const {
    const auto place = std::upper_bound(sum_.begin(), sum_.end(), random.unit() * sum_.back());
    return std::min<size_t>(place - sum_.begin(), sum_.size() - 1);
  }
  size_t after(size_t tag_before, size_t tag_before_that, Random& random) const {
    const double kind = random.unit();
    if (kind < 0.60) return favourite(tag_before * 2, random.skewed(20));
    if (kind < 0.85)
      return favourite((tag_before % 14 * sum_.size() + tag_before_that) * 2 + 1, random.skewed(20));
    return any(random);
  }

 private:
  size_t favourite(size_t context, size_t i) const {
    Random random(Seed + context * 64 + i);
    return any(random);
  }
  std::vector<double> sum_;  // of the weights up to and with the tag
};

struct form_t {
  std::string text, lemma;
  std::vector<size_t> tags;
};

// Every tag has a form; four forms of five have one tag only.
std::vector<form_t> make_forms(size_t forms, size_t tags, const TagModel& model, Random& random) {
  std::vector<form_t> result = {{".", ".", {0}}};
  for (size_t i = 1; i < forms; ++i) {
    const size_t tag = i < tags ? i : 1 + model.any(random) % (tags - 1);
    const std::string lemma = stem(i / 3);
    form_t& form =
        result.emplace_back(form_t{lemma + static_cast<char>('a' + i % 3) + ending(tag), lemma, {tag}});
    for (size_t more = random.unit() < 0.8 ? 0 : 1 + random.skewed(7); more > 0; --more) {
      const size_t other = 1 + model.any(random) % (tags - 1);
      if (std::find(form.tags.begin(), form.tags.end(), other) == form.tags.end()) form.tags.push_back(other);
    }
  }
  return result;
}

void write_lexicon_line(FILE* file, const form_t& form, const std::vector<std::string>& names) {
  std::fputs(form.text.c_str(), file);
  for (const size_t tag : form.tags) std::fprintf(file, "\t%s %s", names[tag].c_str(), form.lemma.c_str());
  std::fputc('\n', file);
}

void make_tagged(const std::string& folder, size_t tags, size_t forms, size_t tokens) {
  Random random(Seed);
  const TagModel model(tags);
  std::vector<std::string> names(tags);
  for (size_t tag = 0; tag < tags; ++tag) names[tag] = tag_name(tag);
  const std::vector<form_t> list = make_forms(forms, tags, model, random);
  std::vector<std::vector<const form_t*>> forms_of_tag(tags);
  FILE* lexicon = create(folder, "lexicon");
  for (const form_t& form : list) {
    write_lexicon_line(lexicon, form, names);
    for (const size_t tag : form.tags) forms_of_tag[tag].push_back(&form);
  }
  close(lexicon);
  FILE* open_classes = create(folder, "open-classes");
  for (size_t tag = 1; tag < tags; ++tag)
    if (forms_of_tag[tag].size() >= 3) std::fprintf(open_classes, "%s\n", names[tag].c_str());
  close(open_classes);
  FILE* corpus = create(folder, "corpus");
  size_t before_that = 0, before = 0;
  for (size_t i = 0; i < tokens; ++i) {
    const size_t tag = random.below(18) == 0 ? 0 : model.after(before, before_that, random);
    const form_t& form = *forms_of_tag[tag][random.skewed(forms_of_tag[tag].size())];
    std::fprintf(corpus, "%s\t%s\n", form.text.c_str(), names[tag].c_str());
    before_that = before;
    before = tag;
  }
  close(corpus);
}

void make_lemmas(const std::string& folder, size_t forms) {
  constexpr size_t Tags = 60;
  Random random(Seed);
  std::vector<std::string> names(Tags);
  for (size_t tag = 0; tag < Tags; ++tag) names[tag] = tag_name(tag);
  std::vector<uint32_t> order(forms);
  std::iota(order.begin(), order.end(), 0u);
  shuffle(order, random);
  const auto form_of = [](uint32_t number) {
    if (number == 0) return form_t{".", ".", {0}};
    Random own(Seed + number);
    const size_t tag = 1 + own.skewed(Tags - 1);
    form_t form{stem(number) + ending(tag), stem(number) + 'e', {tag}};
    if (own.below(5) == 0) form.tags.push_back(1 + tag % (Tags - 1));
    return form;
  };
  FILE* lexicon = create(folder, "lexicon");
  for (const uint32_t number : order) write_lexicon_line(lexicon, form_of(number), names);
  close(lexicon);
  FILE* open_classes = create(folder, "open-classes");
  for (size_t tag = 1; tag < Tags; ++tag) std::fprintf(open_classes, "%s\n", names[tag].c_str());
  close(open_classes);
  FILE* corpus = create(folder, "corpus");
  for (int i = 0; i < 10000; ++i) {
    const form_t form = form_of(i % 18 == 17 ? 0 : static_cast<uint32_t>(random.skewed(forms)));
    std::fprintf(corpus, "%s\t%s\n", form.text.c_str(),
                 names[form.tags[random.below(form.tags.size())]].c_str());
  }
  close(corpus);
}

}  // namespace

int main(int argc, char* argv[]) {
  const auto number = [argv](int i) { return static_cast<size_t>(std::strtoull(argv[i], nullptr, 10)); };
  if (argc == 6 && std::strcmp(argv[1], "tagged") == 0 && number(3) > 1 && number(4) >= number(3))
    make_tagged(argv[2], number(3), number(4), number(5));
  else if (argc == 4 && std::strcmp(argv[1], "lemmas") == 0)
    make_lemmas(argv[2], number(3));
  else
    return std::fputs("usage: generate tagged FOLDER TAGS FORMS TOKENS | generate lemmas FOLDER FORMS\n",
                      stderr),
           1;
}
