# What programs that are given to others are built with: hardened, and the same bytes whatever folder they are built in.
add_compile_options(-fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    add_compile_options(-fcf-protection)
endif()
add_link_options(-pie LINKER:-z,relro,-z,now,--as-needed,--build-id=sha1)

# The compiler's cache writes paths relative to the build folder, so those need a mapping too.
file(RELATIVE_PATH SOURCES ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
string(REGEX REPLACE "/$" "" SOURCES "${SOURCES}")
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${SOURCES}=.)
