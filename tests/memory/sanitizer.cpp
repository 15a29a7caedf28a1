// Requests beyond the address space are part of these tests: the sanitizer's allocator is to refuse
// them as the C library's does.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
