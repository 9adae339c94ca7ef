# The flags every part shares. The arithmetic ones keep results bit for bit: no fused multiply-add, `pow`
# left alone (clang would make exp2 of pow(2, x)); virtual calls go through the table, in which hosts may
# exchange slots. Fast-math is not switched off but refused: whole by dsp/ExactArithmetic.h, its parts, which
# leave no mark that a source could see, here.
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}" MATCHES
    "-funsafe-math-optimizations|-fassociative-math|-freciprocal-math|-fno-signed-zeros|-fapprox-func")
  message(FATAL_ERROR "${CMAKE_MATCH_0} changes the sound: build without it")
endif()

# The 32-bit x86 interface has ways of its own; ARM has none that matter here.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86")
  set(TREADSHIFT_I386 ON)
else()
  set(TREADSHIFT_I386 OFF)
endif()

add_library(treadshift_flags INTERFACE)
target_compile_features(treadshift_flags INTERFACE cxx_std_20 c_std_11)
target_compile_options(treadshift_flags INTERFACE
  -ffp-contract=off -DTREADSHIFT_NO_CONTRACTION -fno-builtin-pow
  -Wall -Wextra -Wconversion -Wno-sign-conversion -Wno-float-conversion
  -Wno-psabi) # vectors wider than the registers built for pass between inlined functions only
option(TREADSHIFT_WERROR "Take the compiler's warnings for errors, as the project's own checks do" OFF)
if(TREADSHIFT_WERROR)
  target_compile_options(treadshift_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(treadshift_flags INTERFACE -fno-devirtualize -fno-devirtualize-speculatively)
  if(TREADSHIFT_I386) # a double passed in two halves is waited for when it is read as a whole
    target_compile_options(treadshift_flags INTERFACE -mno-push-args)
  endif()
endif()

set(TREADSHIFT_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(TREADSHIFT_SANITIZE)
  # A host sees the handle's class without its type information, which stays in the module: no vptr checks.
  target_compile_options(treadshift_flags INTERFACE
    -fsanitize=${TREADSHIFT_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(treadshift_flags INTERFACE -fsanitize=${TREADSHIFT_SANITIZE})
  # The checks that are woven in make g++ 12 see numbers without a value inside the standard library's <regex>.
  # Builds without them judge that.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(treadshift_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
