# The host prints what the postcard holds, reads a file of any size and says in one line why there is
# nothing to show; the README shows the host as it is compiled.
file(READ ${SOURCE}/tests/abi/host.expected expected)
execute_process(COMMAND ${HOST} ${SOURCE}/examples/postcard.mms
  OUTPUT_VARIABLE shown RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT shown STREQUAL expected)
  message(FATAL_ERROR "status ${status}, expected:\n${expected}\nshown:\n${shown}")
endif()

# expect(STATUS REGEX FILE): what the host says of a file.
function(expect status regex file)
  execute_process(COMMAND ${HOST} ${file}
    OUTPUT_VARIABLE shown ERROR_VARIABLE refusal RESULT_VARIABLE result)
  if(NOT result EQUAL status OR NOT "${shown}${refusal}" MATCHES "^${regex}$")
    message(FATAL_ERROR "${file}: ${regex} expected, yet: status ${result}\n${shown}${refusal}")
  endif()
endfunction()

# message(FILE TAIL BYTE...): an m-retrieve-conf of these bytes, in decimal, and a tail of text.
function(message_file name tail)
  string(ASCII 140 132 ${ARGN} bytes)
  file(WRITE ${name} "${bytes}${tail}")
endfunction()

expect(1 "no message: [^\n]+ at byte [0-9]+\n" ${SOURCE}/examples/media/boat.png)
expect(2 "" ${SOURCE}/examples/no-such-message.mms)
set(made ${CMAKE_CURRENT_BINARY_DIR}/host_test.mms)
string(REPEAT "x" 3000000 long_text)
message_file(${made} "${long_text}" 132 131)
expect(0 "[?]: \n- attachment: MMS_Text0000.txt, 3000000 bytes\n" ${made})
message_file(${made} "" 141 146)
expect(1 "[?]: \nno message: no body at byte 0\n" ${made})
message_file(${made} "X" 132 163 1 1 1 188)
expect(1 "[?]: \nno message: part without a content type at byte 6\n" ${made})
file(REMOVE ${made})

file(READ ${SOURCE}/examples/host.c host)
file(READ ${SOURCE}/README.md readme)
string(FIND "${readme}" "${host}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/host.c as it stands")
endif()
