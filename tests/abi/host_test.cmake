# The host prints what the postcard holds; a cut message is refused in one line; the README shows
# the host as it is compiled.
file(READ ${SOURCE}/tests/abi/host.expected expected)
execute_process(COMMAND ${HOST} ${SOURCE}/examples/postcard.mms
  OUTPUT_VARIABLE shown RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT shown STREQUAL expected)
  message(FATAL_ERROR "status ${status}, expected:\n${expected}\nshown:\n${shown}")
endif()

execute_process(COMMAND ${HOST} ${SOURCE}/examples/media/boat.png
  OUTPUT_VARIABLE shown ERROR_VARIABLE refusal RESULT_VARIABLE status)
if(NOT status EQUAL 1 OR NOT shown STREQUAL "" OR NOT refusal MATCHES "^no message: [^\n]+\n$")
  message(FATAL_ERROR "a picture is no message, yet: status ${status}\n${shown}${refusal}")
endif()

file(READ ${SOURCE}/examples/host.c host)
file(READ ${SOURCE}/README.md readme)
string(FIND "${readme}" "${host}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/host.c as it stands")
endif()
