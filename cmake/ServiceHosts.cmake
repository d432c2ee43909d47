# SPDX-License-Identifier: LGPL-2.1-or-later
# Where the account service lives. A deployment sets these; the defaults lie under the
# reserved domain "example", which no name server answers for.
set(KELACCOUNT_HOST_TEST_A "test-a.account.example" CACHE STRING "Host of test server A (index 0)")
set(KELACCOUNT_HOST_TEST_B "test-b.account.example" CACHE STRING "Host of test server B (index 1)")
set(KELACCOUNT_HOST_PRODUCTION "account.example" CACHE STRING "Host of the production server (index 2)")
set(KELACCOUNT_HOST_STAGING "staging.account.example" CACHE STRING "Host of the staging server (index 3)")
set(KELACCOUNT_HOST_TEST_C "test-c.account.example" CACHE STRING "Host of test server C (index 4)")
set(KELACCOUNT_HOST_TEST_D "test-d.account.example" CACHE STRING "Host of test server D (index 5)")
# The account service's own synchronisation bears the name of this domain among the services of an
# account; it is the one that a new account has switched off.
set(KELACCOUNT_SERVICE_DOMAIN "account.example" CACHE STRING "The account service's domain")

foreach(kel_host TEST_A TEST_B PRODUCTION STAGING TEST_C TEST_D)
  if(NOT KELACCOUNT_HOST_${kel_host} MATCHES "^[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?$")
    message(FATAL_ERROR "KELACCOUNT_HOST_${kel_host} is not a host name: "
                        "'${KELACCOUNT_HOST_${kel_host}}'. Give a name without scheme, port or path.")
  endif()
endforeach()
if(NOT KELACCOUNT_SERVICE_DOMAIN MATCHES "^[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?$")
  message(FATAL_ERROR "KELACCOUNT_SERVICE_DOMAIN is not a domain: '${KELACCOUNT_SERVICE_DOMAIN}'.")
endif()
