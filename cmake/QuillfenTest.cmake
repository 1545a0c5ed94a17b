# SPDX-License-Identifier: GPL-3.0-or-later

# quillfen_test(NAME SOURCES … NEEDS … [LABELS …] [TIMEOUT seconds])
#
# One Qt Test program and one ctest entry of the same name. NEEDS are folders of src/.
function(quillfen_test name)
  cmake_parse_arguments(PARSE_ARGV 1 TEST "" "TIMEOUT" "SOURCES;NEEDS;LABELS;LINKS")
  add_executable(${name} ${TEST_SOURCES})
  list(TRANSFORM TEST_NEEDS PREPEND quillfen_)
  target_link_libraries(${name} PRIVATE ${TEST_NEEDS} ${TEST_LINKS} Qt6::Test)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 120)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}"
                       ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
endfunction()

# quillfen_fuzz(NAME SOURCES … NEEDS … [SEEDS folder])
#
# One libFuzzer target with a short run under ctest; the run starts from the files in SEEDS.
function(quillfen_fuzz name)
  cmake_parse_arguments(PARSE_ARGV 1 FUZZ "" "SEEDS" "SOURCES;NEEDS")
  add_executable(${name} ${FUZZ_SOURCES})
  list(TRANSFORM FUZZ_NEEDS PREPEND quillfen_)
  target_link_libraries(${name} PRIVATE ${FUZZ_NEEDS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  set(corpus ${CMAKE_CURRENT_BINARY_DIR}/${name}.corpus)
  file(MAKE_DIRECTORY ${corpus})
  add_test(NAME ${name} COMMAND ${name} -max_total_time=10 -timeout=5 -rss_limit_mb=1024
                                ${corpus} ${FUZZ_SEEDS})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60 LABELS fuzz)
endfunction()
