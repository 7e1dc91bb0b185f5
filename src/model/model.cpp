// SPDX-License-Identifier: MIT
#include <orvelle/model.h>

#include <utility>

#include "model/tables.h"

namespace orvelle {

Model::Model(std::unique_ptr<Tables> tables) noexcept : tables_(std::move(tables)) {}
Model::Model(Model&&) noexcept = default;
Model& Model::operator=(Model&&) noexcept = default;
Model::~Model() = default;

bool Model::UTF8_Processing() const noexcept { return tables_->UTF8_Processing != 0; }

int Model::Number_of_Tags() const noexcept { return tables_->fullex.tagset.Number_of_Tags; }
const char* Model::Tag(int number) const noexcept { return tables_->tag_name(number); }
int Model::Sent_Tag() const noexcept { return tables_->fullex.tagset.Sent_Tag; }
int Model::find_tag(std::string_view name) const noexcept { return tables_->fullex.tagset.find_tag(name); }
int Model::tag_number(const char* name) const { return tables_->fullex.tagset.tag_number(name); }

double Model::A_Priori_Tag_Prob_Fac(int tag) const noexcept {
  return tables_->fullex.A_Priori_Tag_Prob_Fac[static_cast<size_t>(tag)];
}

int Model::Number_of_Lemmas() const noexcept { return tables_->fullex.lemmas.Number_of_Lemmas; }
const char* Model::Lemma(int number) const noexcept { return tables_->lemma(number); }
int Model::lemma_number(const char* lemma) const { return tables_->fullex.lemmas.lemma_number(lemma); }

const char* Model::lemma(const entry_t& entry, int k) const noexcept {
  return entry.data->lemma != nullptr ? Lemma(entry.data->lemma[k]) : "";
}

int Model::Fullform_Lexicon_Size() const noexcept { return tables_->fullex.lexicon.Fullform_Lexicon_Size; }

const entry_t& Model::Fullform_Lexicon(int index) const noexcept {
  return tables_->fullex.lexicon.Fullform_Lexicon[index];
}

const entry_t* Model::fullform_lookup(std::string_view word) const noexcept {
  return tables_->fullform_lookup(word);
}

const entry_t* Model::fullform_lookup2(const char* word, int strip) const {
  return tables_->fullform_lookup2(word, strip);
}

std::string Model::guess_lemma(const char* word, int tag) const {
  return tables_->extras.lemma_rules.lemma(word, tag, UTF8_Processing());
}

std::string_view Model::treebank_column() const noexcept { return tables_->extras.treebank.column; }

const char* Model::treebank_tag(int tag, std::string_view word) const noexcept {
  const std::string* const original =
      tag == Sent_Tag() ? &tables_->extras.treebank.tag_of_sentence_end(word) : nullptr;
  return original != nullptr && !original->empty() ? original->c_str() : Tag(tag);
}

std::span<const card_line_t> Model::card() const noexcept { return tables_->extras.card; }

const entry_t* Model::find_entry(std::string_view word) const noexcept {
  return tables_->fullex.lexicon.find_entry(word);
}

std::span<const ANODE> Model::Prefix_Lexicon() const noexcept { return tables_->affixes.Prefix_Lexicon(); }
std::span<const ANODE> Model::Suffix_Lexicon() const noexcept { return tables_->affixes.Suffix_Lexicon(); }
const ANODE& Model::Open_Class_Node() const noexcept { return tables_->affixes.Open_Class_Node(); }

const ANODE* Model::prefix_leaf(std::string_view word) const noexcept {
  return tables_->affixes.prefix_leaf(word);
}

const ANODE* Model::suffix_leaf(std::string_view word) const noexcept {
  return tables_->affixes.suffix_leaf(word);
}

int Model::Context_Size() const noexcept { return tables_->Context_Tree.Context_Size; }

const context_leaf_t& Model::context_leaf(const int32_t* preceding) const noexcept {
  return orvelle::context_leaf(tables_->Context_Tree, preceding);
}

double Model::tag_probability(const context_leaf_t& leaf, int32_t tag) noexcept {
  return orvelle::tag_probability(leaf, tag);
}

void Model::read_wordclass(FILE* file, const Warn& warn) {
  WordClasses made(Automaton(file), tables_->fullex.lexicon, warn);
  tables_->word_classes = std::move(made);
}

void Model::add_reading(std::string_view word, int tag, std::string_view lemma) {
  tables_->extras.added.add(word, tag, lemma);
}

const Automaton* Model::WA() const noexcept {
  return tables_->word_classes ? &tables_->word_classes->WA : nullptr;
}

const SparseTable<entry_t>& Model::Wordclass_Lexicon() const noexcept {
  return tables_->word_classes ? tables_->word_classes->Wordclass_Lexicon : tables_->no_word_classes;
}

}  // namespace orvelle
