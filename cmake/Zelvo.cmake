# The functions that a folder's CMakeLists.txt is written with.

add_library(zelvo_common INTERFACE)
target_link_libraries(zelvo_common INTERFACE Boost::headers Boost::json Boost::url Threads::Threads)
target_compile_definitions(zelvo_common INTERFACE BOOST_ASIO_NO_DEPRECATED BOOST_ASIO_HAS_CO_AWAIT)
target_include_directories(zelvo_common INTERFACE ${CMAKE_SOURCE_DIR}/ZelvoAgent)

file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/precompiled/anchor.cpp CONTENT "")
set(ZELVO_PRECOMPILED Common)

# The set of precompiled headers NAME is made when it is first wanted.
function(zelvo_precompiled_set NAME)
    cmake_parse_arguments(ARG "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
    if(TARGET zelvo_precompiled_${NAME})
        return()
    endif()
    list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_SOURCE_DIR}/cmake/precompiled/)
    add_library(zelvo_precompiled_${NAME} STATIC ${CMAKE_BINARY_DIR}/precompiled/anchor.cpp)
    target_link_libraries(zelvo_precompiled_${NAME} PRIVATE zelvo_common ${ARG_LINKS})
    target_compile_options(zelvo_precompiled_${NAME} PRIVATE ${ARG_OPTIONS})
    target_precompile_headers(zelvo_precompiled_${NAME} PRIVATE ${ARG_HEADERS})
endfunction()

# Builds a target on precompiled headers, where they are switched on: on cmake/precompiled/Common.h and the header that
# ZELVO_PRECOMPILED names for a folder. TESTS: on those of tests too, and unoptimized, which makes it in half the time.
function(zelvo_precompile TARGET)
    cmake_parse_arguments(ARG "TESTS" "" "" ${ARGN})
    if(NOT ZELVO_PCH)
        return()
    endif()
    set(NAME ${ZELVO_PRECOMPILED})
    set(HEADERS Common.h ${ZELVO_PRECOMPILED}.h)
    set(LINKS ${Common_LINKS} ${${ZELVO_PRECOMPILED}_LINKS})
    set(OPTIONS ${${ZELVO_PRECOMPILED}_OPTIONS})
    if(ARG_TESTS)
        string(APPEND NAME Tests)
        list(APPEND HEADERS Tests.h)
        list(APPEND LINKS GTest::gmock GTest::gtest)
        list(APPEND OPTIONS -O0)
        target_compile_options(${TARGET} PRIVATE -O0)
    endif()
    list(REMOVE_DUPLICATES HEADERS)
    zelvo_precompiled_set(${NAME} HEADERS ${HEADERS} LINKS ${LINKS} OPTIONS ${OPTIONS})
    target_precompile_headers(${TARGET} REUSE_FROM zelvo_precompiled_${NAME})
endfunction()

set(Gateway_LINKS OpenSSL::SSL)
# Qt asks for code of another kind (-fPIC) than the other rooms have.
set(Qt_LINKS Qt6::Widgets)
# "emit" and "signals" are names of Asio's and Boost's too.
set(Qt_OPTIONS -DQT_NO_KEYWORDS)

# zelvo_library(router SOURCES RpcRouter.cpp PUBLIC zelvo::wire PRIVATE ICU::uc): one room as the library zelvo::router.
function(zelvo_library NAME)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(zelvo_${NAME} STATIC ${ARG_SOURCES})
    add_library(zelvo::${NAME} ALIAS zelvo_${NAME})
    target_link_libraries(zelvo_${NAME} PUBLIC zelvo_common ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    zelvo_precompile(zelvo_${NAME})
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
    zelvo_precompile(${NAME}_test TESTS)
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
