# SPDX-License-Identifier: GPL-2.0-or-later
# Helpers that make our libraries, modules and programs alike.

# tesl_library(NAME SOURCES... [DEPENDS ...]): a static library, one a folder.
function(tesl_library NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PRIVATE_DEPENDS" ${ARGN})
    add_library(${NAME} STATIC ${ARG_SOURCES})
    target_include_directories(${NAME} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PUBLIC ${ARG_DEPENDS} PRIVATE tesl_options ${ARG_PRIVATE_DEPENDS})
endfunction()

# tesl_module(NAME FILE SOURCES... DEPENDS...): a run-time module, a shared library that is entered through
# ulkGetObjectFactory and is staged into the library folder. FILE is its file name without ".so".
function(tesl_module NAME)
    cmake_parse_arguments(ARG "" "FILE" "SOURCES;DEPENDS" ${ARGN})
    add_library(${NAME} MODULE ${ARG_SOURCES})
    set_target_properties(${NAME} PROPERTIES PREFIX "" OUTPUT_NAME "${ARG_FILE}"
        LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/modules")
    target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PRIVATE tesl_options ${ARG_DEPENDS})
    set_property(GLOBAL APPEND PROPERTY TESL_MODULES ${NAME})
endfunction()

# tesl_program(NAME FOLDER SOURCES... DEPENDS...): an executable, staged into FOLDER (libexec or bin).
function(tesl_program NAME)
    cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${NAME} ${ARG_SOURCES})
    target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PRIVATE tesl_options ${ARG_DEPENDS} Threads::Threads)
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/programs")
    set_property(GLOBAL APPEND PROPERTY TESL_PROGRAMS_${ARG_FOLDER} ${NAME})
endfunction()

# tesl_unit_test(NAME SOURCES... DEPENDS...): a GoogleTest program that links the library under test.
function(tesl_unit_test NAME)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;DEPENDS" ${ARGN})
    add_executable(${NAME} ${ARG_SOURCES})
    target_include_directories(${NAME} PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${NAME} PRIVATE tesl_options ${ARG_DEPENDS} GTest::gmock GTest::gtest GTest::gtest_main
        Threads::Threads)
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    add_test(NAME ${NAME} COMMAND ${NAME})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    set_tests_properties(${NAME} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
endfunction()
