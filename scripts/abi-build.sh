# For scripts: the shared library with the descriptions of types that tools of the binary interface read.

# Builds it, and prints where it is. What the build says goes to standard error.
library_with_types() {
  cmake -S . -B build/abi -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSBRKIT_BUILD_TESTS=OFF -DSBRKIT_BUILD_TOOLS=OFF \
    -DSBRKIT_BUILD_DOCS=OFF -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >&2 &&
    cmake --build build/abi --target sbrkit >&2 && echo build/abi/src/libsbrkit.so
}
