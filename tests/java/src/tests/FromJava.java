package tests;

/** Calls native code, which then has a class above it that knows the framework's classes. */
public final class FromJava {
    private FromJava() {}

    public static native void run();
}
