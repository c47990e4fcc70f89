package fake;

/** Passes every call to the current device model. */
public final class Device {
    /** May be replaced at any time. */
    public static volatile DeviceModel model = (self, method, args) -> null;

    private Device() {}

    public static Object call(Object self, String method, Object... args) {
        return model.call(self, method, args);
    }

    public static int callInt(Object self, String method, Object... args) {
        return call(self, method, args) instanceof Number number ? number.intValue() : 0;
    }
}
