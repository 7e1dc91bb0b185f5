// SPDX-License-Identifier: MIT
// Tags the same text with two models in several threads, and counts the words that get tags of different names.
//
// A model does not change, so all threads ask the same two; each thread has taggers of its own.
#include <orvelle/orvelle.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using Sentence = std::vector<std::string>;

// One word a line, an empty line behind each sentence.
std::vector<Sentence> read_sentences(std::istream& in) {
  std::vector<Sentence> sentences(1);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty())
      sentences.back().push_back(line);
    else if (!sentences.back().empty())
      sentences.emplace_back();
  }
  return sentences;
}

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s MODEL MODEL < text\n", argv[0]);
    return 1;
  }
  const orvelle::Model first = orvelle::read_model_file(argv[1]);
  const orvelle::Model second = orvelle::read_model_file(argv[2]);
  const orvelle::Tagger first_tagger(first), second_tagger(second);
  const std::vector<Sentence> sentences = read_sentences(std::cin);

  std::atomic<size_t> next = 0, words = 0, different = 0;
  const auto work = [&] {
    orvelle::Tagger a(first_tagger), b(second_tagger);
    for (size_t i = next++; i < sentences.size(); i = next++) {
      const std::vector<std::string_view> forms(sentences[i].begin(), sentences[i].end());
      a.tag(forms);
      b.tag(forms);
      for (size_t k = 0; k < forms.size(); ++k)
        different += std::string_view(first.Tag(a.chosen(k).tag)) != second.Tag(b.chosen(k).tag);
      words += forms.size();
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  std::printf("%zu of %zu words get different tags\n", different.load(), words.load());
} catch (const std::exception& failure) {  // orvelle::Error among them
  std::fputs(failure.what(), stderr);
  return 1;
}
