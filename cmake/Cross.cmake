# What the toolchain files for other machines share: Debian's cross compiler and libraries, and an emulator
# that runs the tests. g++ is taken where it is installed. It cannot stand beside g++-multilib, though, which
# the two x86 widths are built with; clang can, and uses the same libraries.
set(CMAKE_SYSTEM_NAME Linux)

# cross_to(PROCESSOR TRIPLET EMULATOR OPTIONS...): the machine as CMake, Debian and qemu call it, and the
# compile options that tell clang what g++ was built to take for granted.
macro(cross_to processor triplet emulator)
  set(CMAKE_SYSTEM_PROCESSOR ${processor})
  find_program(TREADSHIFT_CROSS_GXX NAMES ${triplet}-g++ ${triplet}-g++-12)
  find_program(TREADSHIFT_CROSS_GCC NAMES ${triplet}-gcc ${triplet}-gcc-12)
  if(TREADSHIFT_CROSS_GXX AND TREADSHIFT_CROSS_GCC)
    set(CMAKE_C_COMPILER ${TREADSHIFT_CROSS_GCC})
    set(CMAKE_CXX_COMPILER ${TREADSHIFT_CROSS_GXX})
  else()
    set(CMAKE_C_COMPILER clang)
    set(CMAKE_CXX_COMPILER clang++)
    set(CMAKE_C_COMPILER_TARGET ${triplet})
    set(CMAKE_CXX_COMPILER_TARGET ${triplet})
  endif()
  add_compile_options(${ARGN})
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet})
endmacro()
