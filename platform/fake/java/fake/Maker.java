package fake;

import java.lang.reflect.Array;
import java.lang.reflect.Constructor;

/** Makes objects whose constructors are hidden, as the platform's own code does. */
public final class Maker {
    private Maker() {}

    /** arguments: the first ones of the constructor; the others are 0, false or null. */
    public static <T> T make(Class<T> clazz, Object... arguments) {
        final Constructor<?> constructor = clazz.getDeclaredConstructors()[0];
        final Class<?>[] types = constructor.getParameterTypes();
        final Object[] all = new Object[types.length];
        for (int i = 0; i < all.length; ++i) {
            all[i] = i < arguments.length ? arguments[i]
                    : Array.get(Array.newInstance(types[i], 1), 0);
        }
        constructor.setAccessible(true);
        try {
            return clazz.cast(constructor.newInstance(all));
        } catch (ReflectiveOperationException e) {
            throw new IllegalArgumentException(e);
        }
    }
}
