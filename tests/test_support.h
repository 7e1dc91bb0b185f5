// SPDX-License-Identifier: MIT
// What the tests share: files that come from bytes and go away again, and checks of what is thrown.
#pragma once

#include <gtest/gtest.h>
#include <orvelle/error.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orvelle {

// The statement throws an Error whose text is exactly `text`.
#define EXPECT_FATAL(statement, text) EXPECT_EQ(orvelle::error_of([&] { statement; }), std::string(text))

// The same, where the text is that of error(message).
#define EXPECT_ERROR(statement, message) EXPECT_FATAL(statement, orvelle::error_text(message))

inline std::string error_text(std::string_view message) {
  return std::string("\nERROR: ").append(message).append("\naborted.\n");
}

// The text of the Error that `action` throws.
template <class Action>
std::string error_of(Action action) {
  try {
    action();
  } catch (const Error& failure) {
    return failure.what();
  }
  return "(no error)";
}

// Collects warnings or progress in a string.
inline auto into(std::string& text) {
  return [&text](std::string_view piece) { text += piece; };
}

// Bytes from a string literal, NULs inside it included, without the one that ends it.
template <size_t N>
std::string bytes(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

// Bytes of values one behind the other.
template <class... Values>
std::string raw(Values... values) {
  std::string text;
  (text.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
  return text;
}

inline std::string times(int n, std::string_view line) {
  std::string text;
  while (n-- > 0) text += line;
  return text;
}

inline std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// A directory of its own for one test; removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::string name = testing::TempDir() + "orvelle_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }
  ~TempDir() { std::filesystem::remove_all(path_); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string path(const std::string& name = "") const { return path_ + "/" + name; }

  // Writes a file of this directory and returns its path.
  std::string write(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

 private:
  std::string path_;
};

// An open stream, at its start, over the bytes given; closed when it goes out of scope. Passes as a FILE*.
class ByteStream {
 public:
  explicit ByteStream(std::string_view content = "") : file_(std::tmpfile(), std::fclose) {
    if (!file_) throw std::runtime_error("no temporary file");
    std::fwrite(content.data(), 1, content.size(), file_.get());
    std::rewind(file_.get());
  }
  operator FILE*() const { return file_.get(); }

 private:
  std::unique_ptr<FILE, int (*)(FILE*)> file_;
};

}  // namespace orvelle
