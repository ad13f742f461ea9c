# Sourced by make-package and make-archive, after errors.sh and from the root of the repository.
# shellcheck shell=bash

# Exports HEAD into build/export/source, always the same folder: so the compiler's cache serves packages and archive alike.
# The lock is held until the script ends.
export_source() {
    mkdir -p build
    exec 9>build/export.lock
    flock 9
    rm -rf build/export
    mkdir -p build/export/source
    git archive --format=tar HEAD | tar -x -C build/export/source
    [[ -z $(git status --porcelain) ]] || echo "Note: changes that are not committed are left out." >&2
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    VERSION=$(sed -n 's/^project(Zelvo VERSION \([0-9.]*\).*/\1/p' build/export/source/CMakeLists.txt)
    # dpkg-buildpackage gives a build another home.
    CCACHE_DIR=${CCACHE_DIR:-$(ccache --get-config cache_dir)}
    # Where install-dependencies unpacks a newer Boost.
    [[ ! -d build/deps/usr ]] || CMAKE_PREFIX_PATH=$PWD/build/deps/usr
    export SOURCE_DATE_EPOCH VERSION CCACHE_DIR CMAKE_PREFIX_PATH
}
