package fake;

/** Answers the calls that the framework's and the tuner's objects receive. */
public interface DeviceModel {
    /**
     * Called for every method call.
     *
     * @param self the object
     * @param method the Java name of the method, "<init>" for a constructor
     * @return the method's result; null stands for none, 0 or false
     */
    Object call(Object self, String method, Object... args);
}
