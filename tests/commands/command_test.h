// SPDX-License-Identifier: MIT
// Runs the commands of orvelle in this process, in a directory of their own, and both programs from outside.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/train_command_line.h"
#include "support/errors.h"
#include "test_support.h"
#include "training/train.h"

namespace orvelle {

struct result_t {
  int status;
  std::string out, err;
};

// The arguments of a command line, split at blanks; what stands between ' and ' is one argument.
class Arguments {
 public:
  explicit Arguments(const std::string& line) : strings_{"program"} {
    bool is_quoted = false, is_open = false;
    for (const char c : line) {
      if (c == '\'') is_quoted = !is_quoted;
      if (c == ' ' && !is_quoted) is_open = false;
      if (c == ' ' && !is_quoted) continue;
      if (!std::exchange(is_open, true)) strings_.emplace_back();
      if (c != '\'') strings_.back() += c;
    }
    for (std::string& s : strings_) pointers_.push_back(s.data());
  }
  int argc() const { return static_cast<int>(pointers_.size()); }
  char** argv() { return pointers_.data(); }

 private:
  std::vector<std::string> strings_;
  std::vector<char*> pointers_;
};

// Makes a file stand for a standard stream, 0 to 2, as long as it lives.
class Redirection {
 public:
  Redirection(int descriptor, const std::string& path)
      : descriptor_(descriptor), saved_(fcntl(descriptor, F_DUPFD_CLOEXEC, 10)) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | (descriptor > 0 ? O_TRUNC : 0), 0666);
    dup2(file, descriptor);
    close(file);
  }
  ~Redirection() {
    dup2(saved_, descriptor_);
    close(saved_);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  int descriptor_, saved_;
};

class CommandTest : public testing::Test {
 protected:
  CommandTest() { std::filesystem::current_path(dir_.path()); }
  ~CommandTest() override { std::filesystem::current_path("/"); }

  // orvelle("show --word 'A b' par"). `input` is the standard input.
  result_t orvelle(const std::string& line, const std::string& input = "") {
    dir_.write(".in", input);
    std::fflush(stdout);
    int status;
    {
      const Redirection in(0, dir_.path(".in")), out(1, dir_.path(".out")), err(2, dir_.path(".err"));
      status = exit_status([&] { return run_command(line); });
      std::fflush(stderr);
    }
    return {status, read_file(dir_.path(".out")), read_file(dir_.path(".err"))};
  }

  // A command line, its status, and what it says on standard error: all of it, or a part.
  struct outcome_t {
    std::string line;
    int status;
    std::string err;
  };
  // Each says exactly that, and nothing on standard output.
  void expect_exactly(const std::vector<outcome_t>& cases) {
    for (const auto& [line, status, err] : cases) {
      const result_t result = orvelle(line);
      EXPECT_EQ(result.status, status) << line;
      EXPECT_EQ(result.err, err) << line;
      EXPECT_EQ(result.out, "") << line;
    }
  }
  void expect_in_part(const std::vector<outcome_t>& cases) {
    for (const auto& [line, status, err] : cases) {
      const result_t result = orvelle(line);
      EXPECT_EQ(result.status, status) << line << result.err;
      EXPECT_NE(result.err.find(err), std::string::npos) << line << "\n" << result.err;
    }
  }

  // Trains on the files lex, open and corpus; the parameter file is par. Returns the text of the error, if there is one.
  std::string train(const std::string& options = "") {
    Arguments arguments(options + " lex open corpus par");
    return error_of([&] {
      const command_line_t line = parse_command_line(arguments.argc(), arguments.argv());
      write_parameter_file(
          "par", orvelle::train({{"lex", {}}, {"open", {}}, {"corpus", {}}}, line.settings, {}, {}), {});
    });
  }

  // Runs a line of the shell: "$orvelle check lex open corpus"; $train is train-orvelle.
  result_t run(const std::string& line) {
    const std::string command = "cd '" + dir_.path() +
                                "' && orvelle='" ORVELLE "' train='" TRAIN_ORVELLE "'; export LC_ALL=C; { " +
                                line + "\n} >.out 2>.err </dev/null";
    const int status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status)) << line;
    return {WEXITSTATUS(status), read_file(dir_.path(".out")), read_file(dir_.path(".err"))};
  }

  TempDir dir_;

 private:
  static int run_command(const std::string& text) {
    Arguments arguments(text);
    const std::string name = arguments.argc() > 1 ? arguments.argv()[1] : "";
    for (const command_t* command : {&Train_Command, &Prepare_Command, &Check_Command, &Tune_Command,
                                     &Tag_Command, &Evaluate_Command, &Show_Command}) {
      if (name != command->name) continue;
      Remarks remarks("orvelle " + name);
      try {
        return command->run(CommandLine(*command, arguments.argc() - 1, arguments.argv() + 1), remarks);
      } catch (const Failure& failure) {
        remarks.say(failure.what());
        return failure.status;
      }
    }
    ADD_FAILURE() << "no such command: " << text;
    return -1;
  }
};

inline std::string conllu_row(const std::string& id, const std::string& form, const std::string& lemma,
                              const std::string& upos, const std::string& xpos,
                              const std::string& feats = "_", const std::string& misc = "_") {
  return id + '\t' + form + '\t' + lemma + '\t' + upos + '\t' + xpos + '\t' + feats + "\t0\troot\t_\t" +
         misc + '\n';
}

inline int count_of(const std::string& text, const std::string& part) {
  int n = 0;
  for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++n;
  return n;
}

}  // namespace orvelle
