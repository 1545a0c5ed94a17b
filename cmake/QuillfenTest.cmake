# SPDX-License-Identifier: GPL-3.0-or-later

# What moc makes of a target's sources, named one by one: there are many small programs, and for
# each of them AUTOMOC would look for what to do.
function(quillfen_moc target)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_moc)
  set_target_properties(${target} PROPERTIES AUTOMOC OFF)
  target_include_directories(${target} PRIVATE ${folder})
  foreach(source IN LISTS ARGN)
    cmake_path(GET source STEM name)
    if(source MATCHES "[.]h$")
      set(made ${folder}/moc_${name}.cpp)
    else()
      set(made ${folder}/${name}.moc)
    endif()
    qt6_generate_moc(${CMAKE_CURRENT_SOURCE_DIR}/${source} ${made} TARGET ${target})
    target_sources(${target} PRIVATE ${made})
  endforeach()
endfunction()

# quillfen_test(NAME SOURCES … NEEDS … [LABELS …] [TIMEOUT seconds])
#
# One Qt Test program and one ctest entry of the same name. NEEDS are folders of src/. A source
# X.cpp with a test class includes X.moc.
function(quillfen_test name)
  cmake_parse_arguments(PARSE_ARGV 1 TEST "" "TIMEOUT" "SOURCES;NEEDS;LABELS;LINKS")
  add_executable(${name} ${TEST_SOURCES})
  list(TRANSFORM TEST_NEEDS PREPEND quillfen_)
  target_link_libraries(${name} PRIVATE ${TEST_NEEDS} ${TEST_LINKS} quillfen_test_fakes
                        quillfen_test_qt)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_precompile_headers(${name} REUSE_FROM quillfen_test_precompiled)
  quillfen_moc(${name} ${TEST_SOURCES})
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 120)
  endif()
  add_dependencies(test_programs ${name})
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}"
                       ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()

# quillfen_fuzz(NAME SOURCES … NEEDS …)
#
# One libFuzzer target with a short run under ctest, from the files that are kept for it in
# tests/fuzz/corpora.
function(quillfen_fuzz name)
  cmake_parse_arguments(PARSE_ARGV 1 FUZZ "" "" "SOURCES;NEEDS")
  add_executable(${name} ${FUZZ_SOURCES})
  list(TRANSFORM FUZZ_NEEDS PREPEND quillfen_)
  target_link_libraries(${name} PRIVATE ${FUZZ_NEEDS} quillfen_test_fakes)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_dependencies(fuzzers ${name})
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/fuzz/run $<TARGET_FILE:${name}>
                                ${PROJECT_SOURCE_DIR}/tests/fuzz/corpora/${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60 LABELS fuzz)
endfunction()
