# SPDX-License-Identifier: MIT
# The programs train-orvelle and orvelle, and what they share beyond the library.

# What makes a model: reads the input files, counts, grows and writes.
add_library(orvelle_training STATIC
  src/support/line_reader.cpp
  src/support/string_sort.cpp
  src/training/affix_trees.cpp
  src/training/approximate_log.cpp
  src/training/build_tree.cpp
  src/training/chain_scores.cpp
  src/training/chain_search.cpp
  src/training/chain_tables.cpp
  src/training/corpus_pass.cpp
  src/training/equivalence_classes.cpp
  src/training/learn_lemmas.cpp
  src/training/lexicon_file.cpp
  src/training/make_lexicon.cpp
  src/training/ngram_table.cpp
  src/training/open_classes.cpp
  src/training/stretches.cpp
  src/training/train.cpp
  src/training/tree_func.cpp
)
target_link_libraries(orvelle_training PUBLIC orvelle_internal)

add_executable(train-orvelle
  src/commands/heap.cpp
  src/commands/standard_streams.cpp
  src/commands/train_command_line.cpp
  src/commands/train_orvelle.cpp
)
target_link_libraries(train-orvelle PRIVATE orvelle_training)

# The subcommands of orvelle, and all that is theirs.
find_package(Threads REQUIRED)
add_library(orvelle_commands STATIC EXCLUDE_FROM_ALL
  src/commands/added_lexicon.cpp
  src/commands/check/findings.cpp
  src/commands/check/report.cpp
  src/commands/check_command.cpp
  src/commands/command_line.cpp
  src/commands/conllu.cpp
  src/commands/escape.cpp
  src/commands/evaluate_command.cpp
  src/commands/evaluation.cpp
  src/commands/heap.cpp
  src/commands/interrupts.cpp
  src/commands/learn_second_look.cpp
  src/commands/model_columns.cpp
  src/commands/new_file.cpp
  src/commands/prepare_command.cpp
  src/commands/remarks.cpp
  src/commands/search.cpp
  src/commands/show/card.cpp
  src/commands/show/tree.cpp
  src/commands/show/view.cpp
  src/commands/show/whole.cpp
  src/commands/show/word.cpp
  src/commands/show_command.cpp
  src/commands/standard_streams.cpp
  src/commands/tag_command.cpp
  src/commands/tagger_options.cpp
  src/commands/text_format.cpp
  src/commands/text_io.cpp
  src/commands/train_command.cpp
  src/commands/train_command_line.cpp
  src/commands/train_request.cpp
  src/commands/train_input.cpp
  src/commands/training_data.cpp
  src/commands/training_set.cpp
  src/commands/training_texts.cpp
  src/commands/treebank.cpp
  src/commands/treebank_options.cpp
  src/commands/trials.cpp
  src/commands/tune_command.cpp
  src/commands/unpack.cpp
  src/commands/utf8_text.cpp
)
target_compile_definitions(orvelle_commands PUBLIC ORVELLE_VERSION="${PROJECT_VERSION}")
target_link_libraries(orvelle_commands PUBLIC orvelle_training Threads::Threads)

# Compressed texts, as far as the libraries for them are here.
option(ORVELLE_COMPRESSION "Read compressed texts (gzip, xz, zstd) with the libraries that are found" ON)
if(ORVELLE_COMPRESSION)
  find_package(ZLIB QUIET)
  if(ZLIB_FOUND)
    target_compile_definitions(orvelle_commands PRIVATE ORVELLE_GZIP)
    target_link_libraries(orvelle_commands PRIVATE ZLIB::ZLIB)
  endif()
  find_package(LibLZMA QUIET)
  if(LIBLZMA_FOUND)
    target_compile_definitions(orvelle_commands PRIVATE ORVELLE_XZ)
    target_link_libraries(orvelle_commands PRIVATE LibLZMA::LibLZMA)
  endif()
  find_path(ORVELLE_ZSTD_INCLUDE zstd.h)
  find_library(ORVELLE_ZSTD_LIBRARY zstd)
  mark_as_advanced(ORVELLE_ZSTD_INCLUDE ORVELLE_ZSTD_LIBRARY)
  if(ORVELLE_ZSTD_INCLUDE AND ORVELLE_ZSTD_LIBRARY)
    target_compile_definitions(orvelle_commands PRIVATE ORVELLE_ZSTD)
    target_include_directories(orvelle_commands PRIVATE ${ORVELLE_ZSTD_INCLUDE})
    target_link_libraries(orvelle_commands PRIVATE ${ORVELLE_ZSTD_LIBRARY})
  endif()
endif()

# The library has the target name orvelle, so the program's target is called orvelle-cli.
add_executable(orvelle-cli src/commands/orvelle.cpp)
set_target_properties(orvelle-cli PROPERTIES OUTPUT_NAME orvelle)
target_link_libraries(orvelle-cli PRIVATE orvelle_commands)

if(ORVELLE_HARDENING)
  harden_program_parts()
endif()

# With their manual pages and the completion.
if(ORVELLE_INSTALL)
  install(TARGETS train-orvelle orvelle-cli DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES man/orvelle.1 man/train-orvelle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES completions/orvelle DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES completions/orvelle DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME train-orvelle)
endif()
