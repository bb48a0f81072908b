# For s390x, which is big-endian, by Debian's cross compiler. The tests run under qemu-s390x.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(ZVRT_TRIPLET s390x-linux-gnu)
set(ZVRT_DEBIAN_ARCHITECTURE s390x)
set(ZVRT_QEMU qemu-s390x)
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
