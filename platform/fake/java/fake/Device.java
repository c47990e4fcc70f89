package fake;

/** Hands every call to the device model in force. */
public final class Device {
    /** Replaceable at any time. */
    public static volatile DeviceModel model = (self, method, args) -> null;

    private Device() {}

    public static Object call(Object self, String method, Object... args) {
        return model.call(self, method, args);
    }

    public static int callInt(Object self, String method, Object... args) {
        return answer(call(self, method, args), 0);
    }

    public static long callLong(Object self, String method, Object... args) {
        return call(self, method, args) instanceof Number number ? number.longValue() : 0;
    }

    public static boolean callBoolean(Object self, String method, Object... args) {
        return call(self, method, args) instanceof Boolean value && value;
    }

    /** A getter of an object that has the value itself: the model may answer in its place, or throw. */
    public static int getter(Object self, String method, int value) {
        return answer(call(self, method), value);
    }

    private static int answer(Object result, int otherwise) {
        return result instanceof Number number ? number.intValue() : otherwise;
    }
}
