# Builds everything for 32-bit x86. Options, not flag variables: flags given on the command line come on top
# and replace nothing.
include(${CMAKE_CURRENT_LIST_DIR}/Flags32.cmake)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)
add_compile_options(${TREADSHIFT_COMPILE_32BIT})
add_link_options(${TREADSHIFT_LINK_32BIT})
