# Builds everything for 32-bit ARM as Debian's armhf has it. VFP carries all arithmetic, one rounding per
# operation; NEON, which flushes by itself and knows no doubles, stays out.
include(${CMAKE_CURRENT_LIST_DIR}/Cross.cmake)
cross_to(armhf arm-linux-gnueabihf qemu-arm -march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard)
