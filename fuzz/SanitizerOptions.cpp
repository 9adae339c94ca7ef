// What the sanitizers shall do in fuzzing, in the program so that every way of starting it has them. The
// memory that is held back after its release is kept small, since an execution takes microseconds; and
// allocations that a host's or a file's numbers make too large fail as they do without a sanitizer.

extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() {
  return "quarantine_size_mb=8:thread_local_quarantine_size_kb=64:malloc_context_size=4:"
         "allocator_may_return_null=1:detect_stack_use_after_return=0";
}

extern "C" __attribute__((visibility("default"), used)) const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}
