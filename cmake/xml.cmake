# What reads push documents as XML text (MMSKIT_XML): a backend is the sources that only it has, and
# the library it needs. Sets MMSKIT_XML_SOURCES, all that belong to a backend, MMSKIT_XML_LIBRARY, that
# of the chosen one, and MMSKIT_XML_BACKENDS, those that can be built here.

set(push ${PROJECT_SOURCE_DIR}/Push/src)
set(MMSKIT_XML_DECODERS ${push}/Push_XmlParser.cpp)
set(MMSKIT_XML_rxp_TREE ${push}/Push_XmlTree.cpp ${push}/Push_Rxp.cpp)
set(MMSKIT_XML_expat_TREE ${push}/Push_XmlTree.cpp ${push}/Push_Expat.cpp
  ${push}/Push_ExpatText.cpp ${push}/Push_ExpatDeclaration.cpp)
set(MMSKIT_XML_rxp_SOURCES ${MMSKIT_XML_DECODERS} ${MMSKIT_XML_rxp_TREE})
set(MMSKIT_XML_expat_SOURCES ${MMSKIT_XML_DECODERS} ${MMSKIT_XML_expat_TREE})
set(MMSKIT_XML_none_SOURCES ${push}/Push_NoXml.cpp)
set(MMSKIT_XML_rxp_LIBRARY rxp)
set(MMSKIT_XML_expat_LIBRARY expat)
set(MMSKIT_XML_rxp_HEADER rxp/xmlparser.h)
set(MMSKIT_XML_expat_HEADER expat.h)

set(MMSKIT_XML_BACKENDS none)
foreach(backend IN ITEMS rxp expat)
  find_library(MMSKIT_XML_${backend}_FOUND ${MMSKIT_XML_${backend}_LIBRARY})
  find_path(MMSKIT_XML_${backend}_INCLUDE ${MMSKIT_XML_${backend}_HEADER})
  mark_as_advanced(MMSKIT_XML_${backend}_FOUND MMSKIT_XML_${backend}_INCLUDE)
  if(MMSKIT_XML_${backend}_FOUND AND MMSKIT_XML_${backend}_INCLUDE)
    list(APPEND MMSKIT_XML_BACKENDS ${backend})
  endif()
endforeach()

if(NOT MMSKIT_XML MATCHES "^(rxp|expat|none)$")
  message(FATAL_ERROR "MMSKIT_XML is rxp, expat or none, not \"${MMSKIT_XML}\"")
endif()
if(NOT MMSKIT_XML IN_LIST MMSKIT_XML_BACKENDS)
  message(FATAL_ERROR "MMSKIT_XML=${MMSKIT_XML} needs the library ${MMSKIT_XML} and its headers "
    "(Debian: librxp-dev, libexpat1-dev); of rxp, expat and none, these can be built here: ${MMSKIT_XML_BACKENDS}")
endif()

# By its name where the build's own folders may be gone: in what is installed.
set(MMSKIT_XML_LIBRARY)
if(NOT MMSKIT_XML STREQUAL none)
  set(MMSKIT_XML_LIBRARY $<BUILD_INTERFACE:${MMSKIT_XML_${MMSKIT_XML}_FOUND}>
    $<INSTALL_INTERFACE:${MMSKIT_XML_${MMSKIT_XML}_LIBRARY}>)
endif()

set(MMSKIT_XML_SOURCES)
foreach(backend IN ITEMS rxp expat none)
  list(APPEND MMSKIT_XML_SOURCES ${MMSKIT_XML_${backend}_SOURCES})
endforeach()

# The objects of a backend; further arguments are what to build in place of all its sources.
function(mmskit_xml_objects name backend)
  set(sources ${ARGN})
  if(NOT sources)
    set(sources ${MMSKIT_XML_${backend}_SOURCES})
  endif()
  mmskit_objects(${name} ${sources})
  if(MMSKIT_XML_${backend}_INCLUDE)
    foreach(target IN ITEMS ${name} ${name}-linked)
      target_include_directories(${target} SYSTEM PRIVATE ${MMSKIT_XML_${backend}_INCLUDE})
    endforeach()
  endif()
endfunction()
