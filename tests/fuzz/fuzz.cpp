// SPDX-License-Identifier: MIT
#include "fuzz/fuzz.h"

#include <algorithm>

#include "commands/conllu.h"

namespace orvelle::fuzz {

namespace {

std::vector<std::string_view> lines_of(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    lines.push_back(line);
  }
  return lines;
}

std::string_view without_return(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// What a text of sentences becomes: a word a line, and an empty line behind each sentence that has words.
std::string words_of(std::string_view text) {
  std::string words;
  for (std::string_view line : lines_of(text)) {
    line = without_return(line);
    const size_t before = words.size();
    for (size_t start; (start = line.find_first_not_of(" \t")) != line.npos;) {
      const std::string_view word = line.substr(start, line.find_first_of(" \t", start) - start);
      (words += word) += '\n';
      line.remove_prefix(start + word.size());
    }
    if (words.size() > before) words += '\n';
  }
  return words;
}

bool is_kept(std::string_view line, std::string_view tagged, form_t form) {
  line = without_return(line), tagged = without_return(tagged);
  if (line.empty() || line == tagged) return line == tagged;
  if (form != form_t::Conllu) return tagged.starts_with(line);
  const conllu_line_t before = parse_conllu(line), after = parse_conllu(tagged);
  using Line = conllu_line_t;
  for (const auto column : {Line::Id, Line::Form, Line::Head, Line::Relation, Line::Deps})
    if (before.columns[column] != after.columns[column]) return false;
  return after.count == Line::Number_of_Columns;
}

// Not to be unpacked or decoded first: does not begin as files of gzip, xz, zstd and marked Unicode do.
bool is_plain(std::string_view text) {
  constexpr std::string_view Marks[] = {"\x1F\x8B",
                                        "\xFD"
                                        "7zXZ",
                                        "\x28\xB5\x2F\xFD",
                                        "\xEF\xBB\xBF",
                                        "\xFF\xFE",
                                        "\xFE\xFF"};
  return std::ranges::none_of(Marks, [&](std::string_view mark) { return text.starts_with(mark); });
}

}  // namespace

const std::string& sample_model() {
  static const std::string name = [] {
    std::string treebank;
    for (int i = 0; i < 30; ++i)
      treebank +=
          "1\tThe\tthe\tDET\tDT\tDefinite=Def\t2\tdet\t_\t_\n2\tdogs\tdog\tNOUN\tNNS\tNumber="
          "Plur\t3\tnsubj\t_\t_\n"
          "3\twalked\twalk\tVERB\tVBD\tTense=Past\t0\troot\t_\t_\n4\t.\t.\tPUNCT\t.\t_\t3\tpunct\t_\t_\n\n"
          "1\tStraßen" +
          std::to_string(i) +
          "bau\tbau\tNOUN\tNN\t_\t2\tnsubj\t_\t_\n2\twalks\twalk\tVERB\tVBZ\t_\t0\troot\t_\t_\n"
          "3\t" +
          std::to_string(7 * i) + "\t7\tNUM\tCD\t_\t2\tobj\t_\t_\n4\t!\t!\tPUNCT\t.\t_\t2\tpunct\t_\t_\n\n";
    const std::string from = folder().write("sample", treebank), to = folder().path("sample.model");
    require(run(Train_Command, {from, to}).status == 0, "the sample trains");
    return to;
  }();
  return name;
}

result_t tag(std::vector<std::string> arguments, const std::string& model, const std::string& text) {
  arguments.insert(arguments.end(), {model, text});
  result_t alone = run(Tag_Command, arguments);
  arguments.insert(arguments.begin(), "--jobs=3");
  const result_t together = run(Tag_Command, arguments);
  require(together.status == alone.status, "threads end as one does");
  require(alone.status != 0 || together.out == alone.out, "threads give what one gives");
  return alone;
}

void require_tagged(std::vector<std::string> arguments, const std::string& model, const std::string& text,
                    form_t form) {
  constexpr const char* Names[] = {"words", "conllu", "lines"};
  arguments.push_back(std::string("--format=") + Names[static_cast<int>(form)]);
  const result_t result = tag(std::move(arguments), model, folder().write("text", text));
  if (!is_plain(text)) return;
  require(result.status == 0 || form == form_t::Conllu, "a text can be tagged");
  if (result.status != 0) return;
  const std::string words = form == form_t::Lines ? words_of(text) : text;
  const std::vector<std::string_view> lines = lines_of(words), tagged = lines_of(result.out);
  require(lines.size() == tagged.size(), "every line comes out");
  for (size_t i = 0; i < lines.size(); ++i)
    require(is_kept(lines[i], tagged[i], form), "a line stays as it was");
}

}  // namespace orvelle::fuzz
