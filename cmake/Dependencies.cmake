# The libraries of the program, each found once and by one name. scripts/install-dependencies asks apt for them.
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

set(Boost_USE_STATIC_LIBS ON)   # The program is one file; of Boost only these two are not headers.
find_package(Boost 1.81 REQUIRED CONFIG COMPONENTS json url)
find_package(OpenSSL 3 REQUIRED)
find_package(CURL REQUIRED)
find_package(EXPAT REQUIRED)
if(ZELVO_STATIC_ICU)
    include(cmake/StaticIcu.cmake)
else()
    find_package(ICU REQUIRED COMPONENTS uc i18n)
endif()
find_package(SQLite3 REQUIRED)

# zelvo_pkg(pictures libturbojpeg libpng) gives the target zelvo::pictures.
function(zelvo_pkg NAME)
    pkg_check_modules(${NAME} REQUIRED IMPORTED_TARGET GLOBAL ${ARGN})
    add_library(zelvo::${NAME} ALIAS PkgConfig::${NAME})
endfunction()

zelvo_pkg(pictures libturbojpeg libpng)
zelvo_pkg(archives libarchive)
zelvo_pkg(nats libnats)
zelvo_pkg(prometheus prometheus-cpp-core)
find_library(YUV_LIBRARY yuv REQUIRED)
find_path(YUV_INCLUDE libyuv.h REQUIRED)
add_library(zelvo_yuv INTERFACE)
target_link_libraries(zelvo_yuv INTERFACE ${YUV_LIBRARY})
target_include_directories(zelvo_yuv SYSTEM INTERFACE ${YUV_INCLUDE})
add_library(zelvo::yuv ALIAS zelvo_yuv)

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    # Only their headers: they are loaded with the first recording.
    pkg_check_modules(LIBAV REQUIRED libavcodec libavformat libavutil)
    add_library(zelvo_libav INTERFACE)
    target_include_directories(zelvo_libav SYSTEM INTERFACE ${LIBAV_INCLUDE_DIRS})
    target_link_libraries(zelvo_libav INTERFACE ${CMAKE_DL_LIBS})
    add_library(zelvo::libav ALIAS zelvo_libav)
    zelvo_pkg(x11 xcb xcb-shm xcb-xtest xcb-composite xcb-damage xcb-xfixes xcb-randr xcb-res xcb-shape xcb-xinput
              xcb-xkb xkbcommon xkbcommon-x11)
    zelvo_pkg(wayland wayland-client)
    zelvo_pkg(sdbus libsystemd)
    find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
    pkg_get_variable(WAYLAND_PROTOCOLS wayland-protocols pkgdatadir)
    # Only its headers: it is loaded when the first stream is opened.
    pkg_check_modules(PIPEWIRE REQUIRED libpipewire-0.3)
    add_library(zelvo_pipewire INTERFACE)
    target_include_directories(zelvo_pipewire SYSTEM INTERFACE ${PIPEWIRE_INCLUDE_DIRS})
    target_link_libraries(zelvo_pipewire INTERFACE ${CMAKE_DL_LIBS})
    add_library(zelvo::pipewire ALIAS zelvo_pipewire)
    # Events by EIS; Debian has it from 13 on. Without it, all events are made by methods of the portal.
    pkg_check_modules(EI IMPORTED_TARGET GLOBAL libei-1.0)
    if(EI_FOUND)
        add_library(zelvo::ei ALIAS PkgConfig::EI)
    endif()
    zelvo_pkg(secret libsecret-1)
    zelvo_pkg(gio gio-2.0 gio-unix-2.0)
endif()

find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)   # named by ZelvoAgent/app only
