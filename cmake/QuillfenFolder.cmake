# SPDX-License-Identifier: GPL-3.0-or-later

# quillfen_folder(NAME HEADERS … SOURCES … NEEDS … LINKS …)
#
# One folder of src/ as one library, quillfen_NAME. A folder names the folders below it that it
# NEEDS and the foreign libraries that it LINKS; nothing else is on its link line.
#
# No header leans on what another file included before it: X.cpp includes X.h before anything else
# (a lint sees to it). A header without such a source is compiled once alone, where
# QUILLFEN_HEADERS_ALONE is on.
function(quillfen_folder name)
  cmake_parse_arguments(PARSE_ARGV 1 FOLDER "" "" "HEADERS;SOURCES;NEEDS;LINKS")
  set(target quillfen_${name})
  add_library(${target} STATIC ${FOLDER_SOURCES} ${FOLDER_HEADERS})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  list(TRANSFORM FOLDER_NEEDS PREPEND quillfen_)
  target_link_libraries(${target} PUBLIC ${FOLDER_NEEDS} ${FOLDER_LINKS})

  if(NOT QUILLFEN_HEADERS_ALONE)
    return()
  endif()
  set(alone)
  foreach(header IN LISTS FOLDER_HEADERS)
    cmake_path(REPLACE_EXTENSION header .cpp OUTPUT_VARIABLE source)
    if(source IN_LIST FOLDER_SOURCES)
      continue()
    endif()
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src
               OUTPUT_VARIABLE folder)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/alone/${header}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${folder}/${header}\"\n" @ONLY)
    list(APPEND alone ${unit})
  endforeach()
  if(alone)
    add_library(${target}_headers OBJECT ${alone})
    set_target_properties(${target}_headers PROPERTIES AUTOMOC OFF CXX_CLANG_TIDY "")
    target_link_libraries(${target}_headers PRIVATE ${target})
  endif()
endfunction()
