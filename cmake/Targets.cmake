# SPDX-License-Identifier: GPL-3.0-or-later

# The sanitizers' builds read the standard library's headers once. The others read them in each file, which shows where one
# is missing.
if(ZELVANE_PRECOMPILED_HEADERS)
    file(WRITE ${PROJECT_BINARY_DIR}/CommonHeaders.cpp "// What the precompiled headers are made for.\n")
    add_library(zelvane_common_headers STATIC ${PROJECT_BINARY_DIR}/CommonHeaders.cpp)
    target_link_libraries(zelvane_common_headers PRIVATE Threads::Threads zelvane_warnings)
    target_precompile_headers(zelvane_common_headers PRIVATE <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint>
        <filesystem> <functional> <map> <memory> <mutex> <optional> <span> <string> <string_view> <thread> <utility> <variant>
        <vector>)
endif()

# A folder of the house as a static library.
#   zelvane_library(NAME SOURCES file... [USES library...])
function(zelvane_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    set_property(GLOBAL APPEND PROPERTY zelvane_libraries ${name})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC Threads::Threads PRIVATE zelvane_warnings)
    if(ZELVANE_PRECOMPILED_HEADERS)
        target_precompile_headers(${name} REUSE_FROM zelvane_common_headers)
    endif()
    foreach(library ${ARG_USES})
        if(library MATCHES "^zelvane_")
            target_link_libraries(${name} PUBLIC ${library})
        else()
            target_link_libraries(${name} PRIVATE ${library})
        endif()
    endforeach()
endfunction()

# A folder of the desktop's part, made with Qt. Objects, not an archive: they go into a test, or into the module that the
# player loads, which gets what it USES from the player itself.
#   zelvane_desktop_objects(NAME SOURCES file... [INTERFACES ui-file...] [USES library...])
function(zelvane_desktop_objects name)
    cmake_parse_arguments(ARG "" "" "SOURCES;INTERFACES;USES" ${ARGN})
    add_library(${name} OBJECT ${ARG_SOURCES} ${ARG_INTERFACES})
    set_property(GLOBAL APPEND PROPERTY zelvane_desktop_parts ${name})
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTOUIC ON POSITION_INDEPENDENT_CODE ON
        AUTOUIC_SEARCH_PATHS ${PROJECT_SOURCE_DIR}/Resources/Interfaces)
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    # Words of ours stay words, and texts are converted where one can see it.
    target_compile_definitions(${name} PUBLIC QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
    target_link_libraries(${name} PUBLIC Threads::Threads Qt6::Widgets Qt6::DBus Qt6::Svg ${ARG_USES}
        PRIVATE zelvane_warnings)
endfunction()

# A test program that ctest runs whole; labels pick tests for a preset ("threads" run under the thread sanitizer too).
#   zelvane_test(NAME SOURCES file... USES library... [LABELS label...] [TIMEOUT seconds])
function(zelvane_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_USES} GTest::gmock GTest::gtest_main zelvane_warnings)
    # Reading the matchers takes longer than all else that the compiler does for a test.
    target_precompile_headers(${name} REUSE_FROM zelvane_test_headers)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
    if("threads" IN_LIST ARG_LABELS)
        add_dependencies(zelvane_threaded_tests ${name})
    endif()
endfunction()

set(zelvane_leaks_of_others LSAN_OPTIONS=print_suppressions=0:suppressions=${PROJECT_SOURCE_DIR}/Tests/lsan-suppressions.txt)

# A test program of the desktop's part, which sees no display unless it starts one. Qt wants code that may be loaded
# anywhere, which the precompiled headers of the other tests are not made for.
#   zelvane_desktop_test(NAME SOURCES file... USES library... [LABELS label...] [TIMEOUT seconds])
function(zelvane_desktop_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_USES} Qt6::Test GTest::gmock GTest::gtest_main zelvane_warnings)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${zelvane_leaks_of_others}")
endfunction()

# A test program for the virtual machine of ./test --machine, where it is root; ctest leaves it out elsewhere.
#   zelvane_machine_test(NAME SOURCES file... USES library...)
function(zelvane_machine_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_USES} GTest::gmock GTest::gtest_main zelvane_warnings)
    target_precompile_headers(${name} REUSE_FROM zelvane_test_headers)
    add_test(NAME ${name} COMMAND ${name} CONFIGURATIONS Machine)
    set_tests_properties(${name} PROPERTIES LABELS machine TIMEOUT 180)
endfunction()

# What the thread sanitizer's build needs.
add_custom_target(zelvane_threaded_tests)

# A fuzz target (clang's libFuzzer); its seeds stand in a folder of its name beside it. ctest runs it for a minute, or for
# ZELVANE_FUZZ_SECONDS, under the label "fuzz"; what it finds is kept in build/fuzz from run to run.
#   zelvane_fuzzer(NAME SOURCES file... USES library...)
function(zelvane_fuzzer name)
    if(NOT ZELVANE_FUZZERS)
        return()
    endif()
    cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_USES} zelvane_warnings)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    add_test(NAME ${name}
        COMMAND ${PROJECT_SOURCE_DIR}/scripts/fuzz.sh $<TARGET_FILE:${name}> ${CMAKE_CURRENT_SOURCE_DIR}/${name}
            ${PROJECT_SOURCE_DIR}/build/fuzz/${name})
    # It minds the time itself.
    set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 1000000)
endfunction()
