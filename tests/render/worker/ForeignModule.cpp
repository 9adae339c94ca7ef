// A loadable file that has nothing to do with effects.
extern "C" __attribute__((visibility("default"))) int unrelated() { return 1; }
