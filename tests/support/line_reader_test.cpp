// SPDX-License-Identifier: MIT
// Lines, fields and strings against what the standard library makes of the same bytes.
#include "support/line_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/string_index.h"
#include "support/string_sort.h"
#include "support/strings.h"
#include "test_support.h"

namespace orvelle {
namespace {

std::vector<std::string> lines_of_fgets(FILE* file) {
  std::vector<std::string> lines;
  char buffer[10000];
  while (std::fgets(buffer, sizeof buffer, file) != nullptr) lines.push_back(buffer);
  return lines;
}

TEST(LineReader, CutsLinesAsFgetsDoes) {
  std::mt19937 random(3);
  const auto below = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  std::vector<std::string> texts{
      "", "\n", "a", "a\n", "\n\n", bytes("\0"), bytes("\0\n\0a\nb"), bytes("a\r\n\tb\0c\nd")};
  for (const size_t size : {9998, 9999, 10000, 19998, 19999}) {  // bytes before the LF
    texts.push_back(std::string(size, 'x'));
    texts.push_back(std::string(size, 'x') + "\nab\n");
    texts.push_back(std::string(size, 'x') + bytes("\0\nab"));
  }
  for (int round = 0; round < 2; ++round) {  // longer than the reader's buffer
    std::string text;
    while (text.size() < 550000) {
      text.append(below(4) ? below(30) : 9980 + below(40), static_cast<char>('a' + below(26)));
      if (below(8)) text += '\n';
      if (round % 2 && below(20) == 0) text += '\0';
    }
    texts.push_back(text);
  }
  for (size_t left = 9997; left < 10002; ++left)  // of a long line, when the reader's buffer ends
    texts.push_back(times(250, std::string(999, 'y') + "\n") + std::string((1 << 18) - 250000 - left, '\n') +
                    std::string(20000, 'x') + "\nab");
  for (const std::string& text : texts) {
    const ByteStream for_fgets(text), for_single(text), for_groups(text);
    const std::vector<std::string> expected = lines_of_fgets(for_fgets);
    LineReader single(for_single, "text"), groups(for_groups, "text"), memory(text);
    for (size_t i = 0; i < expected.size(); ++i) {
      ASSERT_TRUE(single.next() == expected[i]) << "line " << i << " of " << text.size() << " bytes";
      ASSERT_TRUE(memory.next() == expected[i]) << "line " << i << " of " << text.size() << " bytes";
      // Must not disturb the next line.
      if (i % 3 != 0) {
        ASSERT_STREQ(single.terminated(), expected[i].c_str());
      }
    }
    for (LineReader* reader : {&single, &memory, &single, &memory}) EXPECT_EQ(reader->next().data(), nullptr);
    std::string_view lines[7];
    size_t number = 0;
    while (const size_t got = groups.next_lines(lines))
      for (size_t i = 0; i < got; ++i, ++number)
        ASSERT_TRUE(lines[i] == expected.at(number)) << "line " << number;
    EXPECT_EQ(number, expected.size());
  }
}

TEST(LineReader, DoesNotTakeAFailedReadForTheEnd) {
  const TempDir dir;
  FILE* file = std::fopen(dir.path().c_str(), "rt");  // a directory
  ASSERT_NE(file, nullptr);
  EXPECT_ERROR(LineReader(file, "name").next(), "Can't read from input file: name");
  std::fclose(file);
}

TEST(Strings, Tokenisers) {
  struct {
    char* (*next)(char**);
    const char* line;
    std::vector<const char*> fields;
    const char* rest;  // of the line, behind the first empty field
  } cases[] = {
      {next_string, "  \tdog\r\n", {"dog"}, ""},
      {next_string,
       "ab\x01"
       "cd ef",
       {"ab\x01"
        "cd",
        "ef"},
       ""},
      {next_string, "a\nb", {"a", "b"}, ""},
      {next_string, " \nb", {}, "b"},
      {next_string, "\xC3\xA9\v\f \t\r x", {"\xC3\xA9\v\f", "x"}, ""},
      {next_string2, "big apple\tNN\n", {"big apple", "NN"}, ""},
      {next_string2, "lemma \r\n", {"lemma \r"}, ""},
      {next_string2, "\t\r \tx\n", {"x"}, ""},
      {next_string2, "a\t\nb", {"a"}, "b"},
      {next_string2, "", {}, ""},
  };
  for (const auto& c : cases) {
    std::string line = c.line;
    char* cursor = line.data();
    for (const char* field : c.fields) EXPECT_STREQ(c.next(&cursor), field) << c.line;
    EXPECT_STREQ(c.next(&cursor), "") << c.line;
    EXPECT_STREQ(cursor, c.rest) << c.line;
  }
}

TEST(Strings, CompareAsUnsignedBytes) {
  EXPECT_EQ(str_cmp("", "a"), -97);
  EXPECT_EQ(str_cmp("b", "a"), 1);
  EXPECT_EQ(str_cmp("ab", "a"), 98);
  EXPECT_EQ(str_cmp("z", "\xC3"), 122 - 0xC3);
  EXPECT_EQ(str_cmp("same", "same"), 0);
}

// Strings that share beginnings and ends, of every length around the widths that hash and sort take at once.
TEST(Strings, SortAndIndexAsTheStandardLibraryDoes) {
  std::mt19937 random(4);
  const auto below = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };
  for (int round = 0; round < 30; ++round) {
    std::vector<std::string> strings;
    for (size_t i = 0; i < 400; ++i) {
      std::string s(below(3) ? 0 : 7 + below(3), 'a');
      for (size_t length = below(20); length > 0; --length) s += "ab\x80\xFF"[below(round % 3 ? 4 : 2)];
      strings.push_back(s);
    }
    const size_t sorted_bytes[] = {30, 8, 0, 0, 0};  // of their beginnings
    std::stable_sort(
        strings.begin(), strings.end(),
        [n = sorted_bytes[round % 5]](const auto& a, const auto& b) { return a.compare(0, n, b, 0, n) < 0; });
    std::vector<const char*> pointers;
    for (const std::string& s : strings) pointers.push_back(s.c_str());
    std::vector<std::string> sorted;
    for (const uint32_t i : sorted_order(pointers)) sorted.push_back(strings[i]);
    std::vector<std::string> expected = strings;
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(sorted, expected);

    // In some rounds every hash is the same, so that only the strings themselves tell, or one of a few neighbours, at the
    // end of all.
    const auto hash_of = [round](const std::string& s) {
      return round % 4 == 1 ? 5 : round % 4 == 3 ? ~(hash_bytes(s) & 3) : hash_bytes(s);
    };
    StringIndex index;
    std::map<std::string, int> numbers;
    const auto key_at = [&](int i) { return strings[i].c_str(); };
    if (round % 2) index.reserve(100);
    for (int i = 0; i < 400; ++i) {
      const auto [known, is_new] = numbers.emplace(strings[i], i);
      ASSERT_EQ(index.find(strings[i], hash_of(strings[i]), key_at), is_new ? -1 : known->second)
          << strings[i];
      if (is_new) index.insert(strings[i], hash_of(strings[i]), i);
    }
    for (const auto& [string, number] : numbers)
      ASSERT_EQ(index.find(string, hash_of(string), key_at), number);
    // No look-up goes past more than 64 of them.
    const size_t near_their_slot = numbers.size() - index.crowded();
    if (round % 2)
      EXPECT_TRUE(near_their_slot >= 64 && near_their_slot <= 64 + 3) << near_their_slot;
    else
      EXPECT_EQ(near_their_slot, numbers.size());
  }
}

// Many blocks, strings of all sizes up to one larger than any block; all stay where they are.
TEST(Strings, ArenaKeepsWhatItIsGiven) {
  StringArena arena;
  std::vector<std::pair<const char*, std::string>> kept;
  for (size_t i = 0; i < 3000; ++i) {
    const size_t size = i == 2500 ? 300000 : i % 50 == 0 ? 9999 - i : i % 90;
    std::string text(size, static_cast<char>('a' + i % 26));
    kept.emplace_back(arena.add(std::string_view(text + "x").substr(0, size)), text);
  }
  const StringArena moved = std::move(arena);
  for (const auto& [copy, text] : kept) ASSERT_TRUE(copy == text) << text.size();
}

}  // namespace
}  // namespace orvelle
