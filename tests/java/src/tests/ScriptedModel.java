package tests;

import desk.Device;
import desk.DeviceModel;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.IdentityHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Collectors;

/**
 * The device model of the tests: records the framework's calls, and answers or throws as told. A method
 * is named as in "onTune" or, to tell classes apart, "DvbsCodeRate.<init>"; "*" is every other.
 */
public final class ScriptedModel implements DeviceModel {
    private static final Object NOTHING = new Object();

    private static volatile ScriptedModel sModel;

    private final Map<String, Object> mAnswers = Collections.synchronizedMap(new HashMap<>());
    // Guarded by this object.
    private final List<String> mCalls = new ArrayList<>();
    private final Map<Object, String> mNames = new IdentityHashMap<>();
    private final Map<String, Integer> mSerials = new HashMap<>();

    private ScriptedModel() {}

    public static void reset() {
        sModel = new ScriptedModel();
        Device.model = sModel;
    }

    /** does: "throws", "null", "true", "false", a list as "[1, 2]", or a number. */
    public static void script(String method, String does) {
        sModel.mAnswers.put(method, switch (does) {
            case "throws" -> new MadeToFail();
            case "null" -> NOTHING;
            case "true", "false" -> Boolean.valueOf(does);
            case "[]" -> new int[0];
            default -> does.startsWith("[")
                    ? Arrays.stream(does.substring(1, does.length() - 1).split(", ")).mapToInt(Integer::parseInt).toArray()
                    : Long.valueOf(does);
        });
    }

    public static void returns(String method, Object value) {
        sModel.mAnswers.put(method, value);
    }

    /** The calls of framework objects since the last time, a line each. */
    public static String takeCalls() {
        synchronized (sModel) {
            final String calls = String.join("\n", sModel.mCalls);
            sModel.mCalls.clear();
            return calls;
        }
    }

    /** What an argument holds; of an object its class. */
    public static String show(Object value) {
        if (value instanceof byte[] bytes) {
            return bytes.length > 64 ? "[" + bytes.length + " bytes]" : Arrays.toString(bytes);
        }
        if (value instanceof int[] ints) {
            return Arrays.toString(ints);
        }
        return value == null ? "null" : value.getClass().getSimpleName();
    }

    @Override
    public Object call(Object self, String method, Object... args) {
        final String full = self.getClass().getSimpleName() + "." + method;
        if (full.startsWith("ZytTv")) {
            record(self, method, args);
        }
        if (method.equals("onRead")) {
            final byte[] section = (byte[]) args[0];
            for (int i = 0; i < section.length; i++) {
                section[i] = (byte) (1 + i * 37 + i / 256);
            }
        }
        final Object answer = mAnswers.getOrDefault(full, mAnswers.getOrDefault(method, mAnswers.get("*")));
        if (answer instanceof RuntimeException exception) {
            throw exception;
        }
        return answer == NOTHING ? null : answer;
    }

    private synchronized void record(Object self, String method, Object[] args) {
        final String texts = Arrays.stream(args).map(this::text).collect(Collectors.joining(", "));
        mCalls.add(text(self) + "." + method + "(" + texts + ")");
    }

    private String text(Object value) {
        if (value instanceof byte[] bytes) {
            return show(bytes);
        }
        if (value == null || !value.getClass().getSimpleName().startsWith("ZytTv")) {
            return String.valueOf(value);
        }
        return mNames.computeIfAbsent(value, key -> {
            final String name = key.getClass().getSimpleName();
            return name + "#" + mSerials.merge(name, 1, Integer::sum);
        });
    }
}
