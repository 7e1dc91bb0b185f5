// SPDX-License-Identifier: MIT
// Grows the context tree of a corpus twice, the plain way and the trainer's, and compares what becomes of
// both.
//
//   bench_plain_tree [options as for train-orvelle] LEXICON OPEN-CLASSES CORPUS PARAMETER-FILE
//
// PARAMETER-FILE is what train-orvelle made of the same files with the same options; the plain tree must be
// the end of it, byte for byte. Prints the number of nodes and the seconds of processor time of the plain and
// of the fast growth.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <vector>

#include "commands/heap.h"
#include "commands/train_command_line.h"
#include "plain_tree.h"
#include "support/errors.h"
#include "support/files.h"
#include "training/corpus_pass.h"
#include "training/lexicon_file.h"
#include "training/tree_func.h"

using namespace orvelle;

namespace {

constexpr int Fast_Runs = 3;  // the least counts: it is short

double now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

double time_make_tree(const NGramTable& ngrams, const Settings& settings, int number_of_tags) {
  const double start = now();
  make_tree(ngrams, settings, number_of_tags, {});
  return now() - start;
}

// Whether one file is the end of another.
bool is_end_of(const char* end, const char* whole) {
  const auto end_size = std::filesystem::file_size(end), whole_size = std::filesystem::file_size(whole);
  if (whole_size < end_size) return false;
  const File a = open_input(end), b = open_input(whole);
  std::fseek(b.get(), static_cast<long>(whole_size - end_size), SEEK_SET);
  std::vector<char> x(1 << 20), y(1 << 20);
  for (size_t read; (read = std::fread(x.data(), 1, x.size(), a.get())) > 0;)
    if (std::fread(y.data(), 1, read, b.get()) != read || std::memcmp(x.data(), y.data(), read) != 0)
      return false;
  return true;
}

int run(int argc, char* argv[]) {
  take_large_pieces();
  const command_line_t line = parse_command_line(argc, argv);
  const Settings& settings = line.settings;
  LexiconSink lexicon_sink;
  CorpusSink corpus_sink;
  const TrainingInputs inputs = line.inputs();
  const TrainingLexicon lexicon = read_lexicon_file(inputs.lexicon, settings.SENT_TAG, {}, lexicon_sink);
  CorpusCounts counts = count_corpus(inputs.corpus, lexicon, settings.Context_Size, {}, corpus_sink);
  const int number_of_tags = lexicon.tagset.Number_of_Tags;
  const NGramTable ngrams(std::move(counts.ngrams), number_of_tags, {});

  double fast = time_make_tree(ngrams, settings, number_of_tags);
  for (int i = 1; i < Fast_Runs; ++i) fast = std::min(fast, time_make_tree(ngrams, settings, number_of_tags));
  const double start = now();
  const auto root = plain::grow(ngrams, settings, number_of_tags);
  const double plain = now() - start;

  const std::string section = std::string(line.Output_File_Name) + ".plain";
  BinaryOutput out(section.c_str());
  plain::write(*root, settings.Context_Size, out);
  out.close();
  const bool same = is_end_of(section.c_str(), line.Output_File_Name);
  std::filesystem::remove(section);
  if (!same) error("The trees differ");
  std::printf("%ld %.4f %.4f\n", plain::count_nodes(*root), plain, fast);
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  return exit_status([&] { return run(argc, argv); });
}
