// Twin of lexicon_section_writer.cpp: the same fields in the same order.
//
// All strings lie in one arena, and the arrays of all entries in blocks, tags, probabilities and lemmas of an
// entry one behind the other as they are in the file, so an entry costs two reads and no allocation of its
// own. The cost is that of the read itself and of the index that define_lexicon builds.
#include <climits>
#include <cstring>
#include <new>
#include <utility>

#include "lexicon/entries.h"
#include "lexicon/lemmas.h"
#include "lexicon/lexicon_section.h"
#include "lexicon/tagset.h"
#include "support/binary_input.h"
#include "support/errors.h"

namespace orvelle {

std::vector<double> A_Priori_Tag_Prob_Fac;

namespace {

constexpr size_t Least_String_Size = 1;                     // bytes in the file, of the empty string
constexpr size_t Least_Entry_Size = Least_String_Size + 8;  // of an entry with an empty word form and no tags

StringArena Strings;  // tag names, lemmas and word forms of the tables in use

// Room for the arrays of entries: `size` ints that stay where they are.
class EntryArrays {
 public:
  explicit EntryArrays(lexicon_storage_t& storage) : blocks_(storage.blocks) {}

  int* take(size_t size) {
    if (size > room_) {
      blocks_.push_back(std::make_unique_for_overwrite<int[]>(Block_Size));
      next_ = blocks_.back().get();
      room_ = Block_Size;
    }
    room_ -= size;
    return std::exchange(next_, next_ + size);
  }

 private:
  static constexpr size_t Block_Size = 1 << 16;  // ints
  static_assert(Block_Size >= 3 * Max_Number_of_Tags, "every entry fits into a block");

  std::vector<std::unique_ptr<int[]>>& blocks_;
  int* next_ = nullptr;
  size_t room_ = 0;  // ints left at next_
};

std::vector<const char*> read_strings(BinaryInput& in, int count, StringArena& strings) {
  std::vector<const char*> table;
  table.reserve(in.reservable(count, Least_String_Size));
  for (int i = 0; i < count; ++i) table.push_back(strings.add(in.string()));
  return table;
}

entrydata_t read_record(BinaryInput& in, EntryArrays& arrays) {
  static_assert(sizeof(int) == 4 && sizeof(float) == 4);
  entrydata_t record{};
  record.n = in.count(Max_Number_of_Tags, "number of tags of an entry");
  record.freq = in.value<int32_t>();
  int* const start = arrays.take(3 * static_cast<size_t>(record.n));
  in.bytes(start, 3 * sizeof(int) * static_cast<size_t>(record.n));
  record.tag = start;
  record.prob = reinterpret_cast<float*>(start + record.n);
  record.lemma = start + 2 * record.n;
  return record;
}

// `size` ordinary entries and the number entries before them.
lexicon_storage_t read_entries(BinaryInput& in, int size, StringArena& strings) {
  lexicon_storage_t storage;
  EntryArrays arrays(storage);
  storage.slots.reserve(in.reservable(size - First_Entry, Least_Entry_Size));
  storage.records.reserve(storage.slots.capacity());
  for (int i = First_Entry; i < size; ++i) {
    storage.slots.push_back({strings.add(in.string()), nullptr});
    storage.records.push_back(read_record(in, arrays));
  }
  for (size_t i = 0; i < storage.slots.size(); ++i) storage.slots[i].data = &storage.records[i];
  return storage;
}

std::vector<double> read_factors(BinaryInput& in, size_t count) {
  std::vector<double> factors(count);  // one for each tag name that was read
  in.bytes(factors.data(), count * sizeof(double));
  return factors;
}

}  // namespace

void read_fullex(FILE* file) try {
  BinaryInput in(file);
  StringArena strings;
  const auto sent_tag = in.value<int32_t>();
  std::vector<const char*> tags = read_strings(in, in.count(Max_Number_of_Tags, "number of tags"), strings);
  std::vector<const char*> lemmas = read_strings(in, in.count(INT_MAX, "number of lemmas"), strings);
  const int size = in.count(INT_MAX + First_Entry, "number of entries");
  if (in.value<int32_t>() != First_Entry) error("in parameter file");
  lexicon_storage_t storage = read_entries(in, size, strings);
  A_Priori_Tag_Prob_Fac = read_factors(in, tags.size());

  define_tagset(std::move(tags), sent_tag);
  define_lemmas(std::move(lemmas));
  define_lexicon(std::move(storage));
  Strings = std::move(strings);  // releases the strings of the tables that were replaced
} catch (const std::bad_alloc&) {
  space_error();
}

}  // namespace orvelle
