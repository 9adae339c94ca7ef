# The flags every part shares. The arithmetic ones keep results bit for bit: no fused multiply-add, no
# fast-math, `pow` left alone (clang would make exp2 of pow(2, x)), virtual calls through the table.
add_library(treadshift_flags INTERFACE)
target_compile_features(treadshift_flags INTERFACE cxx_std_20 c_std_11)
target_compile_options(treadshift_flags INTERFACE
  -ffp-contract=off -fno-fast-math -fno-builtin-pow
  -Wall -Wextra -Wconversion -Wno-sign-conversion -Wno-float-conversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(treadshift_flags INTERFACE -fno-devirtualize -fno-devirtualize-speculatively)
endif()

set(TREADSHIFT_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(TREADSHIFT_SANITIZE)
  target_compile_options(treadshift_flags INTERFACE
    -fsanitize=${TREADSHIFT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(treadshift_flags INTERFACE -fsanitize=${TREADSHIFT_SANITIZE})
endif()
