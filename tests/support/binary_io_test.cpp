// SPDX-License-Identifier: MIT
// The ends of files and buffers; what lies between them is compared for whole models.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/binary_input.h"
#include "support/binary_output.h"
#include "test_support.h"

namespace orvelle {
namespace {

TEST(BinaryInput, StringsHaveUpTo9999Bytes) {
  const std::string longest(9999, 'x');
  const std::string sound = bytes("abc\0\0") + longest + '\0' + "next";
  BinaryInput in(std::as_bytes(std::span(sound)));
  for (const std::string& expected : {std::string("abc"), std::string(), longest})
    EXPECT_EQ(in.inputs(), expected);
  EXPECT_EQ(in.value<char>(), 'n');
  EXPECT_FALSE(in.at_end());
  for (const std::string& content : {std::string(), std::string("abc"), std::string(10000, 'x') + '\0'}) {
    const TempDir dir;
    EXPECT_ERROR(BinaryInput(std::as_bytes(std::span(content))).inputs(),
                 "while reading string from binary file");
    EXPECT_ERROR(BinaryInput(dir.write("file", content).c_str()).inputs(),
                 "while reading string from binary file");
  }
}

TEST(BinaryInput, AValueCutShortAndAFailingReadAreErrors) {
  const TempDir dir;
  for (const size_t size : {3u, 65535u, 65536u, 150000u}) {
    const std::string content(size, 'x');
    std::vector<char> place(size + 1);
    BinaryInput from_memory(std::as_bytes(std::span(content)));
    EXPECT_ERROR(from_memory.bytes(place.data(), size + 1), "Can't read from input file");
    BinaryInput from_file(dir.write("file", content).c_str());
    EXPECT_ERROR(from_file.bytes(place.data(), size + 1), "Can't read from input file");
  }
  BinaryInput directory(dir.path().c_str());
  EXPECT_ERROR(directory.value<int>(), "Can't read from input file: " + dir.path());
  EXPECT_ERROR(BinaryInput(dir.path().c_str()).inputs(), "Can't read from input file: " + dir.path());
  EXPECT_ERROR(BinaryInput(dir.path().c_str()).at_end(), "Can't read from input file: " + dir.path());
}

// Memory is reserved for what the rest of the file can hold, and no more.
TEST(BinaryInput, ReservesNoMoreThanTheRestCanHold) {
  const std::string content(1000, 'x');
  const TempDir dir;
  BinaryInput from_file(dir.write("file", content).c_str()), from_memory(std::as_bytes(std::span(content)));
  for (BinaryInput* in : {&from_file, &from_memory}) {
    EXPECT_EQ(in->reservable(1 << 30, 10), 100u);
    EXPECT_EQ(in->reservable(7, 10), 7u);
    in->value<double>();
    EXPECT_EQ(in->reservable(1 << 30, 8), 124u);
  }
  EXPECT_EQ(BinaryInput("/dev/zero").reservable(1 << 30, 8), 0u);
}

// Values, places and strings of bytes that lie across the ends of pieces, and flushes between them.
TEST(BinaryOutput, PiecesFollowEachOther) {
  const TempDir dir;
  const std::string all = [] {
    std::string text(5 * BinaryOutput::Piece_Size, '\0');
    for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7 + i / 251);
    return text;
  }();
  constexpr size_t Most = BinaryOutput::Max_Place, Piece = BinaryOutput::Piece_Size;
  for (const size_t size : {size_t{1}, size_t{3}, Most - 1, Most, Most + 1, Piece, 2 * Piece + Most + 5})
    for (const bool flushes : {false, true}) {
      const std::string name = dir.path("file");
      BinaryOutput out(name.c_str());
      size_t used = 0;
      for (size_t round = 0; used + size + sizeof(double) <= all.size(); ++round) {
        out.bytes(all.data() + used, size);
        used += size;
        double value;
        std::memcpy(&value, all.data() + used, sizeof value);
        out.value(value);
        used += sizeof value;
        if (flushes && round % 5 == 0) out.flush();
      }
      out.close();
      EXPECT_TRUE(read_file(name) == all.substr(0, used)) << size << (flushes ? " with flushes" : "");
    }
}

TEST(BinaryOutput, AFailedWriteIsReportedOnceItShows) {
  const auto write = [](size_t size) {
    BinaryOutput full("/dev/full");
    full.bytes(std::string(size, 'x').data(), size);
    full.close();
  };
  for (const size_t size : {5u, 400000u}) EXPECT_ERROR(write(size), "Can't write to output file");
  EXPECT_ERROR(BinaryOutput("/none/file"), "Can't open for writing: /none/file");
}

}  // namespace
}  // namespace orvelle
