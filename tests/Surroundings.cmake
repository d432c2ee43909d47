# SPDX-License-Identifier: LGPL-2.1-or-later
# Every test of these labels once more in each surrounding, as TEST@SURROUNDING with the labels
# "surroundings" and the surrounding's name. They belong to ctest's configuration "surroundings" and
# run when that is asked for: ctest -C surroundings -L surroundings
# "together" is part of every run: most surroundings at once, for the tests that are quick. The configuration
# "ci" has it for all, and of the others those in which something else can differ (docs/testing.md).
# What is labelled "anywhere" touches neither text nor numbers, times or an order: only "surroundings" has it. What is
# "thorough" is in none for a developer, and of what is "short" there is the whole test.
set(KELACCOUNT_SURROUNDED_LABELS rest account signon story)
set(KELACCOUNT_SURROUNDED_QUICKLY_LABELS rest quick)
set(KELACCOUNT_CI_SURROUNDINGS_rest apart ar_EG nolocale)
set(KELACCOUNT_CI_SURROUNDINGS_quick apart ar_EG nolocale)
# Processes that hand each other paths and arguments.
set(KELACCOUNT_CI_SURROUNDINGS_story nolocale)

# What each sets, and what it takes away: a name alone.
set(KELACCOUNT_SURROUNDINGS fa_IR ar_EG tr_TR Berlin Apia nolocale hashseed bindnow)
set(KELACCOUNT_SURROUNDING_fa_IR LC_ALL=fa_IR.UTF-8)
set(KELACCOUNT_SURROUNDING_ar_EG LC_ALL=ar_EG.UTF-8)
set(KELACCOUNT_SURROUNDING_tr_TR LC_ALL=tr_TR.UTF-8)
set(KELACCOUNT_SURROUNDING_Berlin TZ=Europe/Berlin)
set(KELACCOUNT_SURROUNDING_Apia TZ=Pacific/Apia)
set(KELACCOUNT_SURROUNDING_nolocale LC_ALL LANG LANGUAGE LC_ADDRESS LC_COLLATE LC_CTYPE
  LC_IDENTIFICATION LC_MEASUREMENT LC_MESSAGES LC_MONETARY LC_NAME LC_NUMERIC LC_PAPER LC_TELEPHONE
  LC_TIME)
set(KELACCOUNT_SURROUNDING_hashseed QT_HASH_SEED=20111230)
set(KELACCOUNT_SURROUNDING_bindnow LD_BIND_NOW=1)
# The locale and a time zone in which most can go wrong. What fails here fails in a surrounding
# of its own, too, which says what it comes from.
set(KELACCOUNT_SURROUNDING_together
  ${KELACCOUNT_SURROUNDING_fa_IR} ${KELACCOUNT_SURROUNDING_Berlin}
  ${KELACCOUNT_SURROUNDING_hashseed} ${KELACCOUNT_SURROUNDING_bindnow})

# What is left, with a second seed.
set(KELACCOUNT_SURROUNDING_apart
  ${KELACCOUNT_SURROUNDING_tr_TR} ${KELACCOUNT_SURROUNDING_Apia} QT_HASH_SEED=3)

# Adds `name` in the surrounding, with the command and the properties that it has outside.
function(kelaccount_add_surrounded name surrounding)
  set(copy ${name}@${surrounding})
  get_property(command GLOBAL PROPERTY KELACCOUNT_COMMAND_OF_${name})
  add_test(NAME ${copy} COMMAND ${command} ${ARGN})
  set_tests_properties(${copy} PROPERTIES LABELS "surroundings;${surrounding}")
  foreach(property COST TIMEOUT RESOURCE_LOCK RUN_SERIAL)
    get_property(is_set TEST ${name} PROPERTY ${property} SET)
    if(is_set)
      get_property(value TEST ${name} PROPERTY ${property})
      set_property(TEST ${copy} PROPERTY ${property} "${value}")
    endif()
  endforeach()
  get_property(own TEST ${name} PROPERTY ENVIRONMENT)
  get_property(modified TEST ${name} PROPERTY ENVIRONMENT_MODIFICATION)
  set(sets)
  set(takes)
  foreach(variable ${KELACCOUNT_SURROUNDING_${surrounding}})
    string(REGEX MATCH "^[^=]+" variable_name ${variable})
    # What a test wants for itself is the test's subject.
    if("${own}" MATCHES "(^|;)${variable_name}=")
    elseif(variable STREQUAL variable_name)
      list(APPEND takes ${variable_name}=unset:)
    else()
      list(APPEND sets ${variable})
    endif()
  endforeach()
  set_property(TEST ${copy} PROPERTY ENVIRONMENT ${sets} ${own})
  set_property(TEST ${copy} PROPERTY ENVIRONMENT_MODIFICATION ${takes} ${modified})
endfunction()

# Called at the end of a folder, when its tests have all their properties.
function(kelaccount_surround_tests)
  get_property(names DIRECTORY PROPERTY TESTS)
  get_property(runs GLOBAL PROPERTY KELACCOUNT_RUNS)
  foreach(name ${names})
    get_property(labels TEST ${name} PROPERTY LABELS)
    set(surrounded ${labels})
    list(REMOVE_ITEM surrounded ${KELACCOUNT_SURROUNDED_LABELS})
    if(surrounded STREQUAL "${labels}" OR short IN_LIST labels)
      continue()
    endif()
    if(NOT name IN_LIST runs)
      message(FATAL_ERROR "Add the test ${name} with kelaccount_add_run() instead of add_test(): it "
        "has to run in surroundings, too.")
    endif()
    set(in_ci)
    foreach(label ${labels})
      list(APPEND in_ci ${KELACCOUNT_CI_SURROUNDINGS_${label}})
    endforeach()
    if(anywhere IN_LIST labels)
      set(in_ci)
    endif()
    list(REMOVE_DUPLICATES in_ci)
    foreach(surrounding ${KELACCOUNT_SURROUNDINGS})
      if(NOT surrounding IN_LIST in_ci)
        kelaccount_add_surrounded(${name} ${surrounding} CONFIGURATIONS surroundings)
      endif()
    endforeach()
    foreach(surrounding ${in_ci})
      kelaccount_add_surrounded(${name} ${surrounding} CONFIGURATIONS ci surroundings)
    endforeach()
    if(anywhere IN_LIST labels)
      continue()
    endif()
    set(slow ${labels})
    list(REMOVE_ITEM slow ${KELACCOUNT_SURROUNDED_QUICKLY_LABELS})
    if(slow STREQUAL "${labels}" OR thorough IN_LIST labels)
      kelaccount_add_surrounded(${name} together CONFIGURATIONS ci surroundings)
    else()
      kelaccount_add_surrounded(${name} together)
    endif()
  endforeach()
endfunction()

# The tests of a folder in which CMake's own function adds them all would be left out in silence.
function(kelaccount_check_runs folder)
  get_property(names DIRECTORY ${folder} PROPERTY TESTS)
  get_property(has_runs DIRECTORY ${folder} PROPERTY KELACCOUNT_HAS_RUNS)
  if(names AND NOT has_runs)
    message(FATAL_ERROR "Add the tests of ${folder} with kelaccount_add_run() instead of add_test().")
  endif()
endfunction()
