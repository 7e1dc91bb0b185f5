// Grows the context tree of a corpus twice, the plain way and the trainer's, and compares what becomes of
// both.
//
//   bench_plain_tree [options as for train-orvelle] LEXICON OPEN-CLASSES CORPUS PARAMETER-FILE
//
// PARAMETER-FILE is what train-orvelle made of the same files with the same options; the plain tree must be
// the end of it, byte for byte. Prints the number of nodes and the seconds of processor time of the plain and
// of the fast growth.
#include <cstring>
#include <ctime>
#include <filesystem>
#include <optional>
#include <vector>

#include "context/tree_func.h"
#include "driver/command_line.h"
#include "driver/settings.h"
#include "lexicon/lexicon_file.h"
#include "plain_tree.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/heap.h"
#include "support/line_reader.h"

using namespace orvelle;

namespace {

constexpr int Fast_Runs = 3;  // the least counts: it is short

double now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

void read_tagset() {
  FILE* file = open_input(Lexicon_File_Name, nullptr);
  read_tags(file, Lexicon_File_Name);
  close_file(file);
}

void count_corpus_into(NGramTable& ngrams) {
  FILE* file = open_input(Input_File_Name, nullptr);
  LineReader reader(file, Input_File_Name);
  for (std::string_view line = reader.next(); line.data() != nullptr; line = reader.next())
    ngrams.add_line(context_tag(line, context_tag_text(line)), line);
  close_file(file);
}

// The trainer's growth from a counted table: make_tree takes the n-grams that were counted along with the
// lexicon.
double time_make_tree(const NGramTable& counted) {
  NGramTable* ngrams = start_ngrams_with_lexicon(Input_File_Name);
  if (ngrams == nullptr) error2("No regular file", Input_File_Name);
  *ngrams = counted;
  const double start = now();
  make_tree(Input_File_Name);
  return now() - start;
}

// Whether `file`, from its start, is the end of the parameter file.
bool is_end_of_parameter_file(FILE* file) {
  const auto size = static_cast<std::streamoff>(std::ftell(file));
  const auto whole = static_cast<std::streamoff>(std::filesystem::file_size(Output_File_Name));
  if (whole < size) return false;
  std::rewind(file);
  FILE* trained = open_binary_input(Output_File_Name, nullptr);
  std::fseek(trained, static_cast<long>(whole - size), SEEK_SET);
  std::vector<char> a(1 << 20), b(1 << 20);
  bool same = true;
  for (size_t read; same && (read = std::fread(a.data(), 1, a.size(), file)) > 0;)
    same = std::fread(b.data(), 1, b.size(), trained) >= read && std::memcmp(a.data(), b.data(), read) == 0;
  std::fclose(trained);
  return same;
}

}  // namespace

int main(int argc, char* argv[]) {
  install_space_error();
  take_large_pieces();
  parse_command_line(argc, argv);
  Quiet = 1;
  read_tagset();
  NGramTable counted(Context_Size);
  count_corpus_into(counted);

  double fast = time_make_tree(counted);
  for (int i = 1; i < Fast_Runs; ++i) fast = std::min(fast, time_make_tree(counted));
  counted.finish();
  const double start = now();
  const auto root = plain::grow(counted);
  const double plain = now() - start;

  FILE* section = std::tmpfile();
  if (section == nullptr) error("Can't write a temporary file");
  plain::write(*root, section);
  if (std::ferror(section) || !is_end_of_parameter_file(section)) error("The trees differ");
  std::printf("%ld %.4f %.4f\n", plain::count_nodes(*root), plain, fast);
}
