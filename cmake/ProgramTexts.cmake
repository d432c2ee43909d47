# SPDX-License-Identifier: LGPL-2.1-or-later

set(KELACCOUNT_ZSH_FOLDER ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
  CACHE STRING "Where zsh looks for completions, below the prefix")

# kelaccount_program_texts(TARGET COMPONENT NAME [EXCLUDE_FROM_ALL])
# Has a program print its manual page and its completions for three shells, and installs them with it.
function(kelaccount_program_texts target)
  cmake_parse_arguments(arg "EXCLUDE_FROM_ALL" "COMPONENT" "" ${ARGN})
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR AND NOT KELACCOUNT_TEXTS_FROM)
    message(STATUS "No manual page and no completions of ${target}: it cannot be run here. Set "
      "CMAKE_CROSSCOMPILING_EMULATOR, or KELACCOUNT_TEXTS_FROM to the folder build/texts of a build for this machine")
    return()
  endif()
  if(arg_EXCLUDE_FROM_ALL)
    set(only EXCLUDE_FROM_ALL)
  endif()
  set(folder ${PROJECT_BINARY_DIR}/texts)
  set(texts)
  foreach(row IN ITEMS
      "man|${target}.1|${CMAKE_INSTALL_MANDIR}/man1"
      "bash|${target}|${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
      "zsh|_${target}|${KELACCOUNT_ZSH_FOLDER}"
      "fish|${target}.fish|${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
    string(REPLACE "|" ";" row "${row}")
    list(GET row 0 kind)
    list(GET row 1 file)
    list(GET row 2 destination)
    file(MAKE_DIRECTORY ${folder}/${kind})
    if(KELACCOUNT_TEXTS_FROM)
      set(make COMMAND ${CMAKE_COMMAND} -E copy
        ${KELACCOUNT_TEXTS_FROM}/${kind}/${file} ${folder}/${kind}/${file})
    else()
      set(make COMMAND ${target} --generate ${kind} > ${folder}/${kind}/${file})
    endif()
    add_custom_command(OUTPUT ${folder}/${kind}/${file} ${make} DEPENDS ${target} VERBATIM)
    list(APPEND texts ${folder}/${kind}/${file})
    install(FILES ${folder}/${kind}/${file}
      DESTINATION ${destination} COMPONENT ${arg_COMPONENT} ${only})
  endforeach()
  add_custom_target(${target}-texts ALL DEPENDS ${texts})
endfunction()
