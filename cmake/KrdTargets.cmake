# One function each for a test program, a benchmark and a fuzzer. Each takes its sources by folder,
# so that a new file needs no line here.

# krd_add_test(NAME [LIBS ...]): tests/NAME/*_test.cpp become one GoogleTest program.
function(krd_add_test name)
  cmake_parse_arguments(ARG "" "" "LIBS;SOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*_test.cpp)
  add_executable(${name}_test ${sources} ${ARG_SOURCES})
  target_link_libraries(${name}_test PRIVATE krdcmmn_static krd_options GTest::gmock_main
                        ${ARG_LIBS})
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${name}_test PRIVATE
                             KRD_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  gtest_discover_tests(${name}_test TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 120
                       PROPERTIES TIMEOUT 300)
endfunction()

# krd_add_bench(NAME [LIBS ...]): bench/NAME_bench.cpp, run once as a smoke test.
function(krd_add_bench name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name}_bench ${CMAKE_CURRENT_SOURCE_DIR}/${name}_bench.cpp)
  target_link_libraries(${name}_bench PRIVATE krdcmmn_static krd_options
                        benchmark::benchmark ${ARG_LIBS})
  target_include_directories(${name}_bench PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

# krd_add_fuzzer(NAME): tests/fuzz/NAME_fuzz.cpp with its seeds in tests/fuzz/corpus/NAME. The test
# replays the seeds and then runs a short seeded campaign.
function(krd_add_fuzzer name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  add_executable(${name}_fuzz ${name}_fuzz.cpp)
  target_link_libraries(${name}_fuzz PRIVATE krdcmmn_static krd_options ${ARG_LIBS})
  target_include_directories(${name}_fuzz PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
  set(work ${CMAKE_CURRENT_BINARY_DIR}/work/${name})
  file(MAKE_DIRECTORY ${work})
  add_test(NAME fuzz.${name}
           COMMAND ${name}_fuzz -runs=${KRD_FUZZ_RUNS} -seed=1 -max_len=4096 -timeout=10
                   -rss_limit_mb=1024 ${work} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name})
  set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT 300)
endfunction()
