# The companion program `orvelle`. The library has that target name, so the program's target is called orvelle-cli.
add_executable(orvelle-cli
  src/commands/check_command.cpp
  src/commands/command_line.cpp
  src/commands/evaluate_command.cpp
  src/commands/main.cpp
  src/commands/prepare_command.cpp
  src/commands/show_command.cpp
  src/commands/tag_command.cpp
  src/commands/text_io.cpp
  src/commands/treebank.cpp
  src/commands/trials.cpp
  src/commands/tune_command.cpp
)
set_target_properties(orvelle-cli PROPERTIES OUTPUT_NAME orvelle)
target_compile_definitions(orvelle-cli PRIVATE ORVELLE_VERSION="${PROJECT_VERSION}")
target_link_libraries(orvelle-cli PRIVATE orvelle_tagger orvelle_training)

# The programs with their manual pages and the completion.
install(TARGETS train-orvelle orvelle-cli DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/orvelle.1 man/train-orvelle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES completions/orvelle DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
