// The sanitizers' options for a process with a virtual machine. Options in the environment, such as
// ASAN_OPTIONS, are applied after these.

#define OPTIONS(function, text)         \
    extern "C" const char* function() { \
        return text;                    \
    }

// The virtual machine handles SIGSEGV itself. Its calls of __tls_get_addr must not be intercepted:
// the sanitizer would take their arguments for blocks of thread-local memory that do not exist.
// Stacks are short: otherwise the stack of a leak in a callback would reach down to the virtual
// machine, and the leak would be suppressed as one of its own.
OPTIONS(__asan_default_options, "handle_segv=0:intercept_tls_get_addr=0:malloc_context_size=5")
OPTIONS(__lsan_default_options, "print_suppressions=0")

// What the virtual machine keeps for the life of the process, even after it was destroyed.
OPTIONS(__lsan_default_suppressions,
        "leak:libjvm.so\nleak:libjli.so\nleak:libjava.so\nleak:libjimage.so\nleak:libzip.so\n"
        "leak:libnio.so\nleak:libnet.so\nleak:libz.so\n")
OPTIONS(__tsan_default_options, "handle_segv=0")

// The sanitizer does not see the virtual machine's own locks and barriers, so its work looks like
// races. If the sanitizer knew only some of these locks, it would miss real races.
OPTIONS(__tsan_default_suppressions,
        "called_from_lib:libjvm.so\ncalled_from_lib:libjava.so\ncalled_from_lib:libjimage.so\n"
        "called_from_lib:libzip.so\ncalled_from_lib:libnio.so\ncalled_from_lib:libnet.so\n")
OPTIONS(__ubsan_default_options, "print_stacktrace=1")
