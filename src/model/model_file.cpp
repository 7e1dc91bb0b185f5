// SPDX-License-Identifier: MIT
#include "model/model_file.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/binary_input.h"
#include "support/binary_output.h"
#include "support/errors.h"

namespace orvelle {

namespace {

constexpr uint32_t Version = 2;
constexpr size_t Name_Size = 8;  // bytes
constexpr uint32_t Most_Sections = 64;

}  // namespace

void bad_model_file(const char* what) { error2("in model file", what); }

std::vector<section_t> read_sections(BinaryInput& in) {
  in.text(Model_File_Mark.size());
  if (in.value<uint32_t>() != Version) bad_model_file("made by another version of the program");
  const auto count = in.value<uint32_t>();
  if (count > Most_Sections) bad_model_file("number of sections");
  std::vector<section_t> sections;
  for (uint32_t i = 0; i < count; ++i) {
    std::string name = in.text(Name_Size);
    name.resize(std::min(name.size(), name.find('\0')));
    const auto size = in.value<uint64_t>();
    sections.push_back({std::move(name), in.text(size)});
  }
  return sections;
}

void write_model_file(File file, const std::vector<section_t>& sections,
                      const std::function<void(BinaryOutput&)>& write_parameters) {
  Checksum checksum;
  BinaryOutput out(std::move(file), &checksum);
  out.bytes(Model_File_Mark.data(), Model_File_Mark.size());
  out.value(Version);
  out.value(static_cast<uint32_t>(sections.size()));
  for (const section_t& section : sections) {
    char name[Name_Size] = {};
    section.name.copy(name, Name_Size);
    out.bytes(name, Name_Size);
    out.value(static_cast<uint64_t>(section.content.size()));
    out.bytes(section.content.data(), section.content.size());
  }
  write_parameters(out);
  out.flush();
  out.value(checksum.value());
  out.close();
}

}  // namespace orvelle
