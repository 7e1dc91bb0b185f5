# SPDX-License-Identifier: MIT
# What distributions build programs with against damage to memory: checked stacks and copies, tables of functions that
# cannot be written, guarded jumps. Each as far as compiler and linker have it; none changes what is calculated.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "ORVELLE_HAS${flag}" has)
  check_cxx_compiler_flag("-Werror ${flag}" ${has})
  if(${has})
    add_compile_options(${flag})
  endif()
endforeach()

foreach(flag IN ITEMS -Wl,-z,relro -Wl,-z,now)
  string(MAKE_C_IDENTIFIER "ORVELLE_HAS${flag}" has)
  check_linker_flag(CXX ${flag} ${has})
  if(${has})
    add_link_options(${flag})
  endif()
endforeach()

# Needs an optimising build, and hides from a sanitizer what it should see. A C library without the third level warns.
if(NOT ORVELLE_SANITIZE)
  foreach(level IN ITEMS 3 2)
    set(flags -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
    string(REPLACE ";" " " CMAKE_REQUIRED_FLAGS "-O2 -Werror;${flags}")
    check_cxx_source_compiles("#include <cstdio>\nint main() { return 0; }" ORVELLE_HAS_FORTIFY_${level})
    unset(CMAKE_REQUIRED_FLAGS)
    if(ORVELLE_HAS_FORTIFY_${level})
      add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${flags}>")
      break()
    endif()
  endforeach()
endif()

# Programs lie at an address that nobody can foresee. What only they link is compiled for that; the library is anyway.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
function(harden_program_parts)
  if(CMAKE_CXX_LINK_PIE_SUPPORTED)
    target_compile_options(orvelle_training PRIVATE -fPIE)
    target_compile_options(orvelle_commands PRIVATE -fPIE)
    set_target_properties(train-orvelle orvelle-cli PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
endfunction()
