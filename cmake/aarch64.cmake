# For aarch64, by Debian's cross compiler. The tests run under qemu-aarch64.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ZVRT_TRIPLET aarch64-linux-gnu)
set(ZVRT_DEBIAN_ARCHITECTURE arm64)
set(ZVRT_QEMU qemu-aarch64)
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
