package fake;

/** Loads native libraries; like an application's class, it is known to a child class loader only. */
public final class Loader {
    private Loader() {}

    public static void load(String path) {
        System.load(path);
    }
}
