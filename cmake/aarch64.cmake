# Builds everything for 64-bit ARM.
include(${CMAKE_CURRENT_LIST_DIR}/Cross.cmake)
cross_to(aarch64 aarch64-linux-gnu qemu-aarch64)
