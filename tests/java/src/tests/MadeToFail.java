package tests;

import java.io.PrintStream;

/** What Java throws in the tests. It prints no stack trace, so failures stay easy to find. */
public final class MadeToFail extends RuntimeException {
    private static final long serialVersionUID = 1;

    @Override
    public void printStackTrace(PrintStream stream) {}
}
