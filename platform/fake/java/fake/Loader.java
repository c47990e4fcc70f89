package fake;

/** Loads native libraries. Only a child class loader knows it, as with an application's classes. */
public final class Loader {
    private Loader() {}

    public static void load(String path) {
        System.load(path);
    }
}
