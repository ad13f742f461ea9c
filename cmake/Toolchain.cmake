# Compiler launcher, linker, warnings and sanitizers: what every target is built with.
find_program(CCACHE ccache)
if(CCACHE)
    # Precompiled headers carry no time stamps, so that the cache can be shared by build folders.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,locale
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} ${CCACHE})
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_link_options(-fuse-ld=lld)
    add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
endif()

if(ZELVO_DISTRIBUTED)
    include(cmake/Distributed.cmake)
endif()

if(ZELVO_SANITIZE)
    add_compile_options(-fsanitize=${ZELVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZELVO_SANITIZE})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Wno-missing-field-initializers)
