// Marks what a block calls: such a function neither takes memory nor waits, and a compiler that knows how to
// checks that it calls nothing that may. The others read an empty word.
#pragma once

#ifdef __has_cpp_attribute
#if __has_cpp_attribute(clang::nonblocking)
#define TREADSHIFT_REALTIME [[clang::nonblocking]]
#endif
#endif
#ifndef TREADSHIFT_REALTIME
#define TREADSHIFT_REALTIME
#endif
