// SPDX-License-Identifier: MIT
// A parameter file or a model file, whose checksum is put right: what loads can be written, loaded and written the
// same, tags, and is shown.
#include "fuzz/fuzz.h"
#include "support/checksum.h"

using namespace orvelle;
using namespace orvelle::fuzz;

namespace {

constexpr const char* Text = "The\tx\ndogs\nStraßenbahn\n1998\n3.\n\n<a>\nwalked\nunwalking\n";

std::string sealed(std::string content) {
  constexpr size_t Size = sizeof(uint64_t);
  if (!content.starts_with(Model_File_Mark) || content.size() < Size) return content;
  Checksum checksum;
  content.resize(content.size() - Size);
  checksum.add(content);
  const uint64_t value = checksum.value();
  return content.append(reinterpret_cast<const char*>(&value), Size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string content = sealed({reinterpret_cast<const char*>(data), size});
  const std::string name = folder().write("model", content);
  if (run(Show_Command, {name}).status != 0) return 0;
  folder().write("model", written_again("model"));  // without what no reader looks at
  require_same_again("model");
  const bool has_card = content.starts_with(Model_File_Mark);
  for (const char* what : {"--all", "--tree", "--word=dogs", has_card ? "--json" : "--dot"})
    require(run(Show_Command, {what, name}).status == 0, "what loads is shown");
  require_tagged({}, name, Text, form_t::Words);
  require_tagged({"--decode=word", "--probabilities=0"}, name, Text, form_t::Words);
  return 0;
}
