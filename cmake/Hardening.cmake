# SPDX-License-Identifier: LGPL-2.1-or-later
# What a compiler and linker can do against errors that get past us, in everything that is compiled
# from here on, tests and third-party code included. Each flag is probed: not every architecture and
# not every compiler has all of them.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

function(kelaccount_result_variable result flag)
  string(MAKE_C_IDENTIFIER "KELACCOUNT_HAS${flag}" name)
  set(${result} ${name} PARENT_SCOPE)
endfunction()

# -mbranch-protection is for 64-bit ARM what -fcf-protection is for x86; elsewhere clang only warns of it.
set(kel_flags_asked "${CMAKE_REQUIRED_FLAGS}")
string(APPEND CMAKE_REQUIRED_FLAGS " -Werror")
foreach(kel_flag -fstack-protector-strong -fstack-clash-protection -fcf-protection
    -mbranch-protection=standard)
  kelaccount_result_variable(kel_has ${kel_flag})
  check_cxx_compiler_flag(${kel_flag} ${kel_has})
  if(${kel_has})
    add_compile_options(${kel_flag})
  endif()
endforeach()
set(CMAKE_REQUIRED_FLAGS "${kel_flags_asked}")

foreach(kel_flag -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  kelaccount_result_variable(kel_has ${kel_flag})
  check_linker_flag(CXX ${kel_flag} ${kel_has})
  if(${kel_has})
    add_link_options(${kel_flag})
  endif()
endforeach()

# Programs are linked to run at any address; CMAKE_POSITION_INDEPENDENT_CODE says it to the compiler alone.
# It says so to every project of the build, so not where another project than this one decides.
if(PROJECT_IS_TOP_LEVEL)
  check_pie_supported(LANGUAGES C CXX)
endif()

# The checked functions of the C library need an optimiser and hide from a sanitizer what it checks
# itself; and a packager may have asked for them, or for stricter ones, already.
if(NOT KELACCOUNT_SANITIZE)
  set(kel_configurations ${CMAKE_CONFIGURATION_TYPES})
  if(NOT kel_configurations)
    set(kel_configurations "${CMAKE_BUILD_TYPE}")
  endif()
  # One with an empty name is a list without elements.
  if("${kel_configurations}" STREQUAL "")
    set(kel_configurations NONE_GIVEN)
  endif()
  foreach(kel_configuration IN LISTS kel_configurations)
    string(TOUPPER "${kel_configuration}" kel_upper)
    set(CMAKE_TRY_COMPILE_CONFIGURATION ${kel_configuration})
    check_cxx_source_compiles("
      #if !defined __OPTIMIZE__ || defined _FORTIFY_SOURCE
      #error
      #endif
      int main() {}" KELACCOUNT_FORTIFIES_${kel_upper})
    unset(CMAKE_TRY_COMPILE_CONFIGURATION)
    if(NOT KELACCOUNT_FORTIFIES_${kel_upper})
      continue()
    endif()
    if(kel_configuration STREQUAL NONE_GIVEN)
      add_compile_definitions(_FORTIFY_SOURCE=2)
    else()
      add_compile_definitions($<$<CONFIG:${kel_configuration}>:_FORTIFY_SOURCE=2>)
    endif()
  endforeach()
endif()
