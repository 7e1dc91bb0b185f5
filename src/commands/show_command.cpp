// SPDX-License-Identifier: MIT
// orvelle show: what is in a model.
#include <string>
#include <string_view>
#include <vector>

#include "commands/command.h"
#include "commands/show/view.h"
#include "commands/tagger_options.h"
#include "model/parameter_file.h"
#include "support/binary_output.h"

namespace orvelle {

namespace {

constexpr char Help[] =
    "Usage: orvelle show [OPTION...] MODEL\n"
    "\n"
    "Shows what is in a model or a parameter file; without an option a summary.\n"
    "\n"
    "  --card             what the model was made of and how, and how often it is right\n"
    "  --json             the same as JSON\n"
    "  --parameter-file F write the parameter file that is in the model to F, for programs\n"
    "                     that take nothing else\n"
    "  --word FORM        the form's entry or, if it has none, the ways through the affix\n"
    "                     trees and what the tagger guesses; may be repeated\n"
    "  --context 'TAG...' for the tags before a word, the nearest last: the way through the\n"
    "                     decision tree, and the distribution at its end\n"
    "  --tree             the decision tree as indented text\n"
    "  --dot              the decision tree for Graphviz: orvelle show --dot F | dot -Tsvg\n"
    "  --depth N          of --tree and --dot only the first N tests of every path\n"
    "  --best N           of a distribution the N most probable tags, 0 for all\n"
    "                     (10, in trees 3)\n"
    "  --all              everything as text, one fact a line, names for numbers, numbers\n"
    "                     exact: made to be compared by diff\n";

constexpr option_t Options[] = {
    {"word", "FORM"}, {"context", "TAGS"}, {"tree", nullptr}, {"dot", nullptr},  {"depth", "N"},
    {"best", "N"},    {"all", nullptr},    {"card", nullptr}, {"json", nullptr}, {"parameter-file", "FILE"}};

void write_parameter_file_of(const Model& model, const char* name) {
  NewFile file(name);
  BinaryOutput out(file.stream());
  write_parameters(out, ModelAccess::tables(model));
  out.close();
  file.commit();
}

int show_command(const CommandLine& line, Remarks&) {
  const bool shows_card = line.has("card") || line.has("json");
  const char* const parameter_file = line.value("parameter-file", nullptr);
  const bool any = line.has("word") || line.has("context") || line.has("tree") || line.has("dot") ||
                   line.has("all") || shows_card || parameter_file != nullptr;
  constexpr int64_t Most = 1000000000;
  const size_t most = static_cast<size_t>(line.integer("best", 10, 0, Most));
  const size_t most_in_tree = line.has("best") ? most : 3;
  const int32_t depth = static_cast<int32_t>(line.integer("depth", -1, 0, Most));
  if (parameter_file != nullptr) require_other_file(parameter_file, line.operands());
  if (parameter_file != nullptr && std::string_view(parameter_file) == "-")
    misuse("--parameter-file needs the name of a file");
  require_other_file("-", line.operands());
  const Model model = load_model(line.operands()[0]);

  if (parameter_file != nullptr) write_parameter_file_of(model, parameter_file);
  TextOutput out("-");
  if (!any) show_summary(out, model);
  if (shows_card) show_card(out, model, line.has("json"));
  for (const char* word : line.values("word")) show_word(out, model, word, most);
  for (const char* context : line.values("context")) show_context(out, model, context, most);
  if (line.has("tree"))
    put_tree(out, model, depth,
             [&](const context_leaf_t& leaf) { show_leaf(out, model, leaf, most_in_tree); });
  if (line.has("dot")) put_dot(out, model, depth, most_in_tree);
  if (line.has("all")) show_all(out, model);
  out.close();
  return 0;
}

}  // namespace

const command_t Show_Command = {"show", "what is in a model", Help, Options, 1, 1, show_command};

}  // namespace orvelle
