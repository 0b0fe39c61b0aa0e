# The host for any message shows the postcard, and the same postcard wrapped in hexadecimal text; a
# picture is told as one.
set(work ${CMAKE_CURRENT_BINARY_DIR}/any_message.hex)
file(READ ${SOURCE}/examples/postcard.mms digits HEX)
file(WRITE ${work} "${digits}")

function(expect file status output error)
  execute_process(COMMAND ${HOST} ${file}
    OUTPUT_VARIABLE shown ERROR_VARIABLE complained RESULT_VARIABLE code)
  if(NOT code EQUAL status OR NOT shown MATCHES "${output}" OR NOT complained MATCHES "${error}")
    message(FATAL_ERROR "${file}: status ${code}\n${shown}${complained}")
  endif()
endfunction()

foreach(file IN ITEMS ${SOURCE}/examples/postcard.mms ${work})
  expect(${file} 0 "^m-retrieve-conf\n.*Subject: Grüße vom Strand 🌅\n.*- slide, 8000 ms\n  text: \
Greetings.*  image: sunset.jpg, 2575 bytes\n.*- slide, 5000 ms\n.*- attachment: zoe.vcf\n$" "^$")
endforeach()
expect(${SOURCE}/examples/media/boat.png 1 "^$" "^no message, but [^\n]*PNG[^\n]*\n$")
