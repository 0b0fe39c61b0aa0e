# What `cmake --install` installs, and what other build systems find it by: a CMake package and three
# files of pkg-config. Folders may be given relative to the prefix or absolute (GNUInstallDirs).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY include/mmskit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# In the package as in a build that holds this one as a part: mmskit::posix is the shared library,
# mmskit::posix-static the other.
function(mmskit_export target name)
  if(NOT TARGET ${target})
    return()
  endif()
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  install(TARGETS ${target} EXPORT mmskit
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()
foreach(name IN ITEMS mmskit posix anatomy)
  mmskit_export(${MMSKIT_${name}_TARGET}-shared ${name})
  mmskit_export(${MMSKIT_${name}_TARGET} ${name}-static)
endforeach()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/mmskit)
set(made ${CMAKE_CURRENT_BINARY_DIR}/package)
install(EXPORT mmskit NAMESPACE mmskit:: FILE mmskitTargets.cmake DESTINATION ${package} COMPONENT development)
configure_package_config_file(cmake/mmskitConfig.cmake.in ${made}/mmskitConfig.cmake
  INSTALL_DESTINATION ${package} NO_SET_AND_CHECK_MACRO)
# Before 1.0 a minor version may change what the interface is.
write_basic_package_version_file(${made}/mmskitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${made}/mmskitConfig.cmake ${made}/mmskitConfigVersion.cmake
  DESTINATION ${package} COMPONENT development)

foreach(program IN ITEMS mmskit-tool mmskit-transport)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)
  endif()
endforeach()

# ---- pkg-config -------------------------------------------------------------------------------

# mmskit_pc(NAME DESCRIPTION REQUIRES REQUIRES_PRIVATE LIBS_PRIVATE)
function(mmskit_pc name description requires requires_private libs_private)
  foreach(folder IN ITEMS INCLUDEDIR LIBDIR)
    set(${folder} ${CMAKE_INSTALL_${folder}})
    if(NOT IS_ABSOLUTE ${${folder}})
      set(${folder} "\${prefix}/${${folder}}")
    endif()
  endforeach()
  set(text "prefix=@CMAKE_INSTALL_PREFIX@\nincludedir=${INCLUDEDIR}\nlibdir=${LIBDIR}\n\n")
  string(APPEND text "Name: ${name}\nDescription: ${description}\nVersion: ${PROJECT_VERSION}\n")
  foreach(line IN ITEMS "Requires: ${requires}" "Requires.private: ${requires_private}"
      "Libs: -L\${libdir} -l${name}" "Libs.private: ${libs_private}" "Cflags: -I\${includedir}")
    if(NOT line MATCHES ": $")
      string(APPEND text "${line}\n")
    endif()
  endforeach()
  # The prefix may be given as late as by cmake --install --prefix.
  file(WRITE ${made}/${name}.pc.in "${text}")
  install(CODE "configure_file([[${made}/${name}.pc.in]] [[${made}/${name}.pc]] @ONLY)"
    COMPONENT development)
  install(FILES ${made}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

set(requires)
set(libs)
if(MMSKIT_XML STREQUAL expat)
  set(requires expat)
elseif(MMSKIT_XML STREQUAL rxp)
  set(libs -lrxp)  # has no file of its own
endif()
mmskit_pc(mmskit "Multimedia messages (MMS), the client side" "" "${requires}" "${libs}")
mmskit_pc(mmskit-posix "Multimedia messages (MMS), the client side, on POSIX files" "" "${requires}" "${libs}")
# A C host that links the static library brings the C++ run time by this.
mmskit_pc(mmskit-anatomy "Multimedia messages (MMS): reading and mending what others wrote"
  "mmskit" "zlib" "-lstdc++")

# ---- The command's pages ------------------------------------------------------------------------
# Made of what the built programs declare, so not where they cannot be run.

if(TARGET mmskit-tool AND NOT CMAKE_CROSSCOMPILING)
  set(programs mmskit-tool)
  if(TARGET mmskit-transport)
    list(APPEND programs mmskit-transport)
  endif()
  set(paths)
  foreach(program IN LISTS programs)
    list(APPEND paths $<TARGET_FILE:${program}>)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS docs/man/*)
  add_custom_command(OUTPUT ${made}/pages/mmskit.1
    COMMAND ${CMAKE_COMMAND} -E remove_directory ${made}/pages
    COMMAND docs/man/make ${made}/pages ${PROJECT_VERSION} ${paths}
    DEPENDS ${programs} ${sources} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
  add_custom_target(mmskit-pages ALL DEPENDS ${made}/pages/mmskit.1)
  install(DIRECTORY ${made}/pages/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command
    FILES_MATCHING PATTERN "*.1")
  install(FILES ${made}/pages/mmskit.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
  set(data ${CMAKE_INSTALL_DATAROOTDIR})
  install(FILES ${made}/pages/mmskit.bash DESTINATION ${data}/bash-completion/completions
    RENAME mmskit COMPONENT command)
  install(FILES ${made}/pages/mmskit.zsh DESTINATION ${data}/zsh/vendor-completions
    RENAME _mmskit COMPONENT command)
  install(FILES ${made}/pages/mmskit.fish DESTINATION ${data}/fish/vendor_completions.d COMPONENT command)
  install(FILES docs/compose.md docs/json.md docs/preview.md docs/transport.md
    DESTINATION ${data}/doc/mmskit COMPONENT command)
endif()
