package tests;

/** Calls native code from a class whose loader knows the framework's classes. */
public final class FromJava {
    private FromJava() {}

    public static native void run();
}
