package desk;

/** Runs the library's load entry again, with a class above it that knows the framework's classes. */
public final class Reload {
    private Reload() {}

    public static native int onLoad();
}
