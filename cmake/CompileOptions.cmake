# SPDX-License-Identifier: LGPL-2.1-or-later
# One interface target carries the flags of everything that we own.
add_library(kelaccount_options INTERFACE)
target_compile_features(kelaccount_options INTERFACE cxx_std_17)
target_compile_options(kelaccount_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Werror=switch
  $<$<BOOL:${KELACCOUNT_WERROR}>:-Werror>)
target_compile_definitions(kelaccount_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS)

# For the targets of this folder and those below, also when it is a part of somebody's project.
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# What is not for the debugger says nothing of the folders that it was built in: the same sources make the
# same files, bit by bit, wherever they lie. Of two that fit, the compiler takes the later one.
add_compile_options(
  "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
  "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build>")

# So that the shared library can leave out what nothing in it uses: who makes one call maps less of it.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-ffunction-sections;-fdata-sections>")

# Sanitizers and coverage reach every target, third-party test code included.
if(KELACCOUNT_SANITIZE)
  add_compile_options(-fsanitize=${KELACCOUNT_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${KELACCOUNT_SANITIZE})
endif()
if(KELACCOUNT_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

# Builds with tests or fuzzers link dozens of programs, again after each change: with the quickest linker that
# is there, and with a compiler cache when there is one. What is installed is linked as usual.
if(PROJECT_IS_TOP_LEVEL AND (KELACCOUNT_BUILD_TESTS OR KELACCOUNT_BUILD_FUZZERS))
  find_program(KELACCOUNT_CCACHE ccache)
  if(KELACCOUNT_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    # What is precompiled it takes for a file as any other, and looks at it once.
    set(kel_launcher env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_INODECACHE=1
      ${KELACCOUNT_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${kel_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${kel_launcher})
  endif()
  include(CheckLinkerFlag)
  foreach(kel_linker mold lld)
    check_linker_flag(CXX -fuse-ld=${kel_linker} KELACCOUNT_HAS_${kel_linker})
    if(KELACCOUNT_HAS_${kel_linker})
      add_link_options(-fuse-ld=${kel_linker})
      break()
    endif()
  endforeach()
  # What is for the debugger stays beside the objects: most of what the linker would read and write is that. In DWARF 4:
  # of the fifth, valgrind takes what is left in the programs for broken.
  if(NOT KELACCOUNT_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    set(kel_beside "$<$<CONFIG:Debug>:-gsplit-dwarf>")
    add_compile_options("$<$<CONFIG:Debug>:-gdwarf-4>" ${kel_beside})
  endif()
endif()
