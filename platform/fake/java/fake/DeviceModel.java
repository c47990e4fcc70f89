package fake;

/** What stands behind the framework's and the tuner's objects. */
public interface DeviceModel {
    /**
     * A method was called.
     *
     * @param self the object
     * @param method the Java name of the method, "<init>" for a constructor
     * @return the method's result; null for none, 0 or false
     */
    Object call(Object self, String method, Object... args);
}
