# Shared build settings: warnings, sanitizers and the helpers that add tests and fuzz targets.

set(PW_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
if(POSTWRIGHT_FUZZ)
  # The library and every program linked with it carry the fuzzer's coverage instrumentation.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(POSTWRIGHT_SANITIZE)
  add_compile_options(${PW_SANITIZER_FLAGS})
  add_link_options(-fsanitize=address,undefined)
endif()

function(pw_apply_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-missing-field-initializers)
  if(POSTWRIGHT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# add_pw_test(NAME sources...): one GoogleTest executable registered with CTest.
function(add_pw_test name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE postwright GTest::gtest GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE
    PW_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
    PW_CORPUS_DIR="${PROJECT_SOURCE_DIR}/../shared/corpus"
    PW_TOOL_PATH="$<TARGET_FILE:postwright_tool>")
  pw_apply_warnings(${name})
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=1")
endfunction()

# add_pw_fuzzer(NAME source): a fuzz target. Always built as a replay program that CTest runs over the
# target's seed folder (fuzz/seeds/NAME); with POSTWRIGHT_FUZZ also built as a libFuzzer binary.
function(add_pw_fuzzer name source)
  add_executable(${name}_replay ${source} ${PROJECT_SOURCE_DIR}/fuzz/ReplayMain.cpp)
  target_link_libraries(${name}_replay PRIVATE postwright)
  target_include_directories(${name}_replay PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/fuzz)
  pw_apply_warnings(${name}_replay)
  add_test(NAME fuzz_replay_${name} COMMAND ${name}_replay ${PROJECT_SOURCE_DIR}/fuzz/seeds/${name})
  if(POSTWRIGHT_FUZZ)
    add_executable(${name}_fuzzer ${source})
    target_compile_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
    target_link_libraries(${name}_fuzzer PRIVATE postwright)
    target_include_directories(${name}_fuzzer PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/fuzz)
  endif()
endfunction()
