// SPDX-License-Identifier: MIT
// orvelle show --card: what a model was made of and how.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "commands/escape.h"
#include "commands/remarks.h"
#include "commands/show/view.h"

namespace orvelle {

namespace {

// Keys that stand several times come as a list.
void put_card_as_json(TextOutput& out, const Model& model) {
  std::map<std::string, std::vector<std::string>> values;
  std::vector<std::string> keys;  // in their order
  for (const auto& [key, value] : model.card()) {
    if (values[key].empty()) keys.push_back(key);
    values[key].push_back(json_quoted(value));
  }
  out.put('{');
  const char* separator = "\n";
  for (const std::string& key : keys) {
    out.put(joined({std::exchange(separator, ",\n"), "  ", json_quoted(key), ": "}));
    const bool is_list = key == "input";
    std::string list;
    for (const std::string& value : values[key]) list += (list.empty() ? "" : ", ") + value;
    out.put(is_list ? joined({"[", list, "]"}) : list);
  }
  out.put("\n}\n");
}

}  // namespace

void show_card(TextOutput& out, const Model& model, bool as_json) {
  if (model.card().empty()) stop("a plain parameter file has no card");
  if (as_json) return put_card_as_json(out, model);
  for (const auto& [key, value] : model.card())
    out.print("%-14s %s\n", escaped(key).c_str(), escaped(value).c_str());
}

}  // namespace orvelle
