# What `cmake --install` puts in place for programs that load parameter files: the library `orvelle`, its headers, a
# CMake package (find_package(orvelle), target orvelle::orvelle) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The public headers are those that the umbrella header names.
file(STRINGS ${PROJECT_SOURCE_DIR}/src/orvelle.h include_lines REGEX "^#include \"")
install(FILES src/orvelle.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvelle)
foreach(line IN LISTS include_lines)
  string(REGEX REPLACE "^#include \"(.*)\".*" "\\1" header "${line}")
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvelle/${folder})
endforeach()

# Headers include each other from their own root, programs include <orvelle/orvelle.h>.
target_include_directories(orvelle PUBLIC
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/orvelle>)
target_compile_features(orvelle PUBLIC cxx_std_20)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/include/orvelle/orvelle.h
     CONTENT "#include \"${PROJECT_SOURCE_DIR}/src/orvelle.h\"\n")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvelle)
install(TARGETS orvelle EXPORT orvelle ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT orvelle NAMESPACE orvelle:: FILE orvelleConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvelleConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvelleConfigVersion.cmake DESTINATION ${package_dir})

# The pkg-config file finds the prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvelle.pc.in ${PROJECT_BINARY_DIR}/orvelle.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvelle.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
