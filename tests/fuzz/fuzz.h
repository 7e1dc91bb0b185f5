// SPDX-License-Identifier: MIT
// What the fuzz targets share. A target takes any bytes and ends the process where a promise is broken; the
// commands run in the process, on files in a folder of its own.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "model/model_file.h"
#include "model/parameter_file.h"
#include "model/tables.h"
#include "support/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace orvelle::fuzz {

inline void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}

class Folder {
 public:
  Folder() {
    path_ = std::filesystem::temp_directory_path() / "orvelle_fuzz_XXXXXX";
    require(mkdtemp(path_.data()) != nullptr, "there is a temporary folder");
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }
  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

 private:
  std::string path_;
};

inline const Folder& folder() {
  static const Folder of_process;
  return of_process;
}

// The parts of an input: what stands between lines of %%. Parts that are missing are empty.
template <size_t N>
std::array<std::string, N> parts_of(const uint8_t* data, size_t size) {
  constexpr std::string_view Line = "%%\n";
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  std::array<std::string, N> parts;
  for (size_t i = 0; i < N; ++i) {
    const size_t end = i + 1 < N ? rest.find(Line) : rest.npos;
    parts[i] = rest.substr(0, end);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + Line.size());
  }
  return parts;
}

struct result_t {
  int status;
  std::string out;
};

// Runs a command as the program does; `arguments` without its name.
inline result_t run(const command_t& command, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), command.name);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  static const int standard_output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
  const int file = open(folder().path("out").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  require(file > 2 && dup2(file, STDOUT_FILENO) == STDOUT_FILENO, "there is a file for the output");
  close(file);
  Remarks remarks(std::string("orvelle ") + command.name);
  int status = 1;
  try {
    const CommandLine line(command, static_cast<int>(argv.size()), argv.data());
    status = command.run(line, remarks);
  } catch (const Failure& failure) {
    remarks.say(failure.what());
    status = failure.status;
  } catch (const Error& failure) {
    remarks.say(message_of(failure));
  }
  dup2(standard_output, STDOUT_FILENO);
  return {status, folder().read("out")};
}

// What a file of the folder, parameter file or model file, becomes when it is loaded and written.
inline std::string written_again(const std::string& name) {
  const std::string content = folder().read(name), copy = folder().path("copy");
  const Model model = read_model_file(std::as_bytes(std::span(content)));
  const Tables& tables = ModelAccess::tables(model);
  if (content.starts_with(Model_File_Mark))
    write_model_file(open_output(copy.c_str()), tables.extras.sections(),
                     [&](BinaryOutput& out) { write_parameters(out, tables); });
  else
    write_parameter_file(copy.c_str(), model);
  return folder().read("copy");
}

inline void require_same_again(const std::string& name) {
  require(written_again(name) == folder().read(name), "what is loaded is written byte for byte");
}

// A model for targets that need one, as a file.
const std::string& sample_model();

// Tags a text, in one thread and in three, which must give the same; the arguments are those before the model.
result_t tag(std::vector<std::string> arguments, const std::string& model, const std::string& text);

enum class form_t { Words, Conllu, Lines };
// Tags it and requires that nothing of it is lost, if it can be tagged.
void require_tagged(std::vector<std::string> arguments, const std::string& model, const std::string& text,
                    form_t form);

}  // namespace orvelle::fuzz
