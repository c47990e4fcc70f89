package tests;

import java.io.PrintStream;

/** What Java throws in the tests. To describe it prints nothing, so that a failure is not lost among traces. */
public final class MadeToFail extends RuntimeException {
    private static final long serialVersionUID = 1;

    @Override
    public void printStackTrace(PrintStream stream) {}
}
