# 32-bit x86 from a 64-bit compiler with its multilib. SSE2 carries all arithmetic: the x87 unit computes
# in extended precision and knows no flush-to-zero. Hosts of this width may call with a stack aligned to
# 4 bytes, so every function realigns its own.
set(TREADSHIFT_COMPILE_32BIT -m32 -march=i686 -mtune=generic -msse2 -mfpmath=sse -mstackrealign)
set(TREADSHIFT_LINK_32BIT -m32)
