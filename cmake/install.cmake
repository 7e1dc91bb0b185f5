# SPDX-License-Identifier: MIT
# What `cmake --install` puts in place for other programs: the library, its headers, a CMake package
# (find_package(orvelle), target orvelle::orvelle) and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY include/orvelle DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvelle)
install(TARGETS orvelle EXPORT orvelle DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT orvelle NAMESPACE orvelle:: FILE orvelleConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvelleConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvelleConfigVersion.cmake DESTINATION ${package_dir})

# The pkg-config file finds the prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvelle.pc.in ${PROJECT_BINARY_DIR}/orvelle.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvelle.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
