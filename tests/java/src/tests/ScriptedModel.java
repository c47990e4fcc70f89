package tests;

import com.halvorin.tv.velmora.services.selector.connectmanager.ZytTvInnerFrontend;
import fake.Device;
import fake.Maker;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;

/**
 * The device model of the tests. It answers or throws as scripted. A method is named as in "onTune"
 * or, with its class, as in "DvbsCodeRate.<init>". "*" stands for every other method.
 */
public final class ScriptedModel {
    private static final Map<String, Object> sAnswers =
            Collections.synchronizedMap(new HashMap<>());
    private static final Set<Integer> sClosed = ConcurrentHashMap.newKeySet();

    private ScriptedModel() {}

    public static void reset() {
        sAnswers.clear();
        Device.model = ScriptedModel::call;
    }

    /**
     * does: "throws", "nothing", "true", "false", a list such as "[1, 2]", a number, or a class of
     * the tuner's package.
     */
    public static void script(String method, String does) throws ClassNotFoundException {
        sAnswers.put(method, switch (does) {
            case "throws" -> new MadeToFail();
            case "true", "false" -> Boolean.valueOf(does);
            case "nothing" -> null;
            case "[]" -> new int[0];
            default -> does.startsWith("[")
                    ? Arrays.stream(does.substring(1, does.length() - 1).split(", "))
                            .mapToInt(Integer::parseInt).toArray()
                    : Character.isLetter(does.charAt(0))
                    ? Maker.make(Class.forName("android.media.tv.tuner.frontend." + does))
                    : Long.valueOf(does);
        });
    }

    /** The handles of the tuners that have been closed. */
    public static String closedTuners() {
        return sClosed.toString();
    }

    /** The value of an argument; for most objects, the class. */
    public static String show(Object value) {
        if (value instanceof byte[] bytes) {
            return bytes.length > 64 ? "[" + bytes.length + " bytes]" : Arrays.toString(bytes);
        }
        if (value instanceof int[] ints) {
            return Arrays.toString(ints);
        }
        return value == null ? "null" : value.getClass().getSimpleName();
    }

    private static Object call(Object self, String method, Object... args) {
        if (method.equals("onCloseFrontend")) {
            sClosed.add(((ZytTvInnerFrontend) self).nativeHandle());
        }
        if (method.equals("onRead")) {
            final byte[] section = (byte[]) args[0];
            for (int i = 0; i < section.length; i++) {
                section[i] = (byte) (1 + i * 37 + i / 256);
            }
        }
        final String full = self.getClass().getSimpleName() + "." + method;
        final Object answer =
                sAnswers.getOrDefault(full, sAnswers.getOrDefault(method, sAnswers.get("*")));
        if (answer instanceof RuntimeException exception) {
            throw exception;
        }
        return answer;
    }
}
