# zelvo_protocols(wlr FILES a.xml b.xml): the library zelvo::wlr_protocols with the code that wayland-scanner makes of the files;
# its users include "a-client-protocol.h".
function(zelvo_protocols NAME)
    cmake_parse_arguments(ARG "" "" "FILES" ${ARGN})
    set(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/protocols)
    file(MAKE_DIRECTORY ${OUTPUT})
    set(SOURCES)
    foreach(FILE ${ARG_FILES})
        get_filename_component(FILE ${FILE} ABSOLUTE)
        get_filename_component(BASE ${FILE} NAME_WE)
        set(HEADER ${OUTPUT}/${BASE}-client-protocol.h)
        set(CODE ${OUTPUT}/${BASE}-protocol.c)
        add_custom_command(OUTPUT ${HEADER} DEPENDS ${FILE} VERBATIM
            COMMAND ${WAYLAND_SCANNER} client-header ${FILE} ${HEADER})
        add_custom_command(OUTPUT ${CODE} DEPENDS ${FILE} VERBATIM
            COMMAND ${WAYLAND_SCANNER} private-code ${FILE} ${CODE})
        # There is no C compiler in this build. The header makes the tables visible to other files in C++ too.
        set_source_files_properties(${CODE} PROPERTIES LANGUAGE CXX SKIP_PRECOMPILE_HEADERS ON OBJECT_DEPENDS ${HEADER}
            COMPILE_OPTIONS "-xc++;-w;-include;${HEADER}")
        list(APPEND SOURCES ${CODE} ${HEADER})
    endforeach()
    add_library(zelvo_${NAME}_protocols STATIC ${SOURCES})
    add_library(zelvo::${NAME}_protocols ALIAS zelvo_${NAME}_protocols)
    target_include_directories(zelvo_${NAME}_protocols SYSTEM PUBLIC ${OUTPUT})
    target_link_libraries(zelvo_${NAME}_protocols PUBLIC zelvo::wayland)
endfunction()
