// What the sanitizers must know of a virtual machine in the process. The environment's options come
// on top (ASAN_OPTIONS and the like).

extern "C" {

// The virtual machine handles SIGSEGV itself. Its calls of __tls_get_addr would be taken for blocks
// of thread-local memory, which are not there. Stacks are short, because a leak in a callback below
// the virtual machine would have that far up its stack, and be suppressed with its own leaks.
const char* __asan_default_options() {
    return "handle_segv=0:intercept_tls_get_addr=0:malloc_context_size=5";
}

const char* __lsan_default_options() {
    return "print_suppressions=0";
}

// What the virtual machine keeps for the life of the process, also after it was destroyed.
const char* __lsan_default_suppressions() {
    return "leak:libjvm.so\nleak:libjli.so\nleak:libjava.so\nleak:libjimage.so\nleak:libzip.so\n"
           "leak:libnio.so\nleak:libnet.so\nleak:libz.so\n";
}

const char* __tsan_default_options() {
    return "handle_segv=0";
}

// The virtual machine's own locks and barriers are not seen, so what it does looks like races; and
// to know of only some of its locks would hide real ones.
const char* __tsan_default_suppressions() {
    return "called_from_lib:libjvm.so\ncalled_from_lib:libjava.so\ncalled_from_lib:libjimage.so\n"
           "called_from_lib:libzip.so\ncalled_from_lib:libnio.so\ncalled_from_lib:libnet.so\n";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

}  // extern "C"
