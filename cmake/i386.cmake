# 32-bit x86 from a 64-bit compiler with its multilib. SSE2 carries all arithmetic: the x87 unit computes
# in extended precision and knows no flush-to-zero. Hosts of this width may call with a stack aligned to
# 4 bytes, so every function realigns its own. Options, not flag variables: flags given on the command line
# come on top and replace nothing.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)
add_compile_options(-m32 -march=i686 -mtune=generic -msse2 -mfpmath=sse -mstackrealign)
add_link_options(-m32)
