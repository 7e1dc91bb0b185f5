#include "model/parameter_file.h"

#include <orvelle/model.h>

#include "context/context_section.h"
#include "model/parameter_check.h"
#include "model/tables.h"
#include "support/binary_input.h"

namespace orvelle {

namespace {

Model read(BinaryInput in) {
  auto tables = std::make_unique<Tables>();
  if (in.value<int32_t>() != Parameter_File_Mark) bad_parameter_file("first value, which must be 32");
  tables->UTF8_Processing = in.count(1, "encoding flag");
  tables->fullex = read_fullex(in);
  tables->affixes = read_affixlex(in);
  tables->Context_Tree = read_tree(in);
  if (!in.at_end()) bad_parameter_file("data behind the decision tree");
  check_parameters(*tables);
  return ModelAccess::make_model(std::move(tables));
}

}  // namespace

Model read_parameter_file(const char* name) { return read(BinaryInput(name)); }

Model read_parameter_file(std::span<const std::byte> content) { return read(BinaryInput(content)); }

void write_parameter_file(const char* name, const Model& model) {
  const Tables& tables = ModelAccess::tables(model);
  write_parameter_file(name, tables.UTF8_Processing, tables.fullex, tables.affixes,
                       [&](BinaryOutput& out) { write_tree(tables.Context_Tree, out); });
}

}  // namespace orvelle
