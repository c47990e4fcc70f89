// The sanitizers' options for a process with a virtual machine. Options in the environment, such as
// ASAN_OPTIONS, are applied after these.

extern "C" {

// The virtual machine handles SIGSEGV itself. Its calls of __tls_get_addr must not be intercepted:
// the sanitizer would take their arguments for blocks of thread-local memory that do not exist.
// Stacks are short: otherwise the stack of a leak in a callback would reach down to the virtual
// machine, and the leak would be suppressed as one of its own.
const char* __asan_default_options() {
    return "handle_segv=0:intercept_tls_get_addr=0:malloc_context_size=5";
}

const char* __lsan_default_options() {
    return "print_suppressions=0";
}

// What the virtual machine keeps for the life of the process, even after it was destroyed.
const char* __lsan_default_suppressions() {
    return "leak:libjvm.so\nleak:libjli.so\nleak:libjava.so\nleak:libjimage.so\nleak:libzip.so\n"
           "leak:libnio.so\nleak:libnet.so\nleak:libz.so\n";
}

const char* __tsan_default_options() {
    return "handle_segv=0";
}

// The sanitizer does not see the virtual machine's own locks and barriers, so its work looks like
// races. If the sanitizer knew only some of these locks, it would miss real races.
const char* __tsan_default_suppressions() {
    return "called_from_lib:libjvm.so\ncalled_from_lib:libjava.so\ncalled_from_lib:libjimage.so\n"
           "called_from_lib:libzip.so\ncalled_from_lib:libnio.so\ncalled_from_lib:libnet.so\n";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

}  // extern "C"
