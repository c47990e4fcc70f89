package fake;

import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.StringJoiner;
import java.util.concurrent.ConcurrentHashMap;

/** An object of the platform that keeps the arguments of its constructor. */
public abstract class Values {
    /** What was split once already: a getter must not cost more than what the bench times. */
    private static final Map<String, List<String>> SPLIT = new ConcurrentHashMap<>();

    private String mNames;
    private Object[] mValues;

    /** names: those of the values, separated by commas. */
    protected Values(String names, Object... values) {
        mNames = names;
        mValues = values;
        Device.call(this, "<init>", values);
    }

    /** The last value with this name, without asking the device model; null when there is none. */
    public final Object value(String name) {
        final int index = names().lastIndexOf(name);
        return index < 0 ? null : mValues[index];
    }

    protected final void add(String name, Object value) {
        mNames += ", " + name;
        mValues = Arrays.copyOf(mValues, mValues.length + 1);
        mValues[mValues.length - 1] = value;
    }

    /** The value that the getter is named after, unless the device model answers or throws. */
    protected final int read(String getter) {
        final Object answer = Device.call(this, getter);
        final String name = Character.toLowerCase(getter.charAt(3)) + getter.substring(4);
        return ((Number) (answer instanceof Number ? answer : value(name))).intValue();
    }

    @Override
    public final String toString() {
        final StringJoiner text = new StringJoiner(", ", getClass().getSimpleName() + "(", ")");
        for (int i = 0; i < mValues.length; ++i) {
            text.add(names().get(i) + "=" + mValues[i]);
        }
        return text.toString();
    }

    private List<String> names() {
        return SPLIT.computeIfAbsent(mNames, names -> Arrays.asList(names.split(", ")));
    }
}
