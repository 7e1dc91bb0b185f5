# The companion program `orvelle`. The library has that target name, so the program's target is called orvelle-cli.
add_executable(orvelle-cli src/commands/command_line.cpp src/commands/main.cpp src/commands/text_io.cpp
  src/commands/treebank.cpp src/commands/trials.cpp)
set_target_properties(orvelle-cli PROPERTIES OUTPUT_NAME orvelle)
target_compile_definitions(orvelle-cli PRIVATE ORVELLE_VERSION="${PROJECT_VERSION}")
target_link_libraries(orvelle-cli PRIVATE orvelle_training)
if(TARGET orvelle_tagger)
  target_link_libraries(orvelle-cli PRIVATE orvelle_tagger)
endif()

# A subcommand joins by its source, src/commands/<name>_command.cpp.
file(GLOB command_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/commands/*_command.cpp)
foreach(source IN LISTS command_sources)
  get_filename_component(name ${source} NAME_WE)
  string(REPLACE "_command" "" name ${name})
  string(TOUPPER ${name} name)
  target_sources(orvelle-cli PRIVATE ${source})
  target_compile_definitions(orvelle-cli PRIVATE ORVELLE_HAS_${name})
endforeach()

# The programs with their manual pages and the completion.
install(TARGETS train-orvelle orvelle-cli DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/orvelle.1 man/train-orvelle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES completions/orvelle DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
