# Cross-compiles on Debian for 64-bit ARM; programs that the build starts run under qemu.
# `make test-aarch64` installs the compiler, the emulator and the arm64 libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

set(PKG_CONFIG_EXECUTABLE aarch64-linux-gnu-pkg-config)
