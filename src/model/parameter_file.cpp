// SPDX-License-Identifier: MIT
#include "model/parameter_file.h"

#include <orvelle/model.h>

#include <algorithm>

#include "context/context_section.h"
#include "model/model_file.h"
#include "model/parameter_check.h"
#include "model/tables.h"
#include "support/binary_input.h"

namespace orvelle {

namespace {

void read_parameters(BinaryInput& in, Tables& tables) {
  if (in.value<int32_t>() != Parameter_File_Mark) bad_parameter_file("first value, which must be 32");
  tables.UTF8_Processing = in.count(1, "encoding flag");
  tables.fullex = read_fullex(in);
  tables.affixes = read_affixlex(in);
  tables.Context_Tree = read_tree(in);
}

Model read_plain(BinaryInput in) {
  auto tables = std::make_unique<Tables>();
  read_parameters(in, *tables);
  if (!in.at_end()) bad_parameter_file("data behind the decision tree");
  check_parameters(*tables);
  return ModelAccess::make_model(std::move(tables));
}

// Nothing of the file is believed before its checksum is known to be right, but for what the readers check themselves.
Model read_either(BinaryInput in) {
  if (in.peek(Model_File_Mark.size()) != Model_File_Mark) return read_plain(std::move(in));
  in.begin_checksum();
  const std::vector<section_t> sections = read_sections(in);
  auto tables = std::make_unique<Tables>();
  read_parameters(in, *tables);
  in.value<uint64_t>();  // the checksum
  if (!in.at_end()) bad_model_file("data behind the decision tree");
  if (!in.is_sealed()) bad_model_file("the checksum is wrong");
  check_parameters(*tables);
  tables->extras = model_extras_t(sections, tables->fullex.tagset.Number_of_Tags);
  return ModelAccess::make_model(std::move(tables));
}

}  // namespace

Model read_parameter_file(const char* name) { return read_plain(BinaryInput(name)); }

Model read_parameter_file(std::span<const std::byte> content) { return read_plain(BinaryInput(content)); }

Model read_model_file(const char* name) { return read_either(BinaryInput(name)); }

Model read_model_file(std::span<const std::byte> content) { return read_either(BinaryInput(content)); }

void write_parameters(BinaryOutput& out, const Tables& tables) {
  write_parameters(out, tables.UTF8_Processing, tables.fullex, tables.affixes,
                   [&](BinaryOutput& to) { write_tree(tables.Context_Tree, to); });
}

void write_parameter_file(const char* name, const Model& model) {
  BinaryOutput out(name);
  write_parameters(out, ModelAccess::tables(model));
  out.close();
}

}  // namespace orvelle
