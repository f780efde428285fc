// libsmbclient keeps process-wide talloc state (its stack frames and loaded configuration)
// for the life of the process and never frees it. Reported at exit by the leak checker of
// sanitizer builds, it is not a leak of this program; nothing else is suppressed.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libtalloc.so\n";
}
