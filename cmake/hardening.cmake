# What makes a fault harder to use: a guard on the stack, checked string functions, tables that cannot
# be written once the program runs, addresses that nobody knows beforehand, branch targets. Only as
# the outermost project; .ci/check_hardening holds it on what was built.
option(MMSKIT_HARDENING "Harden what is built" ${PROJECT_IS_TOP_LEVEL})
if(MMSKIT_HARDENING)
  include(CheckCXXCompilerFlag)
  add_compile_options(-fstack-protector-strong)
  check_cxx_compiler_flag(-fstack-clash-protection MMSKIT_STACK_CLASH)
  check_cxx_compiler_flag(-fcf-protection=full MMSKIT_CF_PROTECTION)
  if(MMSKIT_STACK_CLASH)
    add_compile_options(-fstack-clash-protection)
  endif()
  if(MMSKIT_CF_PROTECTION AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    add_compile_options(-fcf-protection=full)
  endif()
  # A sanitizer checks more than this, and takes the functions itself; without optimization it is
  # but a warning.
  if(NOT CMAKE_CXX_FLAGS MATCHES "sanitize|FORTIFY")
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
      $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
