# The functions that a folder's CMakeLists.txt is written with.

add_library(zelvo_common INTERFACE)
target_link_libraries(zelvo_common INTERFACE Boost::headers Boost::json Boost::url Threads::Threads)
target_compile_definitions(zelvo_common INTERFACE BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_HAS_CO_AWAIT)
target_include_directories(zelvo_common INTERFACE ${CMAKE_SOURCE_DIR}/ZelvoAgent)

if(ZELVO_PCH)
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/precompiled/anchor.cpp CONTENT "")
    add_library(zelvo_precompiled STATIC ${CMAKE_BINARY_DIR}/precompiled/anchor.cpp)
    target_link_libraries(zelvo_precompiled PUBLIC zelvo_common)
    target_precompile_headers(zelvo_precompiled PRIVATE ${CMAKE_SOURCE_DIR}/cmake/Precompiled.h)
endif()

# Tests on fakes: their own code needs no speed, and unoptimized it is made in two thirds of the time.
function(zelvo_compile_fast TARGET)
    if(NOT ZELVO_PCH OR ZELVO_SANITIZE)
        zelvo_precompile(${TARGET})
        return()
    endif()
    if(NOT TARGET zelvo_precompiled_tests)
        add_library(zelvo_precompiled_tests STATIC ${CMAKE_BINARY_DIR}/precompiled/anchor.cpp)
        target_link_libraries(zelvo_precompiled_tests PUBLIC zelvo_common GTest::gmock GTest::gtest)
        target_compile_options(zelvo_precompiled_tests PRIVATE -O0)
        target_precompile_headers(zelvo_precompiled_tests
            PRIVATE ${CMAKE_SOURCE_DIR}/cmake/Precompiled.h ${CMAKE_SOURCE_DIR}/cmake/PrecompiledTests.h)
    endif()
    target_compile_options(${TARGET} PRIVATE -O0)
    target_precompile_headers(${TARGET} REUSE_FROM zelvo_precompiled_tests)
endfunction()

# Builds a target on the precompiled headers, where they are switched on.
function(zelvo_precompile TARGET)
    if(ZELVO_PCH)
        target_precompile_headers(${TARGET} REUSE_FROM zelvo_precompiled)
    endif()
endfunction()

# zelvo_library(router SOURCES RpcRouter.cpp PUBLIC zelvo::wire PRIVATE ICU::uc): one room as the library zelvo::router.
function(zelvo_library NAME)
    cmake_parse_arguments(ARG "NO_PCH" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(zelvo_${NAME} STATIC ${ARG_SOURCES})
    add_library(zelvo::${NAME} ALIAS zelvo_${NAME})
    target_link_libraries(zelvo_${NAME} PUBLIC zelvo_common ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    if(NOT ARG_NO_PCH)
        zelvo_precompile(zelvo_${NAME})
    endif()
endfunction()

# zelvo_headers(platform PUBLIC zelvo::wire): a room of interfaces only.
function(zelvo_headers NAME)
    cmake_parse_arguments(ARG "" "" "PUBLIC" ${ARGN})
    add_library(zelvo_${NAME} INTERFACE)
    add_library(zelvo::${NAME} ALIAS zelvo_${NAME})
    target_link_libraries(zelvo_${NAME} INTERFACE zelvo_common ${ARG_PUBLIC})
endfunction()

# zelvo_test(router SOURCES RpcRouterTest.cpp USES zelvo::fakes LABEL unit): the program router_test, its cases known to
# CTest one by one. TIMEOUT is in seconds. SERIAL keeps other tests from running beside it. COST, in seconds, starts a
# long test early. NEEDS names a test fixture that sets it up.
function(zelvo_test NAME)
    cmake_parse_arguments(ARG "SERIAL" "LABEL;TIMEOUT;COST;NEEDS" "SOURCES;USES;DEPENDS" ${ARGN})
    add_executable(${NAME}_test ${ARG_SOURCES})
    target_link_libraries(${NAME}_test PRIVATE ${ARG_USES} GTest::gmock GTest::gtest GTest::gtest_main)
    target_include_directories(${NAME}_test PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    set_target_properties(${NAME}_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(NOT ARG_LABEL OR ARG_LABEL MATCHES "unit|gateway")
        zelvo_compile_fast(${NAME}_test)
    else()
        zelvo_precompile(${NAME}_test)
    endif()
    if(ARG_DEPENDS)
        add_dependencies(${NAME}_test ${ARG_DEPENDS})
    endif()
    if(NOT ARG_LABEL)
        set(ARG_LABEL unit)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    set(PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT})
    if(ARG_SERIAL)
        list(APPEND PROPERTIES RUN_SERIAL TRUE)
    endif()
    if(ARG_COST)
        list(APPEND PROPERTIES COST ${ARG_COST})
    endif()
    if(ARG_NEEDS)
        list(APPEND PROPERTIES FIXTURES_REQUIRED ${ARG_NEEDS})
    endif()
    if(ARG_LABEL STREQUAL "unit")
        # One CTest entry a program: hundreds of cases that take a millisecond each are not worth a process each.
        add_test(NAME ${NAME} COMMAND ${NAME}_test)
        set_tests_properties(${NAME} PROPERTIES ${PROPERTIES})
    else()
        gtest_discover_tests(${NAME}_test TEST_PREFIX ${NAME}. DISCOVERY_TIMEOUT 60 PROPERTIES ${PROPERTIES})
    endif()
endfunction()

# zelvo_embed(base resources/texts/en.json embedded_en_json): the file as the constant zelvo::embedded_en_json.
function(zelvo_embed NAME FILE SYMBOL)
    set(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${SYMBOL}.cpp)
    add_custom_command(
        OUTPUT ${OUTPUT}
        COMMAND ${CMAKE_COMMAND} -DINPUT=${CMAKE_SOURCE_DIR}/${FILE} -DOUTPUT=${OUTPUT} -DNAME=${SYMBOL}
                -P ${CMAKE_SOURCE_DIR}/cmake/Embed.cmake
        DEPENDS ${CMAKE_SOURCE_DIR}/${FILE} ${CMAKE_SOURCE_DIR}/cmake/Embed.cmake
        VERBATIM)
    target_sources(zelvo_${NAME} PRIVATE ${OUTPUT})
    set_source_files_properties(${OUTPUT} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()
