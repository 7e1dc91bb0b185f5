// SPDX-License-Identifier: MIT
// Options of train-orvelle, lexicon, open classes and corpus: they train exactly if they pass the check; what is
// trained loads, is written byte for byte again, and tags the corpus.
#include <optional>

#include "commands/train_command_line.h"
#include "fuzz/fuzz.h"
#include "support/strings.h"
#include "training/train.h"

using namespace orvelle;
using namespace orvelle::fuzz;

namespace {

constexpr int Longest_Context = 50;

std::optional<Settings> settings_of(std::string options) {
  std::vector<std::string> words = {"train-orvelle"};
  for (char* cursor = options.data(); *words.emplace_back(next_string(&cursor)).c_str() != '\0';) continue;
  words.back() = "file";
  words.insert(words.end(), 3, "file");
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  try {
    const Settings settings = parse_command_line(static_cast<int>(argv.size()), argv.data()).settings;
    return settings.Context_Size <= Longest_Context ? std::optional(settings) : std::nullopt;
  } catch (const Error&) {
    return std::nullopt;
  }
}

bool trains(const std::string& lexicon, const std::string& open, const std::string& corpus,
            const Settings& settings) {
  try {
    const TrainedModel trained =
        train({{"lexicon", lexicon}, {"open", open}, {"corpus", corpus}}, settings, {}, {});
    write_parameter_file(folder().path("parameters").c_str(), trained, {});
    return true;
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto [options, lexicon, open, corpus] = parts_of<4>(data, size);
  const std::optional<Settings> settings = settings_of(options);
  if (!settings) return 0;
  const std::string files[] = {folder().write("lexicon", lexicon), folder().write("open", open),
                               folder().write("corpus", corpus)};
  const bool passes =
      run(Check_Command, {"--sentence-tag=" + settings->SENT_TAG, files[0], files[1], files[2]}).status == 0;
  require(trains(lexicon, open, corpus, *settings) == passes,
          "what the check passes trains, and nothing else");
  if (!passes) return 0;
  require_same_again("parameters");
  require_tagged({}, folder().path("parameters"), corpus, form_t::Words);

  const std::string model = folder().path("model");
  const result_t made = run(Train_Command, {"--sentence-tag=" + settings->SENT_TAG, "--lexicon=" + files[0],
                                            "--open-classes=" + files[1], "--corpus=" + files[2], model});
  require(made.status == 0, "a model is made of what trains");
  require_same_again("model");
  require_tagged({}, model, corpus, form_t::Lines);
  return 0;
}
