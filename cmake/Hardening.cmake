# SPDX-License-Identifier: LGPL-2.1-or-later
# What a linker can do against errors that get past us, in everything that is built from here on, tests
# and third-party code included. Each flag is probed: not every linker has all of them.
include(CheckLinkerFlag)
include(CheckPIESupported)

function(kelaccount_result_variable result flag)
  string(MAKE_C_IDENTIFIER "KELACCOUNT_HAS${flag}" name)
  set(${result} ${name} PARENT_SCOPE)
endfunction()

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
