// SPDX-License-Identifier: MIT
// Tagged text for `orvelle prepare`: CoNLL-U files (conllu.h), or columns "form TAB tag [TAB lemma]", read into
// sentences of tokens that a lexicon and a corpus can hold.
//
// What the trainer could not read is repaired if that loses nothing but white space (and remarked, with file
// and line), else refused.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands/conllu.h"
#include "commands/remarks.h"
#include "commands/utf8_text.h"
#include "support/string_table.h"

namespace orvelle {

struct treebank_options_t {
  enum format_t { Guess, Conllu, Columns } format = Guess;
  tag_column_t tag = tag_column_t::Xpos;
  // What becomes of a CoNLL-U token without that tag.
  enum without_tag_t { Refuse, Take_Upos, Skip } without_tag = Refuse;
  const char* sentence_tag = "SENT";
  std::vector<std::string> sentence_ends = {".", "!", "?"};  // forms that get the sentence tag
  bool only_last = false;                                    // only where they end a sentence
};

struct token_t {
  int form;  // numbers in treebank_t::strings
  int tag;
  int lemma;         // -1: none was given
  int treebank_tag;  // what the treebank has where `tag` is the sentence tag
  bool open;         // its universal tag is one of an open class
};

class Treebank {
 public:
  // The options and what is remarked to must outlive the object.
  Treebank(const treebank_options_t& options, Remarks& remarks);

  // Adds the sentences of a file, "-" for standard input. What had to be repaired or refused is remarked, at
  // most the first five cases of a kind; close_remarks counts the others.
  // Returns the checksum of the file.
  uint64_t read(const char* name);
  // Adds the entries of a lexicon file in the trainer's format to `entries`.
  uint64_t read_lexicon(const char* name);
  void close_remarks();

  // Of all that was read.
  encoding_t encoding() const;

  StringTable strings;
  std::vector<token_t> tokens;
  std::vector<size_t> sentence_ends;  // index behind a sentence's last token
  std::vector<token_t> entries;       // form, tag and lemma of an extra lexicon
  int64_t refused = 0;                // lines; if there is one, nothing should be written
  bool has_universal_tags = false;

 private:
  enum repair_t {
    Line_End,
    Byte_Order_Mark,
    White_Space,
    Tag_Blank,
    Without_Lemma,
    Markup,
    Without_Tag,
    Number_of_Repairs
  };

  void repair(repair_t kind);
  // Remarks something that cannot be written.
  void refuse(const std::string& text);
  std::string_view bare(std::string_view line);
  void read_line(std::string_view line);
  void read_conllu(const conllu_line_t& line);
  void read_columns(std::string_view line);
  void read_entry(std::string line);
  std::optional<std::string> tag_of(const conllu_line_t& line);
  void add_token(std::string_view form, std::string_view tag, std::string_view lemma, bool open);
  void end_sentence();
  void split_sentences(size_t first);
  bool is_sentence_end(int form) const;
  int clean(std::string_view text, const char* what);
  int clean_tag(std::string_view tag);
  bool fits(int form, int tag);

  const treebank_options_t& options_;
  Remarks& remarks_;
  treebank_options_t::format_t format_ = treebank_options_t::Guess;  // of the file that is being read
  std::vector<int> end_forms_;
  int sentence_tag_;
  const char* file_ = nullptr;  // as it is shown
  int64_t line_ = 0;
  int64_t repairs_[Number_of_Repairs] = {};
};

}  // namespace orvelle
