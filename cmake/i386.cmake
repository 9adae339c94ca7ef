# 32-bit x86 from a 64-bit compiler with its multilib. SSE2 carries all arithmetic: the x87 unit computes
# in extended precision and knows no flush-to-zero. Hosts of this width may call with a stack aligned to
# 4 bytes, so every function realigns its own.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)
set(TREADSHIFT_I386_FLAGS "-m32 -march=i686 -msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_C_FLAGS_INIT "${TREADSHIFT_I386_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${TREADSHIFT_I386_FLAGS}")
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR "")
